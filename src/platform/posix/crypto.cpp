#include "platform/crypto.h"

#include <nettle/aes.h>
#include <nettle/cbc.h>
#include <nettle/nettle-meta.h>
#include <nettle/sha2.h>

#include <array>
#include <cstring>
#include <memory>

#include "platform/status.h"

namespace platform {

namespace {

constexpr std::uint32_t kBlockSize = AES_BLOCK_SIZE;

}  // namespace

// The algorithms are functions of a library, which need no opening.
struct SCryptoProvider {};

struct SCryptoKey {
    std::array<std::uint8_t, AES256_KEY_SIZE> bytes{};
};

CryptoProvider OpenCryptoProvider() { return new SCryptoProvider; }

void CloseCryptoProvider(CryptoProvider provider) { delete provider; }

int DeriveKey(CryptoProvider /*provider*/, std::uint32_t hashId, std::uint32_t cipherId,
              const void* bytes, std::uint32_t size, CryptoKey& key) {
    if (hashId != kHashSha256 || cipherId != kCipherAes256) {
        return SetLastError(ERROR_INVALID_PARAMETER);
    }
    static_assert(AES256_KEY_SIZE == SHA256_DIGEST_SIZE);
    auto derived = std::make_unique<SCryptoKey>();
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, size, static_cast<const std::uint8_t*>(bytes));
    sha256_digest(&context, derived->bytes.size(), derived->bytes.data());
    key = derived.release();
    return ERROR_SUCCESS;
}

void DestroyKey(CryptoKey key) { delete key; }

// The padding has at least one byte, so a whole number of blocks gets one more.
int GetEncryptedSize(CryptoKey /*key*/, std::uint32_t& size) {
    size = (size / kBlockSize + 1) * kBlockSize;
    return ERROR_SUCCESS;
}

int EncryptInPlace(CryptoKey key, void* buffer, std::uint32_t& size, std::uint32_t capacity) {
    std::uint32_t encryptedSize = size;
    if (GetEncryptedSize(key, encryptedSize) != ERROR_SUCCESS || capacity < encryptedSize) {
        return SetLastError(ERROR_MORE_DATA);
    }
    // Each byte of the padding is the number of its bytes.
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    const std::uint32_t padding = encryptedSize - size;
    std::memset(bytes + size, static_cast<int>(padding), padding);
    // CBC with a vector of zeros, as the CryptoAPI has it unless told otherwise: the same input
    // must give the same bytes on both systems. Input and output may be the same bytes.
    aes256_ctx cipher;
    aes256_set_encrypt_key(&cipher, key->bytes.data());
    std::array<std::uint8_t, kBlockSize> vector{};
    cbc_encrypt(&cipher, nettle_aes256.encrypt, kBlockSize, vector.data(), encryptedSize, bytes,
                bytes);
    size = encryptedSize;
    return ERROR_SUCCESS;
}

struct CSha256::SState {
    SState() { Restart(); }

    void Restart() {
        sha256_init(&context);
        isFinished = false;
    }

    sha256_ctx context{};
    bool isFinished = false;  // takes no more bytes
};

CSha256::CSha256() : m_state(std::make_unique<SState>()) {}
CSha256::~CSha256() = default;

int CSha256::Add(std::span<const std::byte> bytes) {
    if (m_state->isFinished) {
        return SetLastError(ERROR_GEN_FAILURE);
    }
    sha256_update(&m_state->context, bytes.size(),
                  reinterpret_cast<const std::uint8_t*>(bytes.data()));
    return ERROR_SUCCESS;
}

int CSha256::Finish(Sha256& hash) {
    if (m_state->isFinished) {
        return SetLastError(ERROR_GEN_FAILURE);
    }
    sha256_digest(&m_state->context, hash.size(), reinterpret_cast<std::uint8_t*>(hash.data()));
    m_state->isFinished = true;
    return ERROR_SUCCESS;
}

void CSha256::Restart() { m_state->Restart(); }

}  // namespace platform
