#include "host/batch/batch_folder.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>
#include <system_error>
#include <vector>

#include "foundation/hex.h"
#include "host/batch/batch_digests.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace host {

namespace {

constexpr const char* kLockEnd = ".lock";

}  // namespace

bool IsHiddenName(std::u16string_view name) {
    return platform::FoldedText(name).starts_with(u".cas2orv");
}

bool IsOwnName(std::u16string_view name) {
    const std::u16string folded = platform::FoldedText(name);
    return IsHiddenName(name) || folded == platform::Utf8ToUtf16(kSummaryJson) ||
           folded == platform::Utf8ToUtf16(kSummaryCsv);
}

bool IsCaptureName(std::u16string_view name) {
    constexpr std::u16string_view kForm = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx_";
    return name.size() > kForm.size() &&
           std::equal(kForm.begin(), kForm.end(), name.begin(), [](char16_t form, char16_t unit) {
               return form == u'x' ? IsHexString({&unit, 1}) : unit == form;
           });
}

std::string WorkName(const std::string& package) {
    constexpr std::size_t kDigits = 16;
    return HashOf(package).substr(0, kDigits);
}

bool ReplaceFile(const std::filesystem::path& file, const std::filesystem::path& beside,
                 const std::string& bytes, std::string& reason) {
    errno = 0;
    std::ofstream stream(DeepPath(beside), std::ios::binary | std::ios::trunc);
    stream << bytes;
    stream.close();
    std::error_code error =
        stream.fail() ? std::error_code(errno, std::generic_category()) : std::error_code();
    if (!error) {
        std::filesystem::rename(DeepPath(beside), DeepPath(file), error);
    }
    if (error) {
        reason = DescribeError(error);
        RemoveTree(beside);
    }
    return !error;
}

std::error_code HoldWorkFile(CHeldFile& claim, const std::filesystem::path& folder,
                             const std::string& name) {
    constexpr int kMaxTries = 20;
    const std::filesystem::path file = folder / (name + kLockEnd);
    std::error_code error = claim.Hold(file);
    for (int tries = 1; error && tries < kMaxTries && !Exists(folder); ++tries) {
        error = MakeFolder(folder, true);
        if (error && !Exists(folder)) {
            return error;
        }
        error = claim.Hold(file);
    }
    return error;
}

void RemoveLeftovers(const std::filesystem::path& folder) {
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(DeepPath(folder), entries));  // what is not found stays
    // A set, because a folder and its locked file give the same name.
    std::set<std::filesystem::path> names;
    for (const SFolderEntry& entry : entries) {
        if (!platform::PathBytes(entry.name).starts_with(kListStart)) {
            names.insert(entry.name.extension() == kLockEnd ? entry.name.stem() : entry.name);
        }
    }
    // These are no packages. To hold one would keep others waiting.
    names.erase(kSubmissionName);
    names.erase(kSummaryName);
    for (const std::filesystem::path& name : names) {
        const std::filesystem::path work = folder / name;
        std::filesystem::path file = work;
        // The file goes when the claim does.
        CHeldFile claim;
        if (!claim.Hold(file += kLockEnd) && !Exists(work / kFormerFolder)) {
            RemoveTree(work);
        }
    }
    std::error_code error;
    std::filesystem::remove(DeepPath(folder), error);  // fails while something is in it
}

}  // namespace host
