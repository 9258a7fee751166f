// platform/posix/files/file_name.h - the name of a file as the disk has it and as Windows callers
// see it.
//
// On disk a name is bytes, as a rule UTF-8. Callers see UTF-16, where a character that no Windows
// name can hold shows moved up by U+F000, and a byte that is no part of UTF-8 as U+DC00 plus the
// byte.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace platform {

// The printable characters that POSIX allows in a name and Windows does not. The slash is missing:
// neither does.
inline constexpr std::u16string_view kForeignMarks = u"\\:*?\"<>|";
// Whether POSIX allows a character in a name and Windows does not.
constexpr bool IsForeign(char32_t c) {
    return c < 0x20 ||
           (c < 0x80 && kForeignMarks.find(static_cast<char16_t>(c)) != std::u16string_view::npos);
}

// Whether a byte appears as itself. False for the slash, which is in no name.
inline constexpr auto kPlainBytes = [] {
    std::array<bool, 256> plain{};
    for (unsigned char c = 1; c < 0x80; ++c) {
        plain[c] = c != '/' && !IsForeign(c);
    }
    return plain;
}();
inline bool IsPlain(char byte) { return kPlainBytes[static_cast<unsigned char>(byte)]; }

// Whether a name means an entry of a folder, and not the folder itself or the one above.
[[nodiscard]] inline bool IsEntryName(std::string_view name) {
    return !name.empty() && name != "." && name != "..";
}

// Gives the units of TextFromName one by one, so that names can be compared without a copy.
class CNameReader {
public:
    static constexpr int kEnd = -1;

    explicit CNameReader(std::string_view bytes, char16_t foreignBase = 0xF000)
        : m_bytes(bytes), m_foreignBase(foreignBase) {}

    // kEnd after the last unit, however often it is called.
    int Next() {
        if (!m_bytes.empty() && m_trail == 0 && IsPlain(m_bytes[0])) {
            const char byte = m_bytes[0];
            m_bytes.remove_prefix(1);
            return byte;
        }
        return NextOther();
    }

private:
    int NextOther();

    std::string_view m_bytes;
    char16_t m_foreignBase;
    char16_t m_trail = 0;
};

// How a name on disk appears to callers.
[[nodiscard]] std::u16string TextFromName(std::string_view bytes);
// The same, in place of what is in `text`, whose memory is used again. Whether every byte appears
// as itself.
bool ReadName(std::string_view bytes, std::u16string& text);

// As TextFromName, but without two names that appear alike, such as one with a colon and one with
// U+F03A. The characters that no Windows name can contain appear as U+DC00 plus the character.
[[nodiscard]] std::u16string UnambiguousTextFromName(std::string_view bytes);

// The name on disk that is exactly `text`, and that a new file of this name gets. U+F03A stays what
// it is. False for what is no name: empty, ".", "..", or with a character that no Windows name can
// contain; `bytes` is then in no particular state. A lone surrogate that means no byte becomes
// three bytes, as UTF-8 would encode it.
[[nodiscard]] bool NameFromText(std::u16string_view text, std::string& bytes);

// UpperUnit of what is not ASCII.
[[nodiscard]] char16_t UpperOtherUnit(char16_t unit);

// The upper-case form by which NTFS orders and compares names, each unit by itself.
[[nodiscard]] inline char16_t UpperUnit(char16_t unit) {
    if (unit < 0x80) {
        return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    }
    return UpperOtherUnit(unit);
}
void AppendUpper(std::u16string& upper, std::u16string_view text);

// Whether two texts are the same name but for letter case.
[[nodiscard]] bool IsSameName(std::u16string_view left, std::u16string_view right);

// Whether a name fits a pattern with "*" and "?", ignoring case. "*.*" fits every name.
[[nodiscard]] bool MatchesPattern(std::u16string_view name, std::u16string_view pattern);

}  // namespace platform
