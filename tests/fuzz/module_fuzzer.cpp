// Feeds arbitrary bytes to the reader of managed modules. It asks for little of a file, whatever
// its headers claim, and what it takes for an assembly has the marks of one.
#include <algorithm>
#include <initializer_list>
#include <span>

#include "formats/assembly/managed_assembly.h"
#include "fuzz/require.h"
#include "fuzz/text_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view file = BytesOf(data, size);
    std::size_t reads = 0;
    std::size_t total = 0;
    const auto readAt = [&](std::uint64_t offset, std::span<std::byte> bytes) {
        ++reads;
        total += bytes.size();
        const std::size_t start = std::min<std::uint64_t>(offset, file.size());
        const std::size_t count = std::min(bytes.size(), file.size() - start);
        std::ranges::copy(std::as_bytes(std::span(file.substr(start, count))), bytes.begin());
        return count;
    };
    const bool isManaged = formats::HoldsManagedAssembly(readAt);
    Require(reads <= 6 && total <= (std::size_t{3} << 20));
    for (const std::string_view mark : {"MZ", "PE", "BSJB", "#"}) {
        Require(!isManaged || file.find(mark) != file.npos);
    }
    return 0;
}
