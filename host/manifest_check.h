// host/manifest_check.h - whether a manifest holds only what docs/manifest.md allows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace host {

// What is told of a manifest, in the order of its lines.
struct SManifestFindings {
    // What is wrong in a line; 0 for the file as a whole. Far too many are not told one by one.
    std::function<void(std::uint32_t line, const std::string& words)> fault;
    // A payload file that an item names, relative to the manifest's folder, in the names of
    // Windows. The unit kSidMark is the SID of the user who converted.
    std::function<void(const std::u16string& file)> payload;
};

struct SManifestCheck {
    std::size_t items = 0;
    bool isWhole = false;  // it was read to its end
};

constexpr char16_t kSidMark = 0;  // no text has a NUL

// The file that a relative path of a manifest names, with kSidMark as above. The path has no
// escapes of XML and no tildes any more.
[[nodiscard]] std::u16string DecodeRelativePath(std::u16string_view path);

// Reads the file at `path`, a path of the library, to its end or to where it is no XML any more.
// The memory grows with the longest text, and not with the file.
SManifestCheck CheckManifest(const std::u16string& path, const SManifestFindings& findings);

}  // namespace host
