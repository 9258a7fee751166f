// formats/link/link_target.h - the two structures of a shell link that say where its target is.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "formats/bytes.h"

namespace formats {

// The longest text that the link object gives, in units.
constexpr std::size_t kMaxLinkText = 1023;

// A path, or a part of one, as a structure spells it.
struct SLinkPath {
    std::u16string text;
    // False when bytes were read in code page 1252 that the link's own machine may have meant
    // otherwise: letters beyond ASCII, and the "?" of those that its code page did not have.
    bool isCertain = true;
};

// The text of bytes in the code page of the link's own machine, which is not known.
[[nodiscard]] SLinkPath MakeAnsiPath(std::u16string text);

// Appends `part` to `path`, with one backslash between them; an empty part changes nothing.
void AppendPathPart(SLinkPath& path, const SLinkPath& part);

// The path in a LinkInfo structure: the local one, or else the one on the network; the Unicode form
// of each part where there is one. Empty when there is no such path.
[[nodiscard]] SLinkPath ReadLinkInfoPath(const CByteReader& info);

// The path that an item ID list gives by a drive or a network share and the file entries below it.
// Empty when another kind of item is in the list. Then the target is a virtual object of the shell,
// or is in a folder that only the link's own machine knows.
[[nodiscard]] SLinkPath ReadIdListPath(const CByteReader& list);

// The path that an item ID list gives when its first `start` bytes are the items of `folder`. Empty
// when no item ends there, or when one of the others is no file entry.
[[nodiscard]] SLinkPath ReadIdListPath(const CByteReader& list, std::size_t start,
                                       std::u16string_view folder);

}  // namespace formats
