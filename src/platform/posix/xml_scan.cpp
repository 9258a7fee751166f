#include "platform/xml_scan.h"

#include <string>
#include <vector>

#include "platform/posix/files/file_access.h"
#include "platform/posix/xml_document.h"
#include "platform/status.h"
#include "platform/utf8.h"

namespace platform {

namespace {

std::u16string FullName(const SXmlNode& node) {
    std::u16string name = Utf8ToUtf16(node.prefix);
    name += name.empty() ? u"" : u":";
    return name += Utf8ToUtf16(node.name);
}

// Tells the element at `index`, and returns the index after its attributes.
std::size_t TellElement(const CXmlDocument& document, std::size_t index, CXmlVisitor& visitor) {
    const SXmlNode& element = document.GetNode(index);
    std::vector<std::u16string> texts;
    for (++index; index < document.GetCount() && document.GetNode(index).isAttribute; ++index) {
        texts.push_back(FullName(document.GetNode(index)));
        texts.push_back(Utf8ToUtf16(document.GetValue(index)));
    }
    // Only now, because the texts move while their list grows, and the attributes are views of
    // them.
    std::vector<SXmlAttribute> attributes;
    for (std::size_t i = 0; i < texts.size(); i += 2) {
        attributes.push_back({texts[i], texts[i + 1]});
    }
    visitor.OnElement(FullName(element), attributes, element.line);
    if (element.isEmptyElement) {
        visitor.OnElementEnd();
    }
    return index;
}

// Comments, processing instructions and the XML declaration are passed over.
void Tell(const CXmlDocument& document, CXmlVisitor& visitor) {
    for (std::size_t index = 0; index < document.GetCount();) {
        const EXmlNode type = document.GetNode(index).type;
        if (type == EXmlNode::Element) {
            index = TellElement(document, index, visitor);
            continue;
        }
        if (type == EXmlNode::EndElement) {
            visitor.OnElementEnd();
        } else if (type == EXmlNode::Text || type == EXmlNode::CData ||
                   type == EXmlNode::Whitespace) {
            visitor.OnText(Utf8ToUtf16(document.GetValue(index)));
        }
        ++index;
    }
}

}  // namespace

int ScanXml(const char16_t* name, CXmlVisitor& visitor, std::uint32_t& line) {
    CFileDescriptor file;
    line = 0;
    if (const int status = OpenForReading(name, file)) {
        return HresultFromError(status);
    }
    CXmlDocument part;
    return part.Parse(
        file.Get(), [&] { Tell(part, visitor); }, line);
}

}  // namespace platform
