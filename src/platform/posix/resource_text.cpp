#include "platform/text.h"

namespace platform {

namespace {

struct SResource {
    std::uint32_t id;
    const char16_t* text;
};

// The texts that a program for Windows has as resources. The blank before the first full stop and
// the doubled blanks belong to them, because the logs of both systems are the same.
constexpr SResource kResources[] = {
    {101, u"Failed to read the file '%1' .  %2"},
    {102, u"Exception occurred converting from CAS package.  %1"},
    {103, u"Failed to obtain special privilege for loading target registry hive files."},
    {104, u"Failed to load target registry hive file '%1'.  %2"},
    {105, u"Failed to copy file '%1' from CAS package.  %2"},
    {106, u"Failed to load shortcut file '%1'.  %2"},
};

}  // namespace

bool LoadResourceText(std::uint32_t id, const void* /*module*/, std::u16string& text) {
    for (const SResource& resource : kResources) {
        if (resource.id == id) {
            text = resource.text;
            return true;
        }
    }
    return false;
}

}  // namespace platform
