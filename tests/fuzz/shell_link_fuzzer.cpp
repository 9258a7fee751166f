// Feeds arbitrary bytes to the reader of shell links, and checks what it promises of its answers.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "formats/link/shell_link.h"
#include "fuzz/require.h"

namespace {

// Every folder is on the machine.
bool FindFolder(const formats::SLinkFolder& folder, std::u16string& path) {
    path = folder.id.empty() ? uR"(C:\special)" : uR"(C:\known)";
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    formats::SShellLink link;
    if (!formats::ParseShellLink(std::as_bytes(std::span(data, size)), &FindFolder, link)) {
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
