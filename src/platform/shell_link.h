// platform/shell_link.h - reads shortcut files, by the machine in effect.
#pragma once

#include "formats/link/shell_link.h"

namespace platform {

using formats::kShellLinkBlocks;
using formats::SShellLink;

// Reads a shortcut file. Returns 0 or a negative HRESULT, with `link` unchanged: that of the file
// system when the file cannot be read, E_FAIL when it is not a shortcut. Never throws except
// std::bad_alloc. One thread at a time.
[[nodiscard]] int ReadShellLink(const char16_t* name, SShellLink& link);

}  // namespace platform
