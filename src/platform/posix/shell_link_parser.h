// platform/posix/shell_link_parser.h - the documented binary format of shell links.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/shell_link.h"

namespace platform {

// Gives the path that the token of a name, without percent signs, stands for on the machine; false
// when it stands for none.
using TokenFolderFinder = bool (*)(std::u16string_view name, std::u16string& path);

// Reads a shell link out of the bytes of its file, which may be any. False, with `link` untouched,
// when they are no shell link or end before its data blocks; a link that is cut off in these keeps
// the blocks that are whole.
//
// The path is the text with environment variables where there is one, else that of the LinkInfo
// structure, else what the item ID list spells. A LinkInfo path in a code page that nobody knows
// comes after the list. A link that has none of these, but lies in a known or special folder, is
// below where `findFolder` has that folder.
[[nodiscard]] bool ParseShellLink(std::span<const std::byte> bytes, TokenFolderFinder findFolder,
                                  SShellLink& link);

}  // namespace platform
