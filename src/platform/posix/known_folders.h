// platform/posix/known_folders.h - the folders that shell links name by identifiers and numbers.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/posix/byte_reader.h"

namespace platform {

// The name of the token of a folder, without percent signs, by the 16 bytes of its identifier or by
// its CSIDL number. Empty when no token stands for the folder.
[[nodiscard]] std::u16string_view GetKnownFolderName(const CByteReader& id);
[[nodiscard]] std::u16string_view GetSpecialFolderName(std::uint32_t number);

}  // namespace platform
