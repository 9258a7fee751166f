// foundation/xml_writer.h - writes an XML file in UTF-16, element by element.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "foundation/wide_string.h"
#include "platform/xml.h"

class CFilePathW;

// Writes one XML document into a file. Line ends are written only where a caller asks by `newLine`
// or WriteNewLine; a line end is CR LF on every system. Results are HRESULTs: E_FAIL when no file
// is open. One thread at a time.
class CXmlWriter {
public:
    // Puts the form in which `text` is written into `filtered`. False, with `filtered` unchanged,
    // when that is `text` itself, as it is for every plain text (IsPlainXmlText), which is not
    // filtered.
    using TextFilter = bool (*)(std::u16string_view text, std::u16string& filtered);

    CXmlWriter() = default;
    virtual ~CXmlWriter() = default;
    CXmlWriter(const CXmlWriter&) = delete;
    CXmlWriter& operator=(const CXmlWriter&) = delete;

    // Passes every text and attribute value through `filter`, such as EscapeXmlText; null for none.
    void SetTextFilter(TextFilter filter) { m_pfnTextFilter = filter; }

    // Creates the file, replacing an existing one. A document in progress is closed as it is. On
    // failure no file is open.
    [[nodiscard]] int Open(const CFilePathW& path);

    // The XML declaration and a line end.
    void StartDocument();
    // Opens an element. The line end follows the start tag.
    int StartElement(std::u16string_view name, bool newLine);
    // Closes the innermost element. The line end follows the end tag.
    int EndElement(bool newLine);
    int WriteAttribute(std::u16string_view name, std::u16string_view value);
    int WriteText(std::u16string_view text);
    // The same for a text that the caller knows to be plain, such as a number.
    int WritePlainAttribute(std::u16string_view name, std::u16string_view value) {
        return m_writer.WriteAttribute(name, value, platform::EXmlText::Plain);
    }
    int WritePlainText(std::u16string_view text) {
        return m_writer.WriteText(text, platform::EXmlText::Plain);
    }
    void WriteNewLine();
    // Writes elements for the numbers from 0 to `count` - 1. Each call of `write` makes those from
    // `first` to `last` - 1 with a writer of its own; calls may run on several threads at once. See
    // CXmlOutput::WriteElements.
    using ElementWriter =
        std::function<void(CXmlWriter& writer, std::size_t first, std::size_t last)>;
    int WriteElements(std::size_t count, const ElementWriter& write);
    // Closes all elements and the file. Returns 0, or the first failure to write, which leaves the
    // file incomplete.
    int EndDocument();

private:
    CXmlWriter(platform::CXmlOutput& output, TextFilter filter)
        : m_writer(output), m_pfnTextFilter(filter) {}
    std::u16string_view Filter(std::u16string_view text);

    platform::CXmlOutput m_ownWriter;
    platform::CXmlOutput& m_writer = m_ownWriter;
    TextFilter m_pfnTextFilter = nullptr;
    std::u16string m_filtered;  // the last filtered text, to which Filter returns a view
};
