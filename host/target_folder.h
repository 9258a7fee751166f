// host/target_folder.h - what lies in the folder of a target.
#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// Is told what is wrong with a file or folder.
using TellProblem =
    std::function<void(const std::filesystem::path& place, const std::string& words)>;

struct SFoundFile {
    std::filesystem::path path;  // in full, below the folder's DeepPath
    std::string name;            // from the folder on, with slashes
    bool isRegular = false;      // and no link, pipe or the like
};

// Whether a name has the form "{41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401}".
[[nodiscard]] bool IsGuidName(std::string_view name);

// Whether a file right in the folder of a target is a manifest: it begins as one, or is called as
// most are.
[[nodiscard]] bool IsManifest(const SFoundFile& file);

// Everything in a folder and below that is no folder, by the bytes of its name. Links are not
// followed. What cannot be listed is told.
[[nodiscard]] std::vector<SFoundFile> ListFiles(const std::filesystem::path& folder,
                                                const TellProblem& tell);

// The first name of a payload file's path, as CheckManifest tells it.
[[nodiscard]] std::u16string FirstName(const std::u16string& file);

// The same as ListFiles, of what such names begin: a manifest may lie in any folder, of which
// nothing else is looked at. A name with kSidMark begins everything.
[[nodiscard]] std::vector<SFoundFile> ListNamedFiles(const std::filesystem::path& folder,
                                                     const std::set<std::u16string>& firstNames,
                                                     const TellProblem& tell);

}  // namespace host
