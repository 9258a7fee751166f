// host/registry_data.h - the data of a registry value, from its text in a manifest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

// A string or the strings of a multi-string, which are portable texts still; a number; or bytes.
using RegistryData = std::variant<std::u16string, std::vector<std::u16string>, std::uint64_t,
                                  std::vector<std::byte>>;

enum class EDataKind { Unknown, String, Strings, Number, Bytes };

// What the data of a type is. `type` is its name as the attribute `Type` has it. Any name that
// begins with "REG_" and is none of the others is of Bytes; Unknown is what does not begin so.
[[nodiscard]] EDataKind GetDataKind(std::u16string_view type);

// Nothing when the type is of Unknown, and when the text has not the form of the type.
[[nodiscard]] std::optional<RegistryData> DecodeRegistryData(std::u16string_view type,
                                                             std::u16string_view text);

// Gives the strings of a multi-string, which ends in "\0\0", one after the other. False, after some
// of them, when it does not.
[[nodiscard]] bool SplitMultiString(std::u16string_view text,
                                    const std::function<void(std::u16string_view string)>& handle);
// The same at once.
[[nodiscard]] std::optional<std::vector<std::u16string>> DecodeMultiString(
    std::u16string_view text);

// A multi-string for people, as ["a", "b"]. A text that has not this form stays as it is.
void ShowMultiString(std::u16string_view text, std::u16string& shown);
// The data of a value for people: a multi-string in this way, a number as "0x10 (16)"; the text
// itself where it is of another type or has not the form of its type. `buffer` keeps what is not
// the text.
[[nodiscard]] std::u16string_view ShowRegistryData(std::u16string_view type,
                                                   std::u16string_view text,
                                                   std::u16string& buffer);

}  // namespace host
