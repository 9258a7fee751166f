// foundation/text_file.h - collects lines of text and saves them in a file.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/wide_string.h"
#include "platform/files.h"

class CFilePathW;

// Collects lines, which Save writes all together: in a code page, each ended by CR LF, or as
// UTF-16LE with a byte order mark. One thread at a time.
class CTextFileW {
public:
    CTextFileW() = default;
    virtual ~CTextFileW() = default;
    CTextFileW(const CTextFileW&) = delete;
    CTextFileW& operator=(const CTextFileW&) = delete;

    // The code page of narrow output; 0 is the system's own.
    void SetCodePage(std::uint32_t codePage) { m_codePage = codePage; }
    void SetReadOnly(bool readOnly) { m_readOnly = readOnly; }
    void SetUnicode(bool unicode) { m_unicode = unicode; }
    // Ends lines by LF alone, in Unicode output only.
    void SetLineFeedOnly(bool lineFeedOnly) { m_lineFeedOnly = lineFeedOnly; }

    void AddLine(const CStrW& line) { m_lines.push_back(line); }

    // Closes any former file and creates `path`, replacing an existing file. A read-only mark set
    // before is cleared. 0, or a Windows error number, with no file open.
    int Create(const CFilePathW& path);
    // Writes all lines from the start of the file and cuts off any older rest. Does nothing without
    // a file, or when read-only. 0 or a Windows error number.
    int Save();

private:
    int WriteLines();
    int WriteBatch(std::u16string_view text);

    platform::COutputFile m_file;
    std::uint32_t m_codePage = 0;
    bool m_readOnly = false;
    bool m_unicode = false;
    bool m_lineFeedOnly = false;
    std::vector<CStrW> m_lines;
};
