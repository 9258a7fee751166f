// formats/assembly/managed_assembly.h - tells managed assemblies by their headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace formats {

// Reads the bytes of a file from an offset on and returns how many there were; fewer than asked for
// where the file ends or cannot be read.
using ReadAt = std::function<std::size_t(std::uint64_t offset, std::span<std::byte> bytes)>;

// Whether a file is an executable image with metadata that describe an assembly. Reads a few
// headers of it, whatever its size, and takes any bytes.
[[nodiscard]] bool HoldsManagedAssembly(const ReadAt& file);

}  // namespace formats
