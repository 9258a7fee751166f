// platform/posix/link_target.h - the two structures of a shell link that say where its target is.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/posix/byte_reader.h"

namespace platform {

// The longest text that the link object gives, in units.
constexpr std::size_t kMaxLinkText = 1023;

// The path in a LinkInfo structure: the local one, or else the one on the network; the Unicode form
// of each part where there is one. Empty when there is no such path.
[[nodiscard]] std::u16string ReadLinkInfoPath(const CByteReader& info);

// The path that an item ID list spells by a drive or a network share and the file entries below.
// Empty when an item is none of these: the target is an object of the shell's namespace then, or
// lies in a folder that only the link's own machine knows.
[[nodiscard]] std::u16string ReadIdListPath(const CByteReader& list);

// Puts `part` behind `path`, with one backslash between them; an empty part changes nothing.
void AppendPathPart(std::u16string& path, std::u16string_view part);

}  // namespace platform
