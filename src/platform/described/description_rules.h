// platform/described/description_rules.h - the forms that the texts of a machine description have.
#pragma once

#include <string_view>

#include "platform/machine.h"

namespace platform {

// "C:"
[[nodiscard]] bool IsDrive(std::u16string_view text);
// "\\server\share"
[[nodiscard]] bool IsShare(std::u16string_view text);
// A full path in which every name is valid. Any other text must be refused here: the conversion
// would treat it as no folder, and would go on without its token.
[[nodiscard]] bool IsWindowsPath(std::u16string_view path);
[[nodiscard]] bool IsSid(std::u16string_view text);
[[nodiscard]] bool IsLocaleName(std::u16string_view text);
// The name of a token for a special folder.
[[nodiscard]] bool IsFolderName(std::u16string_view name);
// The name of a hive in kernel form.
[[nodiscard]] bool IsHive(std::u16string_view text);

// Reads "major.minor"; false when it is anything else, with `version` in no particular state.
[[nodiscard]] bool ParseVersion(std::string_view text, SSystemVersion& version);

}  // namespace platform
