#include "formats/assembly/managed_assembly.h"

#include <algorithm>
#include <span>

#include "support/little_endian.h"
#include "support/module_builder.h"
#include "support/test.h"

namespace {

// Whether the first `size` bytes of a file are an assembly.
bool IsManaged(const std::string& file, std::size_t size) {
    return formats::HoldsManagedAssembly([&](std::uint64_t offset, std::span<std::byte> bytes) {
        const std::size_t start = std::min<std::uint64_t>(offset, size);
        const std::size_t count = std::min(bytes.size(), size - start);
        std::ranges::copy(std::as_bytes(std::span(file)).subspan(start, count), bytes.begin());
        return count;
    });
}

bool IsManaged(const std::string& file) { return IsManaged(file, file.size()); }

TEST(ManagedAssemblyTest, NeedsARowInTheTableOfAssembliesAndWholeHeaders) {
    EXPECT_TRUE(IsManaged(MakeModule(1)));
    EXPECT_TRUE(IsManaged(MakeModule(1, true)));
    EXPECT_FALSE(IsManaged(MakeModule(0)));
    using Layout = SModuleLayout;
    const std::string whole = MakeModule(1);
    const std::tuple<const char*, std::size_t, std::uint32_t> damages[] = {
        {"no MZ", 0, 0},
        {"image behind the end", 60, 0xFFFFFFFF},
        {"no PE", Layout::kImage, 0},
        {"other optional header", Layout::kOptional, 0x107},
        {"too few directories", Layout::kOptional + 92, 14},
        {"directories behind their header", Layout::kImage + 20, 208},
        {"no managed header", Layout::kDirectory, 0},
        {"managed header in no section", Layout::kDirectory, 0x9000},
        {"metadata in no section", Layout::kManaged + 8, 0xFFFFFFFF},
        {"no metadata", Layout::kMetadata, 0},
        {"endless version text", Layout::kMetadata + 12, 0xFFFFFFF0},
        {"no tables", Layout::kTables - 4, 0},
        {"tables behind the end", Layout::kTables - 12, 0xFFFFFFFF},
    };
    for (const auto& [what, offset, number] : damages) {
        std::string bytes = whole;
        PutNumber(bytes, offset, number, 4);
        EXPECT_FALSE(IsManaged(bytes)) << what;
    }
    for (std::size_t size = whole.size(); size-- != 0;) {
        ASSERT_FALSE(IsManaged(whole, size)) << size;
    }
}

}  // namespace
