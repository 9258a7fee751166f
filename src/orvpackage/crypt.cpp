#include "orvpackage/crypt.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#include "foundation/hex.h"
#include "orvpackage/package_key_table.h"
#include "platform/status.h"

namespace {

constexpr std::uint64_t kMaxInput = std::numeric_limits<std::int32_t>::max() / 2;

// The key of all packages, for one use.
class CPackageKey {
public:
    CPackageKey() = default;
    ~CPackageKey() { platform::DestroyKey(m_key); }
    CPackageKey(const CPackageKey&) = delete;
    CPackageKey& operator=(const CPackageKey&) = delete;

    [[nodiscard]] int Derive(platform::CryptoProvider provider, std::uint32_t cipherId,
                             std::uint32_t hashId) {
        return platform::DeriveKey(provider, hashId, cipherId, kPackageKeyTable.data(),
                                   static_cast<std::uint32_t>(kPackageKeyTable.size()), m_key);
    }
    [[nodiscard]] platform::CryptoKey Get() const { return m_key; }

private:
    platform::CryptoKey m_key = nullptr;
};

}  // namespace

CCrypt::CCrypt(std::uint32_t /*cipherId*/, std::uint32_t /*hashId*/)
    : m_provider(platform::OpenCryptoProvider()),
      m_cipherId(platform::kCipherAes256),
      m_hashId(platform::kHashSha256) {}

CCrypt::~CCrypt() { platform::CloseCryptoProvider(m_provider); }

int CCrypt::Encrypt(const void* input, std::uint64_t size, void* output,
                    std::uint64_t& outputSize) const {
    if (m_provider == nullptr || m_cipherId == 0 || m_hashId == 0) {
        return ERROR_INVALID_HANDLE;
    }
    if (size > kMaxInput) {
        return ERROR_INVALID_PARAMETER;
    }
    CPackageKey key;
    if (const int status = key.Derive(m_provider, m_cipherId, m_hashId)) {
        return status;
    }
    auto encryptedSize = static_cast<std::uint32_t>(size);
    if (const int status = platform::GetEncryptedSize(key.Get(), encryptedSize)) {
        return status;
    }
    if (output == nullptr || outputSize < encryptedSize) {
        outputSize = encryptedSize;
        return ERROR_MORE_DATA;
    }
    std::memcpy(output, input, size);
    auto usedSize = static_cast<std::uint32_t>(size);
    const int status = platform::EncryptInPlace(key.Get(), output, usedSize, encryptedSize);
    outputSize = status == ERROR_SUCCESS ? usedSize : outputSize;
    return status;
}

CStrW EncryptPassword(const CStrW& password) {
    const CCrypt crypt(platform::kCipherAes256, platform::kHashSha256);
    const std::uint64_t size = (password.GetLength() + 1) * sizeof(char16_t);
    std::uint64_t outputSize = 0;
    // Fails for want of a buffer, and says how large one has to be.
    static_cast<void>(crypt.Encrypt(password.Get(), size, nullptr, outputSize));
    std::vector<std::byte> output(outputSize);
    if (output.empty() ||
        crypt.Encrypt(password.Get(), size, output.data(), outputSize) != ERROR_SUCCESS) {
        return {};
    }
    return BytesToHex(output.data(), outputSize);
}
