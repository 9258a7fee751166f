#include "traversal/cas_registry_reader.h"

#include <memory>

#include "foundation/reg_access.h"
#include "platform/registry.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "traversal/cas_registry_traverse_manager.h"
#include "traversal/mounted_keys.h"

namespace {

constexpr const char16_t* kMountName = CMountedKeys::kMount.data();  // a literal
constexpr const char16_t* kBackup = u"SeBackupPrivilege";
constexpr const char16_t* kRestore = u"SeRestorePrivilege";

// The machine's root key, which hives are loaded into.
class CMachineKey {
public:
    CMachineKey() = default;
    ~CMachineKey() { platform::CloseKey(m_key); }
    CMachineKey(const CMachineKey&) = delete;
    CMachineKey& operator=(const CMachineKey&) = delete;

    [[nodiscard]] int Mount(const CStrW& hiveFile) {
        const int status = platform::ConnectMachine(m_key);
        return status != ERROR_SUCCESS ? status
                                       : platform::LoadHive(m_key, kMountName, hiveFile.Get());
    }
    [[nodiscard]] int Unmount() { return platform::UnloadHive(m_key, kMountName); }

private:
    platform::KeyHandle m_key = nullptr;
};

}  // namespace

CCasRegistryReader::CCasRegistryReader(CAssemblyProcessor& assemblyProcessor,
                                       CServiceProcessor& serviceProcessor,
                                       CProgressEvent& parentProgress)
    : m_assemblyProcessor(assemblyProcessor),
      m_serviceProcessor(serviceProcessor),
      m_parentProgress(parentProgress) {}

int CCasRegistryReader::Read(COrvPackage& package, const CFilePathW& hiveFile, bool is64Bit) {
    // Both are tried, whatever the first gives: what could be turned on stays on for the host.
    const int backup = EnablePrivilege(kBackup);
    const int restore = EnablePrivilege(kRestore);
    // A signed number on purpose: no stage takes it, so that the host learns of it.
    if (backup == -1 || restore == -1) {
        throw int{ERROR_PRIVILEGE_NOT_HELD};
    }
    const int status = ReadMounted(package, hiveFile, is64Bit);
    // Off in the end, also when they were on before; whether that works changes nothing any more.
    static_cast<void>(DisablePrivilege(kRestore));
    static_cast<void>(DisablePrivilege(kBackup));
    return status;
}

int CCasRegistryReader::ReadMounted(COrvPackage& package, const CFilePathW& hiveFile,
                                    bool is64Bit) {
    CMachineKey machine;
    int status = machine.Mount(hiveFile.ToString());
    if (status != ERROR_SUCCESS) {
        GetLogger().LogStatus(status, ReadFailedText(hiveFile.ToString()));
        return status;
    }
    // What can be read of a damaged hive is converted, but not without a word.
    if (platform::IsHiveDamaged(kMountName)) {
        GetLogger().LogStatus(ERROR_BADDB, ReadFailedText(hiveFile.ToString()));
    }
    const CRegPathW root(CHiveNameW(u"HKEY_LOCAL_MACHINE"), CRegPathSegmentW(kMountName));
    Walk(package, root, is64Bit);
    status = machine.Unmount();
    if (status != ERROR_SUCCESS) {
        GetLogger().LogStatus(status, root.ToString());
    }
    return status;
}

void CCasRegistryReader::Walk(COrvPackage& package, const CRegPathW& root, bool is64Bit) {
    CCasRegistryTraverseManager manager(m_assemblyProcessor, m_serviceProcessor, package, is64Bit);
    manager.AddRoot(root);
    manager.SetProgress(std::make_unique<CProgressEvent>(manager.CountKeys(), &m_parentProgress));
    manager.Start();
    manager.Wait();
}
