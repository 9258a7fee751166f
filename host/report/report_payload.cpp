#include "host/report/report_payload.h"

#include <algorithm>

#include "host/check_sums.h"
#include "host/console.h"
#include "host/manifest_check.h"
#include "host/path_rules.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

using Text = std::u16string_view;

constexpr std::size_t kMostLargest = 100;  // files that the summary lists
constexpr std::size_t kMostFolders = 30;
constexpr std::size_t kFolderLevels = 2;

bool IsLarger(const SReportSize& left, const SReportSize& right) {
    return left.bytes != right.bytes ? left.bytes > right.bytes : left.name < right.name;
}

// Sorts the largest ones to the front, and leaves out the others.
void KeepLargest(std::vector<SReportSize>& sizes, std::size_t most) {
    const auto end = sizes.begin() + static_cast<std::ptrdiff_t>(std::min(sizes.size(), most));
    std::partial_sort(sizes.begin(), end, sizes.end(), IsLarger);
    sizes.erase(end, sizes.end());
}

// The first levels of a file's folder; a dot for a file right in the folder of the target.
std::u16string FirstLevels(Text name) {
    std::size_t end = 0;
    for (std::size_t level = 0; level < kFolderLevels; ++level) {
        const std::size_t next = name.find(u'\\', end == 0 ? 0 : end + 1);
        end = next == Text::npos ? end : next;
    }
    return end == 0 ? u"." : std::u16string(name.substr(0, end));
}

}  // namespace

void CReportSizes::Add(const std::u16string& name, std::uint64_t bytes) {
    m_largest.push_back({name, bytes, 1});
    // Sorted now and then, so that a file costs about the same however many there are.
    if (m_largest.size() == 10 * kMostLargest) {
        KeepLargest(m_largest, kMostLargest);
    }
    SReportSize& folder = m_folders[FirstLevels(name)];
    folder.bytes += bytes;
    ++folder.files;
    m_sum.bytes += bytes;
    ++m_sum.files;
}

std::vector<SReportSize> CReportSizes::TakeLargest() {
    KeepLargest(m_largest, kMostLargest);
    return std::move(m_largest);
}

std::vector<SReportSize> CReportSizes::ListFolders() const {
    std::vector<SReportSize> folders;
    for (const auto& [name, folder] : m_folders) {
        folders.push_back({name, folder.bytes, folder.files});
    }
    KeepLargest(folders, kMostFolders);
    SReportSize rest = m_sum;
    for (const SReportSize& folder : folders) {
        rest.bytes -= folder.bytes;
        rest.files -= folder.files;
    }
    if (rest.files != 0) {
        folders.push_back(rest);
    }
    return folders;
}

CReportPayload::CReportPayload(const fs::path& folder, const TellProblem& tell)
    : m_folder(DeepPath(folder)),
      m_files(host::ListFiles(folder, tell)),
      m_sizes(m_files.size()),
      m_check(folder, m_files) {
    std::size_t others = 0;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const SFoundFile& file = m_files[i];
        std::error_code error;
        if (!file.isRegular) {
            ++others;
        } else if (!IsManifest(file) && file.name != kSumsName) {
            const std::uint64_t size = fs::file_size(file.path, error);
            m_sizes[i] = error ? 0 : size;
        }
    }
    if (others != 0) {
        tell(folder,
             Count(others, "name") + " in it that lead to no file, such as links, are left out");
    }
}

void CReportPayload::FindSid(const fs::path& manifest) {
    // Without such a name in the payload no name of the manifest can be found by a SID.
    const bool hasSid = std::ranges::any_of(
        m_files, [](const SFoundFile& file) { return file.name.find("S-1-") != file.name.npos; });
    const TellProblem ignore = [](const fs::path&, const std::string&) {};
    const auto name = [&](const SItemPart& part) {
        for (const platform::SXmlAttribute& attribute : part.attributes) {
            if (attribute.name.ends_with(u"RelativeSource") &&
                attribute.value.find(u"%SID%") != Text::npos) {
                m_check.Name(DecodeRelativePath(attribute.value), false, ignore);
            }
        }
    };
    if (hasSid) {
        // What is wrong with the manifest is told when its items are read.
        static_cast<void>(ReadItems(manifest, [&](const SItem& item) {
            name(item);
            std::ranges::for_each(item.parts, name);
            return true;
        }));
    }
    m_check.FinishNames(ignore);
}

std::optional<std::uint64_t> CReportPayload::GetSize(const SItem& item) const {
    const Text source = GetAttribute(item, u"RelativeSource");
    const SFoundFile* const file =
        source.empty() ? nullptr : m_check.Find(DecodeRelativePath(source));
    return file == nullptr ? std::nullopt
                           : m_sizes[static_cast<std::size_t>(file - m_files.data())];
}

void CReportPayload::ListFiles(
    const std::function<void(const std::u16string& name, std::uint64_t bytes)>& handle) const {
    const std::size_t start = platform::PathText(m_folder / "").size();
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        if (m_sizes[i]) {
            std::u16string name = platform::PathText(m_files[i].path).substr(start);
            std::ranges::replace(name, u'/', u'\\');
            handle(name, *m_sizes[i]);
        }
    }
}

}  // namespace host
