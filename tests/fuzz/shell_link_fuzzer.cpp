// Feeds arbitrary bytes to the reader of shell links, and checks what it promises of its answers.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "platform/posix/shell_link_parser.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Every folder is on the machine.
bool FindFolder(std::u16string_view name, std::u16string& path) {
    path = uR"(C:\)" + std::u16string(name);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platform::SShellLink link;
    if (!platform::ParseShellLink(std::as_bytes(std::span(data, size)), &FindFolder, link)) {
        return 0;
    }
    for (const auto* text : {&link.path, &link.description, &link.arguments, &link.iconLocation,
                             &link.workingDirectory}) {
        Require(text->has_value() && (*text)->size() <= 1023);
    }
    std::size_t blocks = 0;
    for (const std::vector<std::byte>& block : link.dataBlocks) {
        Require(block.empty() || block.size() >= 8);
        blocks += block.size();
    }
    Require(blocks <= size);
    return 0;
}
