// platform/described/known_folders.h - the folders that shell links name by identifiers and
// numbers.
#pragma once

#include <string_view>

#include "formats/link/shell_link.h"

namespace platform {

// The name of the token of a folder, without percent signs. Empty when no token stands for the
// folder.
[[nodiscard]] std::u16string_view GetTokenName(const formats::SLinkFolder& folder);

}  // namespace platform
