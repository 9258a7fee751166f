#include "platform/assemblies.h"

#include "platform/com.h"
#include "platform/files.h"
#include "support/test.h"
#include "support/windows/import.h"
// Behind windows.h.
#include <cor.h>
#include <fusion.h>
#include <objbase.h>

namespace {

const std::u16string kStore = uR"(C:\Windows\WinSxS)";
const std::u16string kControls = u"amd64_microsoft.windows.common-controls_6595b64144ccf1df_";

std::u16string IdentityOf(std::u16string_view version) {
    return uR"(Microsoft.Windows.Common-Controls,type="win32",version=")" +
           std::u16string(version) +
           uR"(",publicKeyToken="6595b64144ccf1df",processorArchitecture="amd64")";
}

// Every Windows has this assembly, in a version of its own.
TEST(AssemblyCacheTest, FindsAnAssemblyOfTheStoreByItsIdentity) {
    platform::CFindHandle search;
    platform::SFindData found;
    ASSERT_EQ(search.First((kStore + u'\\' + kControls + u"6*").c_str(), found), ERROR_SUCCESS);
    const std::u16string_view rest = std::u16string_view(found.name).substr(kControls.size());
    const std::u16string version(rest.substr(0, rest.find(u'_')));
    platform::CAssemblyCache cache;
    std::u16string place = u"untouched";
    EXPECT_FALSE(cache.FindAssembly(IdentityOf(version), place));
    ASSERT_TRUE(cache.Open());
    EXPECT_FALSE(cache.FindAssembly(uR"(No.Such.Assembly,version="1.0")", place));
    EXPECT_FALSE(cache.FindAssembly(u"", place));
    EXPECT_EQ(place, u"untouched");
    ASSERT_TRUE(cache.FindAssembly(IdentityOf(version), place));
    EXPECT_NE(place.find(found.name), std::u16string::npos) << Utf8(place);
}

TEST(AssemblyCacheTest, AModuleWithoutMetadataIsNoManagedAssembly) {
    platform::CAssemblyCache cache;
    ASSERT_TRUE(cache.Open());
    EXPECT_FALSE(cache.IsManagedAssembly(uR"(C:\Windows\System32\kernel32.dll)"));
    EXPECT_FALSE(cache.IsManagedAssembly(uR"(C:\no such file)"));
}

bool HasCom() {
    ULONG_PTR token = 0;
    return CoGetContextToken(&token) != CO_E_NOTINITIALIZED;
}

// Which kinds of call it gets, and whether the thread had COM then.
using Calls = std::vector<std::pair<std::string, bool>>;

// An object that nobody counts the users of.
template <typename TInterface>
class CFakeObject : public TInterface {
public:
    explicit CFakeObject(Calls& calls) : m_calls(calls) {}
    virtual ~CFakeObject() = default;

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override {
        Note("release");
        return 1;
    }

protected:
    void Note(const char* call) { m_calls.emplace_back(call, HasCom()); }

private:
    Calls& m_calls;
};

class CFakeDispenser : public CFakeObject<IMetaDataDispenser> {
public:
    using CFakeObject::CFakeObject;

    STDMETHODIMP DefineScope(REFCLSID, DWORD, REFIID, IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP OpenScope(LPCWSTR, DWORD, REFIID, IUnknown**) override {
        Note("open");
        return E_FAIL;
    }
    STDMETHODIMP OpenScopeOnMemory(LPCVOID, ULONG, DWORD, REFIID, IUnknown**) override {
        return E_NOTIMPL;
    }
};

// Opens the cache and asks it, on a thread that is in the apartment that its caller has chosen.
Calls CallsOfACache() {
    Calls calls;
    CFakeDispenser dispenser(calls);
    const auto create = ReplaceImport<decltype(CoCreateInstance)>(
        "CoCreateInstance", [&](REFCLSID, LPUNKNOWN, DWORD, REFIID, void** object) -> HRESULT {
            calls.emplace_back("create", HasCom());
            *object = HasCom() ? &dispenser : nullptr;
            return HasCom() ? S_OK : CO_E_NOTINITIALIZED;
        });
    platform::CAssemblyCache cache;
    EXPECT_TRUE(cache.Open());
    EXPECT_FALSE(cache.IsManagedAssembly(uR"(C:\a.dll)"));
    cache.Close();
    return calls;
}

TEST(AssemblyCacheTest, BringsComToAThreadWithoutItAndTakesItAway) {
    const Calls expected = {{"create", true}, {"open", true}, {"release", true}};
    ASSERT_FALSE(HasCom());
    EXPECT_EQ(CallsOfACache(), expected);
    EXPECT_FALSE(HasCom());
    for (const COINIT kind : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
        SCOPED_TRACE(kind);
        ASSERT_EQ(CoInitializeEx(nullptr, kind), S_OK);
        EXPECT_EQ(CallsOfACache(), expected);
        platform::EnterApartment();
        platform::LeaveApartment();
        EXPECT_TRUE(HasCom());
        CoUninitialize();
        EXPECT_FALSE(HasCom());
    }
}

class CFakeCache : public CFakeObject<IAssemblyCache> {
public:
    using CFakeObject::CFakeObject;

    HRESULT answer = S_OK;

    STDMETHODIMP UninstallAssembly(DWORD, LPCWSTR, LPCFUSION_INSTALL_REFERENCE, ULONG*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP QueryAssemblyInfo(DWORD, LPCWSTR, ASSEMBLY_INFO* info) override {
        EXPECT_EQ(info->cchBuf, ULONG{MAX_PATH});
        info->pszCurrentAssemblyPathBuf[0] = L'p';
        return answer;
    }
    STDMETHODIMP CreateAssemblyCacheItem(DWORD, PVOID, IAssemblyCacheItem**, LPCWSTR) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateAssemblyScavenger(IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP InstallAssembly(DWORD, LPCWSTR, LPCFUSION_INSTALL_REFERENCE) override {
        return E_NOTIMPL;
    }
};

CFakeCache* s_fakeCache = nullptr;

HRESULT WINAPI CreateFakeCache(IAssemblyCache** cache, DWORD /*reserved*/) {
    *cache = s_fakeCache;
    return S_OK;
}

// The system has no failure for an assembly that it does not know, but another success.
TEST(AssemblyCacheTest, FindsNothingUnlessTheSystemHasFoundIt) {
    Calls calls;
    CFakeCache fake(calls);
    s_fakeCache = &fake;
    const auto find =
        ReplaceImport<decltype(GetProcAddress)>("GetProcAddress", [](HMODULE library, LPCSTR name) {
            return std::string_view(name) == "CreateAssemblyCache"
                       ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&CreateFakeCache))
                       : GetProcAddress(library, name);
        });
    platform::CAssemblyCache cache;
    ASSERT_TRUE(cache.Open());
    std::u16string place;
    EXPECT_TRUE(cache.FindAssembly(IdentityOf(u"1.0"), place));
    EXPECT_EQ(place, u"p");
    for (const HRESULT answer : {HRESULT{S_FALSE}, HRESULT{E_FAIL}}) {
        fake.answer = answer;
        EXPECT_FALSE(cache.FindAssembly(IdentityOf(u"1.0"), place));
    }
}

}  // namespace
