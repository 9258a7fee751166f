// platform/crypto.h - encryption as the system's AES provider does it.
//
// Results are 0 or a status of the system; on failure out parameters are untouched. Nothing throws
// but std::bad_alloc. An object is used by one thread at a time.
#pragma once

#include <cstdint>

namespace platform {

struct SCryptoProvider;
struct SCryptoKey;
using CryptoProvider = SCryptoProvider*;
using CryptoKey = SCryptoKey*;

// The numbers by which Windows knows them; no other algorithms are offered.
constexpr std::uint32_t kCipherAes256 = 0x6610;
constexpr std::uint32_t kHashSha256 = 0x800C;

// Opens the system's provider of both, without any stored keys; null when it cannot be had. The
// caller closes it.
[[nodiscard]] CryptoProvider OpenCryptoProvider();
void CloseCryptoProvider(CryptoProvider provider);

// Makes a key of other bytes: for AES-256 and SHA-256 the key is the hash of them. The caller
// destroys it, before the provider is closed.
[[nodiscard]] int DeriveKey(CryptoProvider provider, std::uint32_t hashId, std::uint32_t cipherId,
                            const void* bytes, std::uint32_t size, CryptoKey& key);
void DestroyKey(CryptoKey key);

// Turns the number of bytes to encrypt into the number that they become: the next whole block, for
// the padding takes one byte at least.
[[nodiscard]] int GetEncryptedSize(CryptoKey key, std::uint32_t& size);

// Encrypts `size` bytes as one whole message: in CBC mode from a zero initialisation vector, with
// PKCS padding. `buffer` has room for `capacity` bytes, enough for the encrypted size, which `size`
// becomes. After a failure the buffer holds anything.
[[nodiscard]] int EncryptInPlace(CryptoKey key, void* buffer, std::uint32_t& size,
                                 std::uint32_t capacity);

}  // namespace platform
