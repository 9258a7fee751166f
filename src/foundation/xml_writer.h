// foundation/xml_writer.h - writes an XML file in UTF-16, element by element.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "foundation/wide_string.h"
#include "platform/xml.h"

class CFilePathW;

// One XML document on its way into a file. Nothing is laid out but by the `newLine` flags of the
// callers; a line end is CR LF on every system. Results are HRESULTs: E_FAIL when no file is open.
// One thread at a time.
class CXmlWriter {
public:
    // Gives the form in which a text is written in `filtered`; false when it is `text` itself.
    using TextFilter = bool (*)(std::u16string_view text, std::u16string& filtered);

    CXmlWriter() = default;
    virtual ~CXmlWriter() = default;
    CXmlWriter(const CXmlWriter&) = delete;
    CXmlWriter& operator=(const CXmlWriter&) = delete;

    // Passes every text and attribute value through `filter`, such as EscapeXmlText; null for none.
    void SetTextFilter(TextFilter filter) { m_pfnTextFilter = filter; }

    // Creates the file, replacing what stood there; a document in progress is flushed and left as
    // it is. On failure nothing is open.
    [[nodiscard]] int Open(const CFilePathW& path);

    // The XML declaration and a line end.
    void StartDocument();
    // Opens an element; the line end goes behind the start tag.
    int StartElement(std::u16string_view name, bool newLine);
    // Closes the innermost element; the line end goes behind it.
    int EndElement(bool newLine);
    int WriteAttribute(std::u16string_view name, std::u16string_view value);
    int WriteText(std::u16string_view text);
    void WriteNewLine();
    // Writes elements for the numbers below `count`, by calls of `write` for the numbers from
    // `first` up to `last`, each with a writer of its own; see CXmlOutput::WriteElements.
    using ElementWriter =
        std::function<void(CXmlWriter& writer, std::size_t first, std::size_t last)>;
    int WriteElements(std::size_t count, const ElementWriter& write);
    // Closes all elements and the file. Only Open shows that a file cannot be written: what fails
    // later leaves it incomplete without a word.
    void EndDocument();

private:
    CXmlWriter(platform::CXmlOutput& output, TextFilter filter)
        : m_writer(output), m_pfnTextFilter(filter) {}
    std::u16string_view Filter(std::u16string_view text);

    platform::CXmlOutput m_ownWriter;
    platform::CXmlOutput& m_writer = m_ownWriter;
    TextFilter m_pfnTextFilter = nullptr;
    std::u16string m_filtered;
};
