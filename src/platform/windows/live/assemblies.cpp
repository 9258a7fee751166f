#include "platform/assemblies.h"

#include "platform/windows/win.h"
// The headers of COM need the one above.
#include <cor.h>
#include <fusion.h>
#include <objbase.h>

#include <array>
#include <cstddef>

#include "platform/com.h"
#include "platform/windows/com_pointer.h"

namespace platform {

namespace {

constexpr GUID kMetaDataDispenserClass = {
    0xE5CB7A31, 0x7512, 0x11D2, {0x89, 0xCE, 0x00, 0x80, 0xC7, 0x92, 0xE5, 0xD8}};
constexpr GUID kMetaDataDispenser = {
    0x809C652E, 0x7396, 0x11D2, {0x97, 0x71, 0x00, 0xA0, 0xC9, 0xB4, 0xD5, 0x0C}};
constexpr GUID kMetaDataAssemblyImport = {
    0xEE62470B, 0xE94B, 0x424E, {0x9B, 0x7C, 0x2F, 0x00, 0xC9, 0x24, 0x9F, 0x93}};

using CreateCacheFunction = HRESULT(WINAPI*)(IAssemblyCache** cache, DWORD reserved);

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

}  // namespace

// Released from the last to the first: the cache ahead of the library that its code is in, and all
// objects ahead of COM.
struct CAssemblyCache::SState {
    CApartment apartment;
    CComPointer<IMetaDataDispenser> dispenser;
    CLibrary sxs{L"sxs.dll"};
    CComPointer<IAssemblyCache> cache;
};

CAssemblyCache::CAssemblyCache() = default;

CAssemblyCache::~CAssemblyCache() = default;

bool CAssemblyCache::Open() {
    Close();
    auto state = std::make_unique<SState>();
    const auto createCache = state->sxs.Find<CreateCacheFunction>("CreateAssemblyCache");
    if (createCache == nullptr || FAILED(createCache(state->cache.Receive(), 0)) || !state->cache) {
        return false;
    }
    // Without it no file is a managed assembly.
    static_cast<void>(::CoCreateInstance(kMetaDataDispenserClass, nullptr, CLSCTX_INPROC_SERVER,
                                         kMetaDataDispenser, state->dispenser.ReceiveAny()));
    m_state = std::move(state);
    return true;
}

void CAssemblyCache::Close() { m_state.reset(); }

bool CAssemblyCache::FindAssembly(std::u16string_view identity, std::u16string& place) const {
    if (m_state == nullptr) {
        return false;
    }
    std::array<char16_t, MAX_PATH> path{};
    ASSEMBLY_INFO info{};
    static_assert(sizeof(info) == 32);
    info.cbAssemblyInfo = sizeof(info);
    info.pszCurrentAssemblyPathBuf = ToWide(path.data());
    info.cchBuf = static_cast<ULONG>(path.size());
    const std::u16string name(identity);
    // An assembly that the cache does not know is S_FALSE.
    if (m_state->cache->QueryAssemblyInfo(0, ToWide(name.c_str()), &info) != S_OK) {
        return false;
    }
    path.back() = u'\0';
    place = path.data();
    return true;
}

bool CAssemblyCache::IsManagedAssembly(const char16_t* name) const {
    if (m_state == nullptr || !m_state->dispenser) {
        return false;
    }
    CComPointer<IUnknown> scope;
    if (FAILED(m_state->dispenser->OpenScope(ToWide(name), 0, kMetaDataAssemblyImport,
                                             scope.Receive())) ||
        !scope) {
        return false;
    }
    mdAssembly assembly = 0;
    return SUCCEEDED(
        static_cast<IMetaDataAssemblyImport*>(scope.Get())->GetAssemblyFromScope(&assembly));
}

}  // namespace platform
