// host/report/report_payload.h - the payload of a target and how large it is.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/manifest_items.h"
#include "host/payload_check.h"
#include "host/target_folder.h"

namespace host {

struct SReportSize {
    std::u16string name;
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;
};

// Adds up files, of which only the largest ones are kept. One thread at a time.
class CReportSizes {
public:
    void Add(const std::u16string& name, std::uint64_t bytes);
    [[nodiscard]] const SReportSize& GetSum() const { return m_sum; }
    // The largest files. Called once.
    [[nodiscard]] std::vector<SReportSize> TakeLargest();
    // How large each folder is; the smallest ones are one row without a name.
    [[nodiscard]] std::vector<SReportSize> ListFolders() const;

private:
    SReportSize m_sum;
    std::vector<SReportSize> m_largest;
    std::map<std::u16string, SReportSize> m_folders;
};

// The files in the folder of a target, without its manifests and check sums. One thread at a time.
//
// INVARIANT: `m_sizes` has the size of the file of the same index in `m_files`; none of what is no
// payload.
class CReportPayload {
public:
    // Lists the folder: of one that is not called as those of targets are, only what the manifest
    // names. What cannot be listed, and links, are told.
    CReportPayload(const std::filesystem::path& folder, const std::filesystem::path& manifest,
                   const TellProblem& tell);

    // Finds the SID that is in the names, if the manifest names files by it.
    void FindSid(const std::filesystem::path& manifest);
    // The file that an item has. None when it names none that is there.
    [[nodiscard]] std::optional<SReportSize> Find(const SItem& item) const;
    // Gives the name and the size of each file, in the order of the names.
    void ListFiles(
        const std::function<void(const std::u16string& name, std::uint64_t bytes)>& handle) const;

private:
    [[nodiscard]] std::u16string GetName(const SFoundFile& file) const;

    std::filesystem::path m_folder;
    std::vector<SFoundFile> m_files;
    std::vector<std::optional<std::uint64_t>> m_sizes;
    CPayloadCheck m_check;
};

}  // namespace host
