#include "platform/crypto.h"

#include "platform/machine.h"
#include "platform/status.h"
#include "platform/windows/win.h"
// The header of the CryptoAPI needs the one above.
#include <wincrypt.h>

namespace platform {

namespace {

HCRYPTPROV ToHandle(CryptoProvider provider) { return reinterpret_cast<HCRYPTPROV>(provider); }
HCRYPTKEY ToHandle(CryptoKey key) { return reinterpret_cast<HCRYPTKEY>(key); }

// Windows XP, and what else goes by its number, has the provider under a name from before its time.
bool HasPrototype() {
    const SSystemVersion version = GetSystemVersion();
    return version.major == 5 &&
           (version.minor == 1 || (version.minor == 2 && version.isWorkstation));
}

class CHash {
public:
    CHash() = default;
    ~CHash() {
        if (m_handle != 0) {
            ::CryptDestroyHash(m_handle);
        }
    }
    CHash(const CHash&) = delete;
    CHash& operator=(const CHash&) = delete;

    HCRYPTHASH* Receive() { return &m_handle; }
    [[nodiscard]] HCRYPTHASH Get() const { return m_handle; }

private:
    HCRYPTHASH m_handle = 0;
};

}  // namespace

CryptoProvider OpenCryptoProvider() {
    const wchar_t* const name =
        HasPrototype() ? L"Microsoft Enhanced RSA and AES Cryptographic Provider (Prototype)"
                       : L"Microsoft Enhanced RSA and AES Cryptographic Provider";
    constexpr DWORD kFlags = CRYPT_VERIFYCONTEXT | CRYPT_SILENT;
    HCRYPTPROV provider = 0;
    if (!::CryptAcquireContextW(&provider, nullptr, name, PROV_RSA_AES, kFlags) &&
        ::GetLastError() == static_cast<DWORD>(NTE_BAD_KEYSET)) {
        // It leaves the handle at 0 when this fails too.
        ::CryptAcquireContextW(&provider, nullptr, name, PROV_RSA_AES, kFlags | CRYPT_NEWKEYSET);
    }
    return reinterpret_cast<CryptoProvider>(provider);
}

void CloseCryptoProvider(CryptoProvider provider) {
    if (provider != nullptr) {
        ::CryptReleaseContext(ToHandle(provider), 0);
    }
}

int DeriveKey(CryptoProvider provider, std::uint32_t hashId, std::uint32_t cipherId,
              const void* bytes, std::uint32_t size, CryptoKey& key) {
    CHash hash;
    int status =
        StatusFromCall(::CryptCreateHash(ToHandle(provider), hashId, 0, 0, hash.Receive()));
    if (status == ERROR_SUCCESS) {
        status =
            StatusFromCall(::CryptHashData(hash.Get(), static_cast<const BYTE*>(bytes), size, 0));
    }
    HCRYPTKEY handle = 0;
    if (status == ERROR_SUCCESS) {
        status =
            StatusFromCall(::CryptDeriveKey(ToHandle(provider), cipherId, hash.Get(), 0, &handle));
    }
    if (status == ERROR_SUCCESS) {
        key = reinterpret_cast<CryptoKey>(handle);
    }
    return status;
}

void DestroyKey(CryptoKey key) {
    if (key != nullptr) {
        ::CryptDestroyKey(ToHandle(key));
    }
}

int GetEncryptedSize(CryptoKey key, std::uint32_t& size) {
    DWORD encryptedSize = size;
    const int status =
        StatusFromCall(::CryptEncrypt(ToHandle(key), 0, TRUE, 0, nullptr, &encryptedSize, 0));
    if (status == ERROR_SUCCESS) {
        size = encryptedSize;
    }
    return status;
}

int EncryptInPlace(CryptoKey key, void* buffer, std::uint32_t& size, std::uint32_t capacity) {
    DWORD encryptedSize = size;
    const int status = StatusFromCall(::CryptEncrypt(
        ToHandle(key), 0, TRUE, 0, static_cast<BYTE*>(buffer), &encryptedSize, capacity));
    if (status == ERROR_SUCCESS) {
        size = encryptedSize;
    }
    return status;
}

}  // namespace platform
