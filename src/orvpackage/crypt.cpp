#include "orvpackage/crypt.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "foundation/hex.h"
#include "orvpackage/package_key_table.h"
#include "platform/status.h"

namespace {

// Bytes. Far below what a 32-bit size holds, so that no size below can overflow by its padding.
constexpr std::uint64_t kMaxInput = std::numeric_limits<std::int32_t>::max() / 2;

struct SKeyEnd {
    void operator()(platform::CryptoKey key) const { platform::DestroyKey(key); }
};
using KeyOwner = std::unique_ptr<std::remove_pointer_t<platform::CryptoKey>, SKeyEnd>;

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
    // The key of all packages, for this use only.
    platform::CryptoKey derived = nullptr;
    if (const int status =
            platform::DeriveKey(m_provider, m_hashId, m_cipherId, kPackageKeyTable.data(),
                                static_cast<std::uint32_t>(kPackageKeyTable.size()), derived)) {
        return status;
    }
    const KeyOwner key(derived);
    auto encryptedSize = static_cast<std::uint32_t>(size);
    if (const int status = platform::GetEncryptedSize(key.get(), encryptedSize)) {
        return status;
    }
    // Checked before anything is written, so that no part of a clear text is left in the output.
    if (output == nullptr || outputSize < encryptedSize) {
        outputSize = encryptedSize;
        return ERROR_MORE_DATA;
    }
    // Encrypted in place, which takes no other buffer.
    std::memcpy(output, input, size);
    auto usedSize = static_cast<std::uint32_t>(size);
    const int status = platform::EncryptInPlace(key.get(), output, usedSize, encryptedSize);
    outputSize = status == ERROR_SUCCESS ? usedSize : outputSize;
    return status;
}

CStrW EncryptPassword(const CStrW& password) {
    const CCrypt crypt(platform::kCipherAes256, platform::kHashSha256);
    const std::uint64_t size = (password.GetLength() + 1) * sizeof(char16_t);
    std::uint64_t outputSize = 0;
    // Without a buffer this fails, and gives the size that is needed.
    static_cast<void>(crypt.Encrypt(password.Get(), size, nullptr, outputSize));
    std::vector<std::byte> output(outputSize);
    // The size stays 0 when the call above failed for any other reason.
    if (output.empty() ||
        crypt.Encrypt(password.Get(), size, output.data(), outputSize) != ERROR_SUCCESS) {
        return {};
    }
    return BytesToHex(output.data(), outputSize);
}
