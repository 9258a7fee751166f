// tests/support/registry_tree.h - all that stands below a key of the registry, as lines of text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The lines of a tree, sorted: for a key its path with a backslash at the end, and for a value its
// path, a colon, the type and the data in hexadecimal digits. Paths are UTF-8 and start behind the
// key.
using RegistryTree = std::vector<std::string>;

[[nodiscard]] std::string KeyLine(std::string_view path);
[[nodiscard]] std::string ValueLine(std::string_view keyPath, std::string_view name,
                                    std::uint32_t type, std::string_view data);

// Reads what stands below a key of HKEY_LOCAL_MACHINE, each value by its name. What the registry
// says of a key and then does not keep fails the test.
[[nodiscard]] RegistryTree ReadRegistryTree(std::u16string_view key);
