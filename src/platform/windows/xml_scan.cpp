#include "platform/xml_scan.h"

#include <deque>
#include <string>
#include <vector>

#include "platform/input_file.h"
#include "platform/status.h"
#include "platform/xml.h"

namespace platform {

namespace {

// A copy, because what the input gives is valid only until its next call.
std::u16string FullName(CXmlInput& input) {
    std::u16string name(input.GetPrefix());
    name += name.empty() ? u"" : u":";
    return name += input.GetLocalName();
}

// 0 for a file that cannot be opened.
std::uint64_t FileSize(const char16_t* name) {
    CInputFile file;
    return file.Open(name) == ERROR_SUCCESS ? file.GetSize() : 0;
}

void TellElement(CXmlInput& input, CXmlVisitor& visitor) {
    const std::u16string name = FullName(input);
    const std::uint32_t line = input.GetLineNumber();
    const bool isEmptyElement = input.IsEmptyElement();
    std::deque<std::u16string> texts;  // its elements never move
    std::vector<SXmlAttribute> attributes;
    for (int status = input.MoveToFirstAttribute(); status == S_OK;
         status = input.MoveToNextAttribute()) {
        const std::u16string& key = texts.emplace_back(FullName(input));
        const std::u16string& value = texts.emplace_back(input.GetValue());
        attributes.push_back({key, value});
    }
    visitor.OnElement(name, attributes, line);
    if (isEmptyElement) {
        visitor.OnElementEnd();
    }
}

}  // namespace

// XmlLite reads node by node, and keeps none.
int ScanXml(const char16_t* name, CXmlVisitor& visitor, std::uint32_t& line) {
    CXmlInput input;
    line = 0;
    std::uint64_t count = 0;
    const std::uint64_t size = FileSize(name);
    int status = input.Open(name);
    while (status == S_OK) {
        EXmlNode node = EXmlNode::None;
        status = input.Read(node);
        if (status != S_OK) {
            break;
        }
        line = input.GetLineNumber();
        // Every node takes a byte at least. In Wine a long document may begin again in the midst of
        // itself, and would never end.
        if (++count > size) {
            return kXmlNotWellFormed;
        }
        if (node == EXmlNode::Element) {
            TellElement(input, visitor);
        } else if (node == EXmlNode::EndElement) {
            visitor.OnElementEnd();
        } else if (node == EXmlNode::Text || node == EXmlNode::CData ||
                   node == EXmlNode::Whitespace) {
            visitor.OnText(input.GetValue());
        }
    }
    // S_FALSE is the end of the document.
    return status == S_FALSE ? S_OK : status;
}

}  // namespace platform
