// host/batch/batch_sources.h - the packages that a batch is about.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace host {

struct SPackage {
    std::string name;               // in bytes, with slashes between its parts
    std::filesystem::path place;    // of its result, from the output on
    std::filesystem::path profile;  // in full
};

// The name as text. A byte that is not UTF-8 becomes U+DC00 plus the byte.
[[nodiscard]] std::u16string NameText(const SPackage& package);

struct SSources {
    std::vector<SPackage> packages;  // by the bytes of their names
    std::size_t problems = 0;        // packages that were refused, folders that cannot be listed
    bool isWrong = false;            // an argument makes no sense, so that nothing may be done
};

// Finds the packages of the arguments: a profile, a folder with profiles at any depth, or "-" for
// the lines of `list`, each a profile or a name, a tab and a profile. `output` is the folder for
// the results, in full. Links are not followed, and neither the output nor captured trees are
// searched. Each problem is told on stderr.
[[nodiscard]] SSources FindSources(const std::vector<std::string>& arguments,
                                   const std::filesystem::path& output, std::istream& list);

// Takes out the packages whose results would be in each other's places: two of one name, and one
// whose name begins with all parts of another's. Letter case does not count. Both are told and
// refused. Those that are left are sorted.
void RefuseClashes(SSources& sources);

// Why a package cannot have this name, as the end of a sentence; empty for a good one.
[[nodiscard]] std::string CheckName(const std::string& name);

}  // namespace host
