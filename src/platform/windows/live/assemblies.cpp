#include "platform/win.h"
// The headers of COM need the one above.
#include <cor.h>
#include <fusion.h>
#include <objbase.h>

#include <array>
#include <cstddef>

#include "platform/com.h"
#include "platform/windows/com_pointer.h"
#include "platform/windows/live/answers.h"

namespace platform {

namespace {

constexpr GUID kMetaDataDispenserClass = {
    0xE5CB7A31, 0x7512, 0x11D2, {0x89, 0xCE, 0x00, 0x80, 0xC7, 0x92, 0xE5, 0xD8}};
constexpr GUID kMetaDataDispenser = {
    0x809C652E, 0x7396, 0x11D2, {0x97, 0x71, 0x00, 0xA0, 0xC9, 0xB4, 0xD5, 0x0C}};
constexpr GUID kMetaDataAssemblyImport = {
    0xEE62470B, 0xE94B, 0x424E, {0x9B, 0x7C, 0x2F, 0x00, 0xC9, 0x24, 0x9F, 0x93}};

using CreateCacheFunction = HRESULT(WINAPI*)(IAssemblyCache** cache, DWORD reserved);

// Owns a loaded library, or none. Functions of it must not be called afterwards.
class CLibrary {
public:
    explicit CLibrary(const wchar_t* name) : m_module(::LoadLibraryW(name)) {}
    ~CLibrary() {
        if (m_module != nullptr) {
            ::FreeLibrary(m_module);
        }
    }
    CLibrary(const CLibrary&) = delete;
    CLibrary& operator=(const CLibrary&) = delete;

    // Null when there is no library, or no such function in it.
    template <typename TFunction>
    [[nodiscard]] TFunction Find(const char* function) const {
        const FARPROC found = m_module != nullptr ? ::GetProcAddress(m_module, function) : nullptr;
        return reinterpret_cast<TFunction>(reinterpret_cast<void*>(found));
    }

private:
    HMODULE m_module;
};

// The caller's thread may be without COM.
class CApartment {
public:
    CApartment() { EnterApartment(); }
    ~CApartment() { LeaveApartment(); }
    CApartment(const CApartment&) = delete;
    CApartment& operator=(const CApartment&) = delete;
};

class CLiveStore final : public CAssemblyStore {
public:
    // False when the system has none.
    [[nodiscard]] bool Open();
    bool FindAssembly(std::u16string_view identity, std::u16string& place) const override;
    bool IsManagedAssembly(const char16_t* name) const override;

private:
    // INVARIANT: the order of these members. They are destroyed from the last to the first: the
    // cache before the library that has its code, and all objects before COM ends.
    CApartment m_apartment;
    CComPointer<IMetaDataDispenser> m_dispenser;
    CLibrary m_sxs{L"sxs.dll"};
    CComPointer<IAssemblyCache> m_cache;
};

bool CLiveStore::Open() {
    const auto createCache = m_sxs.Find<CreateCacheFunction>("CreateAssemblyCache");
    if (createCache == nullptr || FAILED(createCache(m_cache.Receive(), 0)) || !m_cache) {
        return false;
    }
    // Without it no file is a managed assembly.
    static_cast<void>(::CoCreateInstance(kMetaDataDispenserClass, nullptr, CLSCTX_INPROC_SERVER,
                                         kMetaDataDispenser, m_dispenser.ReceiveAny()));
    return true;
}

bool CLiveStore::FindAssembly(std::u16string_view identity, std::u16string& place) const {
    std::array<char16_t, MAX_PATH> path{};
    ASSEMBLY_INFO info{};
    static_assert(sizeof(info) == 32);
    info.cbAssemblyInfo = sizeof(info);
    info.pszCurrentAssemblyPathBuf = ToWide(path.data());
    info.cchBuf = static_cast<ULONG>(path.size());
    const std::u16string name(identity);
    // For an assembly that the cache does not have, the result is S_FALSE, which is no failure.
    if (m_cache->QueryAssemblyInfo(0, ToWide(name.c_str()), &info) != S_OK) {
        return false;
    }
    // A path that fills the buffer may have no NUL.
    path.back() = u'\0';
    place = path.data();
    return true;
}

bool CLiveStore::IsManagedAssembly(const char16_t* name) const {
    if (!m_dispenser) {
        return false;
    }
    CComPointer<IUnknown> scope;
    // A file without metadata cannot be opened.
    if (FAILED(m_dispenser->OpenScope(ToWide(name), 0, kMetaDataAssemblyImport, scope.Receive())) ||
        !scope) {
        return false;
    }
    mdAssembly assembly = 0;
    return SUCCEEDED(
        static_cast<IMetaDataAssemblyImport*>(scope.Get())->GetAssemblyFromScope(&assembly));
}

}  // namespace

std::unique_ptr<CAssemblyStore> OpenLiveStore() {
    auto store = std::make_unique<CLiveStore>();
    return store->Open() ? std::move(store) : nullptr;
}

}  // namespace platform
