#include "platform/crypto.h"

#include <algorithm>

#include "platform/machine.h"
#include "platform/status.h"
#include "platform/win.h"
// The header of the CryptoAPI needs the one above.
#include <wincrypt.h>

namespace platform {

namespace {

// The header's handles are pointers to types that are not defined here. Those of Windows are
// numbers of the same size.
HCRYPTPROV ToHandle(CryptoProvider provider) { return reinterpret_cast<HCRYPTPROV>(provider); }
HCRYPTKEY ToHandle(CryptoKey key) { return reinterpret_cast<HCRYPTKEY>(key); }

// Windows XP, in all versions with its number, has the provider under an earlier name.
bool HasPrototype() {
    const SSystemVersion version = GetSystemVersion();
    return version.major == 5 &&
           (version.minor == 1 || (version.minor == 2 && version.isWorkstation));
}

// Owns a hash, or none.
class CHash {
public:
    CHash() = default;
    ~CHash() { Close(); }
    CHash(const CHash&) = delete;
    CHash& operator=(const CHash&) = delete;

    HCRYPTHASH* Receive() { return &m_handle; }
    void Close() {
        if (m_handle != 0) {
            ::CryptDestroyHash(m_handle);
            m_handle = 0;
        }
    }
    [[nodiscard]] HCRYPTHASH Get() const { return m_handle; }

private:
    HCRYPTHASH m_handle = 0;
};

}  // namespace

CryptoProvider OpenCryptoProvider() {
    const wchar_t* const name =
        HasPrototype() ? L"Microsoft Enhanced RSA and AES Cryptographic Provider (Prototype)"
                       : L"Microsoft Enhanced RSA and AES Cryptographic Provider";
    // No stored keys are needed, so any user can do this, and no window may ask anything.
    constexpr DWORD kFlags = CRYPT_VERIFYCONTEXT | CRYPT_SILENT;
    HCRYPTPROV provider = 0;
    if (!::CryptAcquireContextW(&provider, nullptr, name, PROV_RSA_AES, kFlags) &&
        ::GetLastError() == static_cast<DWORD>(NTE_BAD_KEYSET)) {
        // If this fails too, the handle stays 0, which callers see as no provider.
        ::CryptAcquireContextW(&provider, nullptr, name, PROV_RSA_AES, kFlags | CRYPT_NEWKEYSET);
    }
    return reinterpret_cast<CryptoProvider>(provider);
}

void CloseCryptoProvider(CryptoProvider provider) {
    if (provider != nullptr) {
        ::CryptReleaseContext(ToHandle(provider), 0);
    }
}

// Each step needs the one before it, so the first failure is the result. The hash is destroyed at
// the end, because the key does not need it any more.
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

// Without a buffer CryptEncrypt only computes the size. TRUE means the last block, with padding.
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

struct CSha256::SState {
    SState() : provider(OpenCryptoProvider()) { Start(); }
    // Without a provider this fails too, and Add and Finish give its status.
    void Start() {
        hash.Close();
        status = StatusFromCall(
            ::CryptCreateHash(ToHandle(provider), kHashSha256, 0, 0, hash.Receive()));
    }
    // The hash goes before its provider.
    ~SState() {
        hash.Close();
        CloseCryptoProvider(provider);
    }
    SState(const SState&) = delete;
    SState& operator=(const SState&) = delete;

    CryptoProvider provider;
    CHash hash;
    int status = ERROR_SUCCESS;
};

CSha256::CSha256() : m_state(std::make_unique<SState>()) {}
CSha256::~CSha256() = default;

int CSha256::Add(std::span<const std::byte> bytes) {
    SState& state = *m_state;
    constexpr std::size_t kMaxPiece = std::size_t{1} << 30;  // the call takes 32 bits
    while (state.status == ERROR_SUCCESS && !bytes.empty()) {
        const std::span<const std::byte> piece = bytes.first(std::min(bytes.size(), kMaxPiece));
        // A failure stays in the state, because a hash with a gap must not be given.
        state.status = StatusFromCall(::CryptHashData(state.hash.Get(),
                                                      reinterpret_cast<const BYTE*>(piece.data()),
                                                      static_cast<DWORD>(piece.size()), 0));
        bytes = bytes.subspan(piece.size());
    }
    return state.status;
}

int CSha256::Finish(Sha256& hash) {
    SState& state = *m_state;
    Sha256 result{};
    DWORD size = sizeof result;
    if (state.status == ERROR_SUCCESS) {
        state.status = StatusFromCall(::CryptGetHashParam(
            state.hash.Get(), HP_HASHVAL, reinterpret_cast<BYTE*>(result.data()), &size, 0));
    }
    if (state.status != ERROR_SUCCESS) {
        return state.status;
    }
    state.status = ERROR_INVALID_HANDLE;  // of whatever comes now
    hash = result;
    return ERROR_SUCCESS;
}

void CSha256::Restart() { m_state->Start(); }

}  // namespace platform
