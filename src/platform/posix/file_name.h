// platform/posix/file_name.h - the name of a file as the disk has it and as Windows callers see it.
//
// On disk a name is bytes, as a rule UTF-8. Callers see UTF-16, where a character that no Windows
// name can hold shows moved up by U+F000, and a byte that is no part of UTF-8 as U+DC00 plus the
// byte.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// How a name on disk appears to callers.
[[nodiscard]] std::u16string TextFromName(std::string_view bytes);

// As TextFromName, but what could stand for itself as well (a colon and U+F03A) is told apart: the
// characters that no Windows name can hold show as U+DC00 plus the character.
[[nodiscard]] std::u16string UnambiguousTextFromName(std::string_view bytes);

// The name on disk that `text` stands for to the letter, and that a new file of this name gets;
// U+F03A stays what it is. Gives false for what is no name: empty, ".", "..", or with a character
// that no Windows name can hold. Lone surrogates become bytes of their own, as the surrogates of
// UTF-8 would.
[[nodiscard]] bool NameFromText(std::u16string_view text, std::string& bytes);

// The upper-case form by which NTFS orders and compares names, each unit by itself.
[[nodiscard]] char16_t UpperUnit(char16_t unit);
void AppendUpper(std::u16string& upper, std::u16string_view text);

// Whether two texts are the same name but for letter case.
[[nodiscard]] bool IsSameName(std::u16string_view left, std::u16string_view right);

// Whether a name fits a pattern with "*" and "?", ignoring case. "*.*" fits every name.
[[nodiscard]] bool MatchesPattern(std::u16string_view name, std::u16string_view pattern);

}  // namespace platform
