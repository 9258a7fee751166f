// platform/described/known_folders.h - the folders that shell links name by identifiers and
// numbers.
#pragma once

#include <string_view>

#include "formats/link/shell_link.h"

namespace platform {

// The name of the token for a folder, without percent signs. Empty when there is no such token.
[[nodiscard]] std::u16string_view GetTokenName(const formats::SLinkFolder& folder);

}  // namespace platform
