// formats/link/shell_link.h - the documented binary format of shell links.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace formats {

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

// What a shell link says. A member without a value could not be read. Texts have at most 1023
// units; longer ones are cut. A text that the link does not have is empty.
struct SShellLink {
    std::optional<std::u16string> path;  // environment variables are not expanded
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

// A folder of the machine, as a link names it: by a known folder's identifier or a CSIDL number.
struct SLinkFolder {
    std::span<const std::byte> id;  // 16 bytes; empty when the number names the folder
    std::uint32_t number = 0;
};

// Gives the path of such a folder on the machine; false when it has none.
using FolderFinder = bool (*)(const SLinkFolder& folder, std::u16string& path);

// Reads a shell link out of the bytes of its file, which may be any. False, with `link` untouched,
// when they are no shell link or end before its data blocks; a link that is cut off in these keeps
// the blocks that are whole.
//
// The path is the text with environment variables if there is one, else that of the LinkInfo
// structure, else that of the item ID list. A LinkInfo path in an unknown code page is tried after
// the list. If there is none of these, but the link names a known or special folder, the path is
// below that folder, whose place `findFolder` gives.
[[nodiscard]] bool ParseShellLink(std::span<const std::byte> bytes, FolderFinder findFolder,
                                  SShellLink& link);

}  // namespace formats
