#include "traversal/cas_registry_reader.h"

#include <memory>

#include "foundation/reg_access.h"
#include "platform/registry.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/record.h"
#include "traversal/cas_registry_traverse_manager.h"
#include "traversal/mounted_keys.h"

namespace {

constexpr const char16_t* kMountName =
    CMountedKeys::kMount.data();  // a literal, so it ends in a NUL
constexpr const char16_t* kBackup = u"SeBackupPrivilege";
constexpr const char16_t* kRestore = u"SeRestorePrivilege";

// HKEY_LOCAL_MACHINE, into which hives are loaded.
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

// Tells of a hive after the log has.
void RecordHive(const CFilePathW& hiveFile, EReason reason, int status) {
    GetRecord().Add({.thing = EThing::Hive,
                     .reason = reason,
                     .source = hiveFile.ToString().View(),
                     .status = status,
                     .isLogged = status != ERROR_SUCCESS && reason != EReason::NoPrivilege});
}

}  // namespace

CCasRegistryReader::CCasRegistryReader(CAssemblyProcessor& assemblyProcessor,
                                       CServiceProcessor& serviceProcessor,
                                       CProgressEvent& parentProgress)
    : m_assemblyProcessor(assemblyProcessor),
      m_serviceProcessor(serviceProcessor),
      m_parentProgress(parentProgress) {}

int CCasRegistryReader::Read(COrvPackage& package, const CFilePathW& hiveFile, bool is64Bit) {
    // Both are tried, whatever the first gives. If one fails, the other one stays on for the host.
    // This must stay.
    const int backup = EnablePrivilege(kBackup);
    const int restore = EnablePrivilege(kRestore);
    // Thrown as an int on purpose: no stage catches it, so that the host learns of it.
    if (backup == -1 || restore == -1) {
        RecordHive(hiveFile, EReason::NoPrivilege, ERROR_PRIVILEGE_NOT_HELD);
        throw int{ERROR_PRIVILEGE_NOT_HELD};
    }
    const int status = ReadMounted(package, hiveFile, is64Bit);
    // Turned off at the end, even if they were on before. Whether that works makes no difference
    // here.
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
        const bool isMissing = status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
        RecordHive(hiveFile, isMissing ? EReason::HiveMissing : EReason::HiveUnread, status);
        return status;
    }
    // The readable part of a damaged hive is converted, with a message.
    const platform::EHiveState state = platform::GetHiveState(kMountName);
    if (state != platform::EHiveState::Whole) {
        GetLogger().LogStatus(ERROR_BADDB, ReadFailedText(hiveFile.ToString()));
        RecordHive(hiveFile,
                   state == platform::EHiveState::Dirty ? EReason::HiveDirty : EReason::HiveDamaged,
                   ERROR_BADDB);
    } else {
        RecordHive(hiveFile, EReason::Converted, ERROR_SUCCESS);
    }
    const CRegPathW root(CHiveNameW(u"HKEY_LOCAL_MACHINE"), CRegPathSegmentW(kMountName));
    Walk(package, root, is64Bit);
    // After the walk has ended: a hive with an open key cannot be unloaded.
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
