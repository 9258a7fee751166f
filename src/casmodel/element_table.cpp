#include "casmodel/element_table.h"

#include "reporting/record.h"

bool GoToNextElement(CXmlReader& reader, std::size_t parentLength) {
    for (;;) {
        // The reader ends every document, whole or not, so this loop ends.
        switch (reader.ReadNext()) {
            case XmlTokenNone:
                return false;
            case XmlTokenElement:
                return true;
            case XmlTokenEndElement:
                if (reader.GetPath().size() == parentLength) {
                    return false;
                }
                break;
            default:
                break;
        }
    }
}

void RecordUnknownElement(const CXmlReader& reader, std::u16string_view tail) {
    // Nothing of the capture is lost with it, so only a full record has the line.
    if (!tail.empty() && CRecord::IsFull()) {
        GetRecord().Add({.thing = EThing::Element,
                         .reason = EReason::UnknownElement,
                         .source = reader.GetPath(),
                         .line = reader.GetLineNumber()});
    }
}
