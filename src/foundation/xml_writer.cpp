#include "foundation/xml_writer.h"

#include "foundation/file_path.h"
#include "foundation/xml_escape.h"
#include "platform/status.h"

namespace {

constexpr std::u16string_view kLineEnd = u"\r\n";

}  // namespace

int CXmlWriter::Open(const CFilePathW& path) { return m_writer.Open(path.ToString().Get()); }

void CXmlWriter::StartDocument() {
    if (m_writer.IsOpen()) {
        m_writer.WriteStartDocument();
        m_writer.WriteWhitespace(kLineEnd);
    }
}

int CXmlWriter::StartElement(std::u16string_view name, bool newLine) {
    // The result of the line end is not needed: a failure to write shows again at the next call.
    const int result = m_writer.WriteStartElement(name);
    if (result >= 0 && newLine) {
        m_writer.WriteWhitespace(kLineEnd);
    }
    return result;
}

int CXmlWriter::EndElement(bool newLine) {
    const int result = m_writer.WriteEndElement();
    if (result >= 0 && newLine) {
        m_writer.WriteWhitespace(kLineEnd);
    }
    return result;
}

int CXmlWriter::WriteAttribute(std::u16string_view name, std::u16string_view value) {
    return IsPlainXmlText(value) ? WritePlainAttribute(name, value)
                                 : m_writer.WriteAttribute(name, Filter(value));
}

int CXmlWriter::WriteText(std::u16string_view text) {
    return IsPlainXmlText(text) ? WritePlainText(text) : m_writer.WriteText(Filter(text));
}

int CXmlWriter::WriteElements(std::size_t count, const ElementWriter& write) {
    return m_writer.WriteElements(
        count, [&](platform::CXmlOutput& output, std::size_t first, std::size_t last) {
            // Runs on several threads at once, so each part has a writer with a buffer of its own.
            CXmlWriter part(output, m_pfnTextFilter);
            write(part, first, last);
        });
}

void CXmlWriter::WriteNewLine() {
    if (m_writer.IsOpen()) {
        m_writer.WriteWhitespace(kLineEnd);
    }
}

int CXmlWriter::EndDocument() {
    if (!m_writer.IsOpen()) {
        return S_OK;
    }
    // A failure to write stays with the output, so the flush reports an earlier one too.
    m_writer.WriteEndDocument();
    const int status = m_writer.Flush();
    m_writer.Close();
    return status;
}

// The result is valid until the next text is filtered.
std::u16string_view CXmlWriter::Filter(std::u16string_view text) {
    const bool isChanged = m_pfnTextFilter != nullptr && m_pfnTextFilter(text, m_filtered);
    return isChanged ? std::u16string_view(m_filtered) : text;
}
