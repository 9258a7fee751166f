// orvpackage/sanitizer.h - the gate between concrete texts and the portable texts of the manifest.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/double_null_string.h"
#include "foundation/file_path_converter.h"
#include "foundation/reg_path_converter.h"
#include "foundation/wide_string.h"

enum ESanitizeFlags : std::uint32_t {
    SanitizeAll = 0,
    SanitizeNoFilePaths = 1,
    SanitizeNoRegPaths = 2,
    SanitizeNoPaths = 3,
};

// Turns machine-specific text into tokens and back. "|" and "%" of the text itself are escaped as
// "||" and "|%", so that no token is taken for text. Holds both converters for its lifetime.
class COrvSanitizer {
public:
    COrvSanitizer();
    virtual ~COrvSanitizer() = default;
    COrvSanitizer(const COrvSanitizer&) = delete;
    COrvSanitizer& operator=(const COrvSanitizer&) = delete;

    [[nodiscard]] CStrW Sanitize(std::u16string_view text, std::uint32_t flags) const;
    // The same without a copy of a text that does not change: the result is `text` itself, or else
    // `buffer`. Throws std::bad_alloc.
    [[nodiscard]] std::u16string_view Sanitize(std::u16string_view text, std::uint32_t flags,
                                               std::u16string& buffer) const;
    // Puts the start of the portable forms of the files of a folder into `portable`: the form of a
    // file is this start and the form of its name by SanitizeNoPaths. False, with `portable` in no
    // particular state, when it may be another. `folder` ends in a backslash or is empty; a name
    // is not empty, and has no backslash and no colon. Throws std::bad_alloc.
    [[nodiscard]] bool SanitizeFolder(std::u16string_view folder, std::uint32_t flags,
                                      std::u16string& portable) const;
    // Each string by itself; what becomes empty is dropped.
    [[nodiscard]] CDoubleNullStringW SanitizeMulti(const CDoubleNullStringW& strings,
                                                   std::uint32_t flags) const;
    // The steps of Sanitize in reverse, with this machine's folders and user.
    [[nodiscard]] CStrW Desanitize(const CStrW& text, std::uint32_t flags) const;

private:
    CSharedHolder<CFilePathConverter> m_fileConverter;
    CSharedHolder<CRegPathConverter> m_regConverter;
    CStrW m_sid;
};
