// foundation/xml_reader.h - reads an XML file, each element known by its path from the root.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/wide_string.h"
#include "platform/xml.h"

class CFilePathW;

enum EXmlToken {
    XmlTokenNone = 0,         // the end of the input, a fault in it, or no file is open
    XmlTokenDeclaration = 1,  // the XML declaration
    XmlTokenElement = 2,      // a start tag; the path ends in it
    XmlTokenText = 3,         // GetValue gives it
    XmlTokenEndElement = 4,  // an end tag, or the one made up for "<a/>"; the path still ends in it
};

// One XML document, token by token. An element without an end tag looks as if it had one. Comments,
// processing instructions, CDATA and white space never show, nor does text behind text: of
// "x<!---->y" only "x" is seen. A document type definition is a fault. One thread at a time.
class CXmlReader {
public:
    using ValueFilter = void (*)(CStrW& value);

    CXmlReader() = default;
    virtual ~CXmlReader() = default;
    CXmlReader(const CXmlReader&) = delete;
    CXmlReader& operator=(const CXmlReader&) = delete;

    // Passes every value through `filter`, such as UnescapeXmlText; null for none.
    void SetValueFilter(ValueFilter filter) { m_pfnValueFilter = filter; }

    // Opens a file, closing any former one. 0, or the HRESULT of the failure, with nothing open.
    // What the file holds shows at the first ReadNext.
    [[nodiscard]] int Open(const CFilePathW& path);
    void Close();

    // Goes to the next token. After XmlTokenNone there is no further one.
    [[nodiscard]] EXmlToken ReadNext();

    // "/" and the name, prefix included, for each open element, outermost first; empty when none is
    // open. Lasts until the next ReadNext.
    [[nodiscard]] std::u16string_view GetPath() const { return m_path; }
    // Whether the path is `parent` with `tail` behind it, ignoring case.
    [[nodiscard]] bool PathEquals(std::u16string_view parent, std::u16string_view tail) const;

    // Go to an attribute of the current element: 0, or S_FALSE when there is no further one, which
    // is so on the end made up for an empty element.
    [[nodiscard]] int MoveToFirstAttribute();
    [[nodiscard]] int MoveToNextAttribute();

    // Of the current node, or of the attribute that was moved to. The target is cleared first. 0,
    // or E_FAIL when nothing is open or, for a value, on the end made up for an empty element.
    int GetLocalName(CStrW& name);
    int GetValue(CStrW& value);
    // The same: a text comes in one piece, whatever its size.
    int GetValueChunked(CStrW& value) { return GetValue(value); }

    // Counted from 1; 0 when unknown.
    [[nodiscard]] std::uint32_t GetLineNumber() const;
    // On the end made up for an empty element this is still Element.
    [[nodiscard]] platform::EXmlNode GetNodeType() const { return m_nodeType; }
    [[nodiscard]] bool IsSyntheticEnd() const { return m_inSyntheticEnd; }

private:
    // What the path was before an element's name was put behind it.
    struct SOuterPath {
        std::size_t length;
        bool isPlain;
    };

    bool ReadNode();
    void PushElement();
    void PopElement();

    platform::CXmlInput m_reader;
    platform::EXmlNode m_nodeType = platform::EXmlNode::None;
    // The path grows and shrinks with its elements, so that a deep document costs no more than a
    // flat one.
    std::u16string m_path;
    std::vector<SOuterPath> m_outerPaths;
    bool m_isPlainPath = true;  // nothing but ASCII
    bool m_isEmptyElement = false;
    bool m_inSyntheticEnd = false;
    ValueFilter m_pfnValueFilter = nullptr;
};
