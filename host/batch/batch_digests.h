// host/batch/batch_digests.h - what tells whether a result is that of the present package.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/batch/batch_sources.h"

namespace host {

// SHA-256 in small hexadecimal digits. One that is empty belongs to what cannot be read.
struct SDigests {
    std::string profile;
    std::string hives;    // with what else is directly in the folders of the targets, such as rules
    std::string machine;  // the machine description in effect
    std::string options;  // of the conversion, such as "--strict"; as text
    // Of the names, sizes and times of the files that `hives` is about. Empty when one of them
    // changed so recently that its times prove nothing.
    std::string state;
};

// Whether two are of the same package on the same machine.
[[nodiscard]] bool HasSameInput(const SDigests& left, const SDigests& right);

// The digest of bytes in memory.
[[nodiscard]] std::string HashOf(std::string_view bytes);

// Makes the digests of one package after the other.
//
// INVARIANT: `m_captures` has the captured targets of `m_folder`, and `m_large` those of all
// folders with many names so far, as they were when the first of its packages was asked for. So a
// folder with many packages is listed once. A target that appears later is not in the digest, and
// the next run converts its package again.
class CDigests {
public:
    CDigests(std::string machine, std::string options)
        : m_machine(std::move(machine)), m_options(std::move(options)) {}

    // The digests of a package. The captured files are not read where they have the state that
    // `known` has; then their digest is taken from there. The profile is always read.
    [[nodiscard]] SDigests Take(const SPackage& package, const SDigests& known);

private:
    using Paths = std::vector<std::filesystem::path>;

    void ListCaptures(const std::filesystem::path& folder);
    [[nodiscard]] std::string ReadProfile(const std::filesystem::path& profile, Paths& files);

    std::string m_machine;
    std::string m_options;
    using Captures = std::map<std::string, Paths, std::less<>>;  // by the GUID in their names

    std::filesystem::path m_folder;
    Captures m_small;
    std::map<std::filesystem::path, Captures> m_large;
    const Captures* m_captures = &m_small;  // or one of `m_large`
};

}  // namespace host
