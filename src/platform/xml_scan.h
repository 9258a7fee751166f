// platform/xml_scan.h - tells what is in an XML file, from its start to its end.
//
// Unlike CXmlInput of xml.h it never holds more of a file than one element with its attributes or
// one text, so that its memory does not grow with the file. What it reads and refuses is the same.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace platform {

// The name has its prefix, if any.
struct SXmlAttribute {
    std::u16string_view name;
    std::u16string_view value;
};

// Is told what a file has. Texts are valid during the call. Nothing may throw but std::bad_alloc.
class CXmlVisitor {
public:
    virtual ~CXmlVisitor() = default;

    // An element starts. Namespace declarations are among the attributes. `line` counts from 1.
    virtual void OnElement(std::u16string_view name, std::span<const SXmlAttribute> attributes,
                           std::uint32_t line) = 0;
    // Text, white space or CDATA; one text may come in several parts.
    virtual void OnText(std::u16string_view text) = 0;
    // The innermost element ends, also one without content.
    virtual void OnElementEnd() = 0;
};

// Reads a file by its Windows name. Returns 0 at its end, or the HRESULT of a file that cannot be
// read or is not well-formed; the visitor has been told what is ahead of the fault. On success and
// on failure `line` is where the reading ended; 0 when unknown.
[[nodiscard]] int ScanXml(const char16_t* name, CXmlVisitor& visitor, std::uint32_t& line);

}  // namespace platform
