// platform/posix/shell_link_parser.h - the documented binary format of shell links.
#pragma once

#include <cstddef>
#include <span>

#include "platform/shell_link.h"

namespace platform {

// Reads a shell link out of the bytes of its file, which may be any. False, with `link` untouched,
// when they are no shell link or end before its data blocks; a link that is cut off in these keeps
// the blocks that are whole. The path is the text with environment variables where there is one,
// else that of the LinkInfo structure, else what the item ID list spells.
[[nodiscard]] bool ParseShellLink(std::span<const std::byte> bytes, SShellLink& link);

}  // namespace platform
