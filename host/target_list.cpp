#include "host/target_list.h"

#include <memory>

#include "host/console.h"
#include "host/status_text.h"
#include "host/system.h"
#include "orvcasconv/orvcasconv.h"
#include "platform/local_paths.h"

namespace host {

namespace {

// Ends an enumeration.
struct SRelease {
    void operator()(void* handle) const { ReleaseCasTargetInformation(handle); }
};

// Copies and frees a text of the library, which may be null.
std::optional<std::u16string> Take(OrvChar* text) {
    const std::unique_ptr<OrvChar, decltype(&FreeText)> owner(text, &FreeText);
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::u16string(reinterpret_cast<const char16_t*>(text));
}

}  // namespace

std::uint32_t ListTargets(const std::u16string& profile, std::vector<STarget>& targets) {
    void* handle = nullptr;
    const std::uint32_t status =
        InitCasTargetInformation(reinterpret_cast<const OrvChar*>(profile.c_str()), &handle);
    if (status != 0) {
        return status;
    }
    const std::unique_ptr<void, SRelease> release(handle);
    // The caller's list is replaced only at the end.
    std::vector<STarget> listed;
    OrvChar* guid = nullptr;
    OrvChar* name = nullptr;
    // Ends after the last target, with the status 259. Each text belongs to this program and is
    // taken at once.
    while (GetNextCasTargetInformation(handle, &guid, &name) == 0) {
        listed.push_back({Take(guid).value_or(u""), Take(name)});
    }
    targets = std::move(listed);
    return 0;
}

bool ReadTargets(const std::string& argument, const char* action, std::u16string& profile,
                 std::vector<STarget>& targets) {
    const std::optional<std::u16string> path = platform::LibraryPath(argument);
    if (!path) {
        Complain("the current folder is gone; name the profile by its full path");
        return false;
    }
    profile = *path;
    const std::uint32_t status = ListTargets(profile, targets);
    if (status != 0) {
        // With the path as the user has written it, not with the name that the library uses.
        Complain(DescribeFailure(action, argument, status));
    }
    return status == 0;
}

}  // namespace host
