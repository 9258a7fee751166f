// tests/support/module_builder.h - managed modules made in a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/little_endian.h"

// Where in the bytes of a module its parts begin.
struct SModuleLayout {
    static constexpr std::size_t kImage = 64;                        // the signature "PE"
    static constexpr std::size_t kOptional = kImage + 24;            // of 32 or 64 bits
    static constexpr std::size_t kDirectory = kOptional + 96 + 112;  // of 32 bits
    static constexpr std::size_t kManaged = 0x200;                   // leads to the metadata
    static constexpr std::size_t kMetadata = kManaged + 72;
    static constexpr std::size_t kTables = kMetadata + 64;
};

inline std::string MakeMetadata(std::uint32_t assemblies) {
    const bool isAssembly = assemblies != 0;
    std::string bytes("BSJB\1\0\1\0\0\0\0\0\14\0\0\0v4.0.30319\0\0\0\0\2\0", 32);
    bytes += Numbers({200}, 8) + std::string("#Strings\0\0\0\0", 12);
    bytes += Numbers({SModuleLayout::kTables - SModuleLayout::kMetadata}, 8);
    bytes += std::string("#~\0\0", 4);
    // The rows of two tables that every module has, then those of assemblies.
    bytes += Numbers({0, 5 | std::uint64_t{isAssembly} << 32, 0, std::uint64_t{7} << 32 | 1}, 8);
    return bytes + (isAssembly ? Numbers({assemblies}) : "");
}

// The headers of an image with metadata, whose table of assemblies has that many rows; none makes a
// mere module.
[[nodiscard]] inline std::string MakeModule(std::uint32_t assemblies, bool is64Bit = false) {
    constexpr std::uint32_t kAddress = 0x2000;
    constexpr std::size_t kImage = SModuleLayout::kImage;
    constexpr std::size_t kOptional = SModuleLayout::kOptional;
    const std::size_t directories = kOptional + (is64Bit ? 112 : 96);
    const std::size_t section = directories + 128;
    const std::string metadata = MakeMetadata(assemblies);
    std::string bytes = "MZ";
    bytes.resize(SModuleLayout::kMetadata);
    PutNumber(bytes, 60, kImage, 4);
    bytes.replace(kImage, 2, "PE");
    PutNumber(bytes, kImage + 6, 1, 2);
    PutNumber(bytes, kImage + 20, section - kOptional, 2);
    PutNumber(bytes, kOptional, is64Bit ? 0x20B : 0x10B, 2);
    PutNumber(bytes, directories - 4, 16, 4);
    PutNumber(bytes, directories + 112, kAddress, 4);
    PutNumber(bytes, section + 12, kAddress, 4);
    PutNumber(bytes, section + 16, 72 + metadata.size(), 4);
    PutNumber(bytes, section + 20, SModuleLayout::kManaged, 4);
    PutNumber(bytes, SModuleLayout::kManaged + 8, kAddress + 72, 4);
    return bytes + metadata;
}
