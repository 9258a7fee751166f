#include "platform/described/answers.h"
#include "platform/described/description_in_effect.h"
#include "platform/described/file_bytes.h"
#include "platform/described/known_folders.h"
#include "platform/status.h"

namespace platform {

namespace {

// Real links have a few thousand bytes. A larger file only has the name of a link, and is not read
// into memory.
constexpr std::size_t kMaxFileSize = std::size_t{64} * 1024 * 1024;

// A token is the name of a special folder or of an environment variable.
bool FindFolder(const formats::SLinkFolder& folder, std::u16string& path) {
    const std::u16string_view name = GetTokenName(folder);
    const SMachineDescription& machine = GetMachineDescription();
    if (const auto found = machine.folders.find(name); found != machine.folders.end()) {
        path = found->second;
        return true;
    }
    return !name.empty() &&
           GetDescribedMachine().GetEnvironmentText(std::u16string(name).c_str(), path);
}

}  // namespace

int ReadDescribedLink(const char16_t* name, SShellLink& link) {
    // One byte more than allowed shows that a file is too large.
    SFileBytes file;
    if (const int status = ReadFileBytes(name, kMaxFileSize + 1, file)) {
        return HresultFromError(status);
    }
    const bool isLink =
        file.size <= kMaxFileSize && formats::ParseShellLink(file.Get(), &FindFolder, link);
    return isLink ? S_OK : E_FAIL;
}

}  // namespace platform
