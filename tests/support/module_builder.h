// tests/support/module_builder.h - managed modules made in a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Where in the bytes of a module its parts begin.
struct SModuleLayout {
    static constexpr std::size_t kImage = 64;                        // the signature "PE"
    static constexpr std::size_t kOptional = kImage + 24;            // of 32 or 64 bits
    static constexpr std::size_t kDirectory = kOptional + 96 + 112;  // of 32 bits
    static constexpr std::size_t kManaged = 0x200;                   // leads to the metadata
    static constexpr std::size_t kMetadata = kManaged + 72;
    static constexpr std::size_t kTables = kMetadata + 64;
};

// The headers of an image with metadata, whose table of assemblies has that many rows; none makes a
// mere module.
[[nodiscard]] std::string MakeModule(std::uint32_t assemblies, bool is64Bit = false);
