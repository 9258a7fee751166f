// platform/shell_link.h - what a shortcut file says.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// The data blocks that are asked for, by signature, in the order of SShellLink::dataBlocks.
constexpr std::array<std::uint32_t, 7> kShellLinkBlocks = {
    0xA0000006U,  // Windows Installer identifier
    0xA0000005U,  // special folder
    0xA0000001U,  // target with environment variables
    0xA0000007U,  // icon with environment variables
    0xA0000002U,  // console
    0xA0000004U,  // console, Far East
    0xA0000009U,  // property store
};

// The answers of the shell's link object; a member without a value could not be had. Texts have at
// most 1023 units, longer ones are cut. A link that says nothing of a text gives an empty one.
struct SShellLink {
    std::optional<std::u16string> path;  // unresolved, environment variables as they stand
    std::optional<std::u16string> description;
    std::optional<std::u16string> arguments;
    std::optional<std::uint16_t> hotkey;
    std::optional<std::u16string> iconLocation;
    std::int32_t iconIndex = 0;  // with iconLocation
    std::optional<std::int32_t> showCommand;
    std::optional<std::u16string> workingDirectory;
    std::optional<std::uint32_t> flags;
    // Each block whole, its size and signature words included; empty when absent.
    std::array<std::vector<std::byte>, kShellLinkBlocks.size()> dataBlocks;
};

// Reads a shortcut file. Returns 0 or a negative HRESULT, with `link` untouched: the file system's
// when the file cannot be read, E_FAIL when it is no shortcut. Never throws but std::bad_alloc.
[[nodiscard]] int ReadShellLink(const char16_t* name, SShellLink& link);

}  // namespace platform
