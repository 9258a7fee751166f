#include "casmodel/document.h"

#include "casmodel/element_path.h"
#include "foundation/file_path.h"
#include "foundation/xml_escape.h"
#include "foundation/xml_reader.h"
#include "platform/status.h"

namespace {

void OpenFile(CXmlReader& reader, const CFilePathW& file) {
    // The packager escapes by tildes, as this library does.
    reader.SetValueFilter(UnescapeXmlText);
    const int status = reader.Open(file);
    if (status < 0) {
        throw status;
    }
}

// Both kinds of tags are reported to the path: a name of it may be open and end without the next
// name in it, and open again later.
void GoToElement(CXmlReader& reader, std::u16string_view element) {
    CElementPath path(element);
    while (!path.IsOpen()) {
        switch (reader.ReadNext()) {
            case XmlTokenNone:
                // Also for a fault before the element.
                throw ERROR_NOT_FOUND;
            case XmlTokenElement:
                path.OnElement(reader.GetPath());
                break;
            case XmlTokenEndElement:
                path.OnEndElement(reader.GetPath());
                break;
            default:
                break;
        }
    }
}

}  // namespace

int ReadDocument(const CFilePathW& file, std::u16string_view element,
                 const std::function<void(CXmlReader& reader)>& read) {
    CXmlReader reader;
    try {
        OpenFile(reader, file);
        GoToElement(reader, element);
        read(reader);
        // Statuses are thrown as int; anything else is for the stage that reads the document.
    } catch (const int status) {
        return status;
    }
    return ERROR_SUCCESS;
}
