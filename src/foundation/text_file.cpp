#include "foundation/text_file.h"

#include <string>
#include <string_view>

#include "foundation/file_path.h"
#include "platform/code_page.h"
#include "platform/status.h"

namespace {

// In UTF-16 units. Lines are joined up to this size, so that a log of many short lines takes few
// system calls.
constexpr std::size_t kBatchUnits = 32768;

}  // namespace

int CTextFileW::Create(const CFilePathW& path) {
    m_file.Close();
    m_readOnly = false;
    return m_file.Create(path.ToString().Get());
}

int CTextFileW::Save() {
    if (!m_file.IsOpen() || m_readOnly) {
        return ERROR_SUCCESS;
    }
    // A second Save writes all lines again, the old ones included.
    int status = m_file.Rewind();
    if (status == ERROR_SUCCESS) {
        status = WriteLines();
    }
    return status == ERROR_SUCCESS ? m_file.SetEnd() : status;
}

int CTextFileW::WriteLines() {
    const std::u16string_view lineEnd = m_unicode && m_lineFeedOnly ? u"\n" : u"\r\n";
    std::u16string batch;
    if (m_unicode) {
        batch += u'\uFEFF';
    }
    for (const CStrW& line : m_lines) {
        batch += line.View();
        batch += lineEnd;
        // A batch ends after a whole line, so that no surrogate pair is cut in two before it is
        // converted to a code page.
        if (batch.size() >= kBatchUnits) {
            const int status = WriteBatch(batch);
            if (status != ERROR_SUCCESS) {
                return status;
            }
            batch.clear();
        }
    }
    return WriteBatch(batch);
}

int CTextFileW::WriteBatch(std::u16string_view text) {
    if (m_unicode) {
        return m_file.Write(text.data(), text.size() * sizeof(char16_t));
    }
    const std::string bytes = platform::ToCodePage(text, m_codePage);
    return m_file.Write(bytes.data(), bytes.size());
}
