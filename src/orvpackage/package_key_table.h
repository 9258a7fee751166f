// orvpackage/package_key_table.h - the bytes that the key of all packages is made of.
#pragma once

#include <array>
#include <cstdint>

// Whoever decrypts a password of a manifest holds the same table. It hides nothing but what its
// rule says: the first 32 bytes are the SHA-256 of the ASCII text "OrvCasConv package key table",
// and each further 32 bytes are the SHA-256 of the 32 bytes before them.
extern const std::array<std::uint8_t, 512> kPackageKeyTable;
