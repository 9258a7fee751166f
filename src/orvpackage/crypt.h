// orvpackage/crypt.h - the protection of service passwords in a manifest.
#pragma once

#include <cstdint>

#include "foundation/wide_string.h"
#include "platform/crypto.h"

// Encrypts with AES-256 under the one key of all packages, which is made of kPackageKeyTable: an
// installer that holds the same table can decrypt. One thread at a time.
class CCrypt {
public:
    // The arguments are not looked at: the cipher is always AES-256, and the hash SHA-256.
    CCrypt(std::uint32_t cipherId, std::uint32_t hashId);
    virtual ~CCrypt();
    CCrypt(const CCrypt&) = delete;
    CCrypt& operator=(const CCrypt&) = delete;

    // Puts `size` encrypted bytes into `output`, which has room for `outputSize`. Returns 0,
    // ERROR_MORE_DATA when there is too little room or no buffer, ERROR_INVALID_HANDLE when the
    // system cannot encrypt, or the status of the failure. On 0 and ERROR_MORE_DATA `outputSize` is
    // the size that the bytes take.
    [[nodiscard]] int Encrypt(const void* input, std::uint64_t size, void* output,
                              std::uint64_t& outputSize) const;

private:
    platform::CryptoProvider m_provider;
    std::uint32_t m_cipherId;
    std::uint32_t m_hashId;
};

// The encrypted password in upper-case hexadecimal digits, its NUL included, so that an empty one
// gives a text too; empty on any failure.
[[nodiscard]] CStrW EncryptPassword(const CStrW& password);
