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

// Calls `handle` for each path of a payload file in a manifest.
template <class THandler>
void ForEachPayload(const fs::path& manifest, const THandler& handle) {
    const auto ofPart = [&handle](const SItemPart& part) {
        for (const platform::SXmlAttribute& attribute : part.attributes) {
            if (attribute.name.ends_with(u"RelativeSource")) {
                handle(attribute.value);
            }
        }
    };
    static_cast<void>(ReadItems(manifest, [&](const SItem& item) {
        ofPart(item);
        std::ranges::for_each(item.parts, ofPart);
        return true;
    }));
}

// What is wrong with the manifest is told when its items are read.
std::set<std::u16string> ReadFirstNames(const fs::path& manifest) {
    std::set<std::u16string> names;
    ForEachPayload(manifest,
                   [&names](Text source) { names.insert(FirstName(DecodeRelativePath(source))); });
    return names;
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

CReportPayload::CReportPayload(const fs::path& folder, const fs::path& manifest,
                               const TellProblem& tell)
    : m_folder(DeepPath(folder)),
      m_files(IsGuidName(platform::PathBytes(folder.filename()))
                  ? host::ListFiles(folder, tell)
                  : ListNamedFiles(folder, ReadFirstNames(m_folder / manifest), tell)),
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
    if (hasSid) {
        ForEachPayload(manifest, [&](Text source) {
            if (source.find(u"%SID%") != Text::npos) {
                m_check.Name(DecodeRelativePath(source), false, ignore);
            }
        });
    }
    m_check.FinishNames(ignore);
}

std::optional<SReportSize> CReportPayload::Find(const SItem& item) const {
    const Text source = GetAttribute(item, u"RelativeSource");
    const SFoundFile* const file =
        source.empty() ? nullptr : m_check.Find(DecodeRelativePath(source));
    const auto size =
        file == nullptr ? std::nullopt : m_sizes[static_cast<std::size_t>(file - m_files.data())];
    return size ? std::optional(SReportSize{GetName(*file), *size, 1}) : std::nullopt;
}

std::u16string CReportPayload::GetName(const SFoundFile& file) const {
    std::u16string name =
        platform::PathText(file.path).substr(platform::PathText(m_folder / "").size());
    std::ranges::replace(name, u'/', u'\\');
    return name;
}

void CReportPayload::ListFiles(
    const std::function<void(const std::u16string& name, std::uint64_t bytes)>& handle) const {
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        if (m_sizes[i]) {
            handle(GetName(m_files[i]), *m_sizes[i]);
        }
    }
}

}  // namespace host
