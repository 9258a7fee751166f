#include "casmodel/element_table.h"

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
