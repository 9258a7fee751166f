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

// A string or the strings of a multi-string, which are portable texts still; a number; or the bytes
// of any other type.
using RegistryData = std::variant<std::u16string, std::vector<std::u16string>, std::uint64_t,
                                  std::vector<std::byte>>;

enum class EDataKind { Unknown, String, Strings, Number, Bytes };

// What the data of a type is. `type` is its name as the attribute `Type` has it; Unknown when it is
// empty or not known.
[[nodiscard]] EDataKind GetDataKind(std::u16string_view type);

// `type` is the name of a type as the attribute `Type` has it. Nothing when it is empty or not
// known, and when the text has not its form.
[[nodiscard]] std::optional<RegistryData> DecodeRegistryData(std::u16string_view type,
                                                             std::u16string_view text);

// Gives the strings of a multi-string, which ends in "\0\0", one after the other. False, after some
// of them, when it does not.
[[nodiscard]] bool SplitMultiString(std::u16string_view text,
                                    const std::function<void(std::u16string_view string)>& handle);
// The same at once.
[[nodiscard]] std::optional<std::vector<std::u16string>> DecodeMultiString(
    std::u16string_view text);

}  // namespace host
