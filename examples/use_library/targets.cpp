// Lists the targets of a package: targets PROFILE.
#include <orvcasconv/orvcasconv.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

namespace {

struct SFree {
    void operator()(OrvChar* text) const { std::free(text); }
};
using COwnedText = std::unique_ptr<OrvChar, SFree>;

std::string ToUtf8(const OrvChar* text) {
    return text == nullptr ? std::string() : std::filesystem::path(text).string();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: targets PROFILE\n";
        return 2;
    }
    std::u16string profile = u"Z:" + std::filesystem::absolute(argv[1]).u16string();
    std::replace(profile.begin(), profile.end(), u'/', u'\\');
    void* handle = nullptr;
    if (const std::uint32_t status = InitCasTargetInformation(profile.c_str(), &handle);
        status != 0) {
        std::cerr << "status " << status << '\n';
        return 1;
    }
    OrvChar* guid = nullptr;
    OrvChar* name = nullptr;
    while (GetNextCasTargetInformation(handle, &guid, &name) == 0) {
        const COwnedText ownedGuid(guid);
        const COwnedText ownedName(name);
        std::cout << ToUtf8(guid) << '\t' << ToUtf8(name) << '\n';
    }
    ReleaseCasTargetInformation(handle);
    return 0;
}
