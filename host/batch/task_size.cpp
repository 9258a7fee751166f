#include "host/batch/task_size.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>

#include "host/batch/batch_folder.h"
#include "host/path_rules.h"
#include "host/system.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// How long a task is to take. Slurm needs about a second for each allocation, so this makes it
// less than a hundredth.
constexpr double kTaskSeconds = 180;

// What a conversion takes, from above: files of a shared folder cost a few calls of the server.
// docs/fleet.md says what was measured.
constexpr double kSecondsPerPackage = 0.01;
constexpr double kSecondsPerFile = 0.001;
constexpr double kSecondsPerMegabyte = 0.02;

constexpr std::size_t kSampledPackages = 20;
// Of each package. A shared folder gives the names in a folder together, but sizes one by one.
constexpr std::size_t kCountedFiles = 5000;
constexpr std::size_t kSampledFiles = 500;
constexpr std::size_t kListedFolders = 500;

struct STreeSize {
    std::size_t files = 0;
    double megabytes = 0;
};

// How many files a tree has, as far as it is looked at, and what they hold if all are as large as
// the first ones on average.
STreeSize MeasureTree(const fs::path& root) {
    constexpr double kMegabyte = 1e6;
    STreeSize size;
    std::vector<fs::path> open = {root};
    for (std::size_t folders = 0;
         !open.empty() && folders < kListedFolders && size.files < kCountedFiles; ++folders) {
        const fs::path folder = std::move(open.back());
        open.pop_back();
        std::vector<SFolderEntry> entries;
        static_cast<void>(ListFolder(DeepPath(folder), entries));  // it counts as empty
        for (const SFolderEntry& entry : entries) {
            if (entry.isFolder) {
                open.push_back(folder / entry.name);
                continue;
            }
            if (size.files < kSampledFiles) {
                const auto state = GetFileState(folder / entry.name);
                size.megabytes += state ? static_cast<double>(state->size) / kMegabyte : 0;
            }
            if (++size.files == kCountedFiles) {
                break;
            }
        }
    }
    if (size.files > kSampledFiles) {
        size.megabytes *= static_cast<double>(size.files) / double{kSampledFiles};
    }
    return size;
}

// The time for a package, which has its share of what is captured in its folder.
double EstimatePackage(const SPackage& package) {
    const fs::path folder = package.profile.parent_path();
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(DeepPath(folder), entries));  // it counts as empty
    std::size_t captures = 0;
    std::size_t profiles = 0;
    std::optional<fs::path> capture;
    for (const SFolderEntry& entry : entries) {
        if (entry.isFolder && IsCaptureName(platform::PathText(entry.name))) {
            ++captures;
            capture = folder / entry.name;
        } else if (entry.name.extension() == package.profile.extension()) {
            ++profiles;
        }
    }
    const STreeSize size = capture ? MeasureTree(*capture) : STreeSize();
    const double targets =
        static_cast<double>(captures) / static_cast<double>(std::max<std::size_t>(1, profiles));
    return kSecondsPerPackage + targets * (static_cast<double>(size.files) * kSecondsPerFile +
                                           size.megabytes * kSecondsPerMegabyte);
}

}  // namespace

SPackageTime EstimateTime(const std::vector<const SPackage*>& packages) {
    const std::size_t step = std::max<std::size_t>(1, packages.size() / kSampledPackages);
    SPackageTime time{.seconds = kSecondsPerPackage, .basis = "by the sizes of some"};
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < packages.size() && count < kSampledPackages; i += step) {
        sum += EstimatePackage(*packages[i]);
        ++count;
    }
    time.seconds = count == 0 ? time.seconds : sum / static_cast<double>(count);
    return time;
}

std::size_t ChoosePackagesPerTask(std::size_t packages, double seconds, std::size_t maxTasks) {
    const std::size_t least = (packages + maxTasks - 1) / std::max<std::size_t>(1, maxTasks);
    const double count = std::ceil(kTaskSeconds / std::max(seconds, 0.001));
    return std::max({std::size_t{1}, least, std::min(packages, static_cast<std::size_t>(count))});
}

}  // namespace host
