// platform/crypto.h - encryption by the system's AES provider, and hashes of files.
//
// Results are 0 or a status of the system; on failure out parameters are unchanged. Nothing throws
// except std::bad_alloc. An object is used by one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace platform {

struct SCryptoProvider;
struct SCryptoKey;
using CryptoProvider = SCryptoProvider*;
using CryptoKey = SCryptoKey*;

// The Windows numbers of the two algorithms; there are no others.
constexpr std::uint32_t kCipherAes256 = 0x6610;
constexpr std::uint32_t kHashSha256 = 0x800C;

// Opens the system's provider of both, without any stored keys. Null when there is none. The caller
// closes it.
[[nodiscard]] CryptoProvider OpenCryptoProvider();
void CloseCryptoProvider(CryptoProvider provider);

// Derives a key from bytes: the AES-256 key is their SHA-256 hash. The caller destroys the key,
// before it closes the provider.
[[nodiscard]] int DeriveKey(CryptoProvider provider, std::uint32_t hashId, std::uint32_t cipherId,
                            const void* bytes, std::uint32_t size, CryptoKey& key);
void DestroyKey(CryptoKey key);

// Replaces a number of bytes by the number after encryption: the next multiple of the block size
// that is greater, because the padding has at least one byte.
[[nodiscard]] int GetEncryptedSize(CryptoKey key, std::uint32_t& size);

// Encrypts `size` bytes as one whole message, in CBC mode with a zero initialisation vector and
// PKCS padding. `buffer` has room for `capacity` bytes, which must be enough for the encrypted
// size; `size` becomes that size. After a failure the content of the buffer is undefined.
[[nodiscard]] int EncryptInPlace(CryptoKey key, void* buffer, std::uint32_t& size,
                                 std::uint32_t capacity);

using Sha256 = std::array<std::byte, 32>;

// The SHA-256 hash of bytes that come piece by piece.
class CSha256 {
public:
    CSha256();
    ~CSha256();
    CSha256(const CSha256&) = delete;
    CSha256& operator=(const CSha256&) = delete;

    // After a failure every further call fails too.
    [[nodiscard]] int Add(std::span<const std::byte> bytes);
    // Gives the hash of all bytes that were added. Nothing can be added any more.
    [[nodiscard]] int Finish(Sha256& hash);
    // Begins another hash, at any time; cheaper than another object. Add and Finish tell a failure.
    void Restart();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
