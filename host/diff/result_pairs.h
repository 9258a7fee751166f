// host/diff/result_pairs.h - which manifests of two results are compared with each other.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/target_folder.h"

namespace host {

// Two manifests, or a target or a manifest that only one side has.
struct SResultPair {
    std::u16string target;        // GUID in braces and capital letters, or a folder's name; may be
                                  // empty
    std::u16string manifest;      // its name; empty for a whole target
    std::filesystem::path older;  // empty when only the newer side has it
    std::filesystem::path newer;
};

// The manifests of two arguments, by the names of targets. An argument is a manifest, the folder of
// a target, or a folder with those. What is wrong is told; then the result may be empty.
[[nodiscard]] std::vector<SResultPair> PairResults(const std::string& older,
                                                   const std::string& newer,
                                                   const TellProblem& tell);

}  // namespace host
