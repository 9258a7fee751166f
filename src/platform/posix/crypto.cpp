#include "platform/crypto.h"

#include <openssl/evp.h>

#include <array>
#include <memory>

#include "platform/status.h"

namespace platform {

namespace {

// AES in CBC mode with a vector of zeros, as the CryptoAPI has it unless told otherwise: the same
// input must give the same bytes on both systems.
constexpr std::uint32_t kBlockSize = 16;
constexpr std::array<unsigned char, kBlockSize> kZeroVector{};

struct SContextFree {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, SContextFree>;

}  // namespace

// The algorithms come from the library's default provider, which needs no opening.
struct SCryptoProvider {};

struct SCryptoKey {
    std::array<unsigned char, 32> bytes{};
};

CryptoProvider OpenCryptoProvider() { return new SCryptoProvider; }

void CloseCryptoProvider(CryptoProvider provider) { delete provider; }

int DeriveKey(CryptoProvider /*provider*/, std::uint32_t hashId, std::uint32_t cipherId,
              const void* bytes, std::uint32_t size, CryptoKey& key) {
    if (hashId != kHashSha256 || cipherId != kCipherAes256) {
        return SetLastError(ERROR_INVALID_PARAMETER);
    }
    auto derived = std::make_unique<SCryptoKey>();
    if (EVP_Digest(bytes, size, derived->bytes.data(), nullptr, EVP_sha256(), nullptr) != 1) {
        return SetLastError(ERROR_GEN_FAILURE);
    }
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
    const CipherContext context(EVP_CIPHER_CTX_new());
    auto* const bytes = static_cast<unsigned char*>(buffer);
    int written = 0;
    int padded = 0;
    if (!context ||
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key->bytes.data(),
                           kZeroVector.data()) != 1 ||
        // Input and output may be the same bytes. The padded block comes after those that are
        // written.
        EVP_EncryptUpdate(context.get(), bytes, &written, bytes, static_cast<int>(size)) != 1 ||
        EVP_EncryptFinal_ex(context.get(), bytes + written, &padded) != 1) {
        return SetLastError(ERROR_GEN_FAILURE);
    }
    size = static_cast<std::uint32_t>(written + padded);
    return ERROR_SUCCESS;
}

struct CSha256::SState {
    struct SFree {
        void operator()(EVP_MD_CTX* freed) const { EVP_MD_CTX_free(freed); }
    };

    // Without an algorithm the context keeps the one that it has, which is not looked up again.
    void Restart() {
        isGood = hasAlgorithm && EVP_DigestInit_ex(context.get(), nullptr, nullptr) == 1;
    }

    std::unique_ptr<EVP_MD_CTX, SFree> context{EVP_MD_CTX_new()};
    bool hasAlgorithm =
        context != nullptr && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
    bool isGood = hasAlgorithm;
};

CSha256::CSha256() : m_state(std::make_unique<SState>()) {}
CSha256::~CSha256() = default;

int CSha256::Add(std::span<const std::byte> bytes) {
    SState& state = *m_state;
    // A failure stays, because a hash with a gap must not be given.
    state.isGood =
        state.isGood && EVP_DigestUpdate(state.context.get(), bytes.data(), bytes.size()) == 1;
    return state.isGood ? ERROR_SUCCESS : SetLastError(ERROR_GEN_FAILURE);
}

int CSha256::Finish(Sha256& hash) {
    SState& state = *m_state;
    Sha256 result{};
    if (!state.isGood ||
        EVP_DigestFinal_ex(state.context.get(), reinterpret_cast<unsigned char*>(result.data()),
                           nullptr) != 1) {
        return SetLastError(ERROR_GEN_FAILURE);
    }
    // A finished context takes no more bytes, so every later call fails.
    state.isGood = false;
    hash = result;
    return ERROR_SUCCESS;
}

void CSha256::Restart() { m_state->Restart(); }

}  // namespace platform
