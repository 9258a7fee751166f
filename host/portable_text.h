// host/portable_text.h - portable texts of a manifest, as texts of a machine.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/file_path_converter.h"
#include "host/manifest_schema.h"

namespace host {

// What becomes of tokens: they stay, or the loaded machine's paths and its user's SID replace them.
enum class ETokenUse : std::uint8_t { Keep, Replace };

// Resolves the escapes and tokens of portable texts. One thread at a time.
class CPortableText {
public:
    // To replace tokens, platform::LoadMachine must have been called.
    explicit CPortableText(ETokenUse use);

    // Resolves a text of the form Key, in which only "%SID%" is a token, or Path. `text` has no
    // escapes of XML and no tildes any more; a multi-string is resolved string by string. Nothing
    // when a bar or a percent sign begins neither an escape nor a token. Relative paths are not
    // resolved here: their "%SID%" is the user who has converted.
    [[nodiscard]] std::optional<std::u16string> Resolve(std::u16string_view text, EForm form);

    // How many tokens have stayed in all texts.
    [[nodiscard]] std::uint64_t GetKept() const { return m_kept; }
    // The tokens that the machine does not have, with their percent signs.
    [[nodiscard]] const std::map<std::u16string, std::uint64_t>& GetMissing() const {
        return m_missing;
    }

private:
    [[nodiscard]] const std::u16string* FindValue(std::u16string_view token);

    std::optional<CFilePathConverter> m_files;  // none when tokens stay
    std::uint64_t m_kept = 0;
    std::map<std::u16string, std::uint64_t> m_missing;
    // What replaces each token that was found so far; empty for nothing.
    std::map<std::u16string, std::u16string, std::less<>> m_values;
};

}  // namespace host
