// foundation/xml_reader.h - reads an XML file token by token; an element is known by its path.
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
    XmlTokenEndElement = 4,   // an end tag, or the end of "<a/>"; the path still ends in it
};

// Reads one XML document token by token. "<a/>" gives a start and an end token like "<a></a>"; this
// end is synthetic. Comments, processing instructions, CDATA and white space are skipped, and so is
// a text that follows a text: of "x<!---->y" only "x" is seen. A document type definition is a
// fault. One thread at a time.
class CXmlReader {
public:
    using ValueFilter = void (*)(CStrW& value);

    CXmlReader() = default;
    virtual ~CXmlReader() = default;
    CXmlReader(const CXmlReader&) = delete;
    CXmlReader& operator=(const CXmlReader&) = delete;

    // Passes every value through `filter`, such as UnescapeXmlText; null for none.
    void SetValueFilter(ValueFilter filter) { m_pfnValueFilter = filter; }

    // Opens a file and closes any former one. 0, or the HRESULT of the failure, with no file open.
    // Faults in the content show from the first ReadNext on.
    [[nodiscard]] int Open(const CFilePathW& path);
    void Close();

    // Goes to the next token. After XmlTokenNone every call gives XmlTokenNone.
    [[nodiscard]] EXmlToken ReadNext();

    // For each open element "/" and its name with prefix, outermost first; empty when none is open.
    // Valid until the next ReadNext.
    [[nodiscard]] std::u16string_view GetPath() const { return m_path; }
    // Whether the path equals `parent` followed by `tail`, ignoring case.
    [[nodiscard]] bool PathEquals(std::u16string_view parent, std::u16string_view tail) const;

    // Go to the first or next attribute of the current element: 0, or S_FALSE when there is none,
    // as always on a synthetic end.
    [[nodiscard]] int MoveToFirstAttribute();
    [[nodiscard]] int MoveToNextAttribute();

    // Name or value of the current node, or of the attribute last moved to. The target is cleared
    // first. 0, or E_FAIL when no file is open or, for a value, on a synthetic end.
    int GetLocalName(CStrW& name);
    int GetValue(CStrW& value);
    // The same as GetValue: a text comes in one piece, whatever its size.
    int GetValueChunked(CStrW& value) { return GetValue(value); }

    // The HRESULT of a fault that has ended the reading; 0 without one.
    [[nodiscard]] int GetFault() const { return m_fault; }
    // Counted from 1; 0 when unknown.
    [[nodiscard]] std::uint32_t GetLineNumber() const;
    // On a synthetic end this is still Element.
    [[nodiscard]] platform::EXmlNode GetNodeType() const { return m_nodeType; }
    [[nodiscard]] bool IsSyntheticEnd() const { return m_inSyntheticEnd; }

private:
    // The path before the name of an element was added.
    struct SOuterPath {
        std::size_t length;
        bool isPlain;
    };

    bool ReadNode();
    void PushElement();
    void PopElement();

    platform::CXmlInput m_reader;
    platform::EXmlNode m_nodeType = platform::EXmlNode::None;
    int m_fault = 0;
    // INVARIANT: `m_path` is the path of the open elements, and `m_outerPaths` has one record for
    // each of them. A tag costs the length of its own name, so a deep document costs no more per
    // tag than a flat one.
    std::u16string m_path;
    std::vector<SOuterPath> m_outerPaths;
    bool m_isPlainPath = true;  // only ASCII
    bool m_isEmptyElement = false;
    bool m_inSyntheticEnd = false;
    ValueFilter m_pfnValueFilter = nullptr;
};
