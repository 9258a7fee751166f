// host/check_sums.h - the check sums of a target's folder, in the form of sha256sum.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "host/target_folder.h"
#include "platform/crypto.h"

namespace host {

// The file with the check sums, beside the manifest.
constexpr const char* kSumsName = "SHA256SUMS";

// A check sum as text: small hexadecimal digits, as sha256sum writes them.
[[nodiscard]] std::string SumText(const platform::Sha256& sum);

// The check sum of a file as text; none when it cannot be read, and then `problem` says why.
[[nodiscard]] std::optional<std::string> SumFile(const std::filesystem::path& file,
                                                 std::string& problem);

// Writes the check sums of all files in a target's folder and below into its file kSumsName, which
// is replaced. Returns what went wrong; empty when nothing did. A file that cannot be read leaves
// no file kSumsName.
[[nodiscard]] std::string WriteCheckSums(const std::filesystem::path& folder);

// Compares the bytes of `files`, which are those of the folder, with the regular file kSumsName
// among them.
// Tells what is missing, is not listed, cannot be read or has other bytes. Files that are not
// regular are nobody's: a link could lead anywhere.
void VerifyCheckSums(const std::filesystem::path& folder, std::span<const SFoundFile> files,
                     const TellProblem& tell);

}  // namespace host
