// platform/posix/managed_assembly.h - tells managed assemblies by their headers.
#pragma once

#include "platform/posix/file_descriptor.h"

namespace platform {

// Whether an open file is an executable image with metadata that describe an assembly. Reads a few
// headers of it, whatever its size, and takes any bytes.
[[nodiscard]] bool HoldsManagedAssembly(const CFileDescriptor& file);

}  // namespace platform
