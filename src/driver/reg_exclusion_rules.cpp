#include "driver/reg_exclusion_rules.h"

#include <iterator>

namespace {

constexpr SExclusionRow Prefix(const char16_t* pattern) { return {pattern, MatchPrefix, false}; }
constexpr SExclusionRow Contains(const char16_t* pattern) {
    return {pattern, MatchContains, false};
}

// Keys that belong to the operating system: caches, lists of recent items, the state of devices and
// networks.
constexpr SExclusionRow kRows[] = {
    Prefix(uR"(HKEY_CURRENT_USER\Environment)"),
    Prefix(uR"(HKEY_CURRENT_USER\SessionInformation)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Classes\Local Settings\ImmutableMuiCache)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Classes\Local Settings\MuiCache)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Classes\Local Settings\RegMuiCache)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Classes\Local Settings\Software\Microsoft\Windows\CurrentVersion\TrayNotify)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Classes\Local Settings\Software\Microsoft\Windows\Shell\MuiCache)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Direct3D\MostRecentApplication)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\DirectDraw\MostRecentApplication)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\DirectInput\MostRecentApplication)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\GDIPlus)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\BrowserEmulation)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\Desktop\Old WordAreas)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\IETld)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\LowRegistry)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\Security\P3Global)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\Security\P3Sites)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\Toolbar)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\TypedURLs)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Microsoft\Microsoft Management Console\Recent File List)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\RestartManager)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\SQMClient)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\AppCompatFlags)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\TaskManager)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\Terminal Server)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Action Center)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\App Management)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Applets\Regedit)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\ApplicationAssociationToasts)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Controls Folder)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Explorer)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\HomeGroup\UIStatusCache)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\ImmersiveShell\StateStore)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Internet Settings)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\PushNotifications)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Shell Extensions\Cached)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\UFH)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Uninstall)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\WindowsUpdate)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\ShellNoRoam\MUICache)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Microsoft\Windows\Windows Error Reporting)"),
    Prefix(uR"(HKEY_CURRENT_USER\Volatile Environment)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\BBI)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\BCD)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\DRIVERS)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\ELAM)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\HARDWARE)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SAM)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SCHEMA)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SECURITY)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Cryptography\CatDBTempFiles)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Cryptography\RNG)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Direct3D\MostRecentApplication)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\DirectDraw\MostRecentApplication)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\DirectInput\MostRecentApplication)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\EnterpriseCertificates)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\ESENT)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Fusion)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Reliability Analysis\RAC)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\RPC)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\SchedulingAgent)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\SQMClient)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Tracing)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\WBEM\CIMOM)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\WBEM\PROVIDERS\Performance)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\WBEM\Transports\Decoupled)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\WBEM\WDM)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows Defender)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\AppCompatFlags)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\ASR)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\NetworkList\Nla\Cache)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\NvCache)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Perflib)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Prefetcher)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\ProfileList)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Schedule\CompatibilityAdapter\Signatures)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Schedule\TaskCache)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\SPP)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Superfetch)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\SystemRestore)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Terminal Server)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Tracing)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows Search)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\App Management\ARPCache)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Authentication\LogonUI)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\BITS)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Component Based Servicing)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\DeviceSetup)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Group Policy)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\InProgress)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\Rollback)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Internet Settings)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\MMDevices\Audio)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Reliability)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\UFH)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\WindowsUpdate)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\WINEVT)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Class)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\DeviceClasses)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\DeviceContainers)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\MUI\StringCacheSettings)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Network)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Nsi)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\ServiceCurrent)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Session Manager\Environment)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Enum)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Hardware Profiles)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\Dhcp)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\EventLog\Application\ESENT)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\IPSec)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\ISAPISearch)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\MpsSvc)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\NetBT)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\zelt-managed-services)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\Tcpip)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\TrustedInstaller)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\VSS\Diag)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\W32Time)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\WmiApRpl)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\{)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet002)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet003)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\LastKnownGoodRecovery\LastGood)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\RNG)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SYSTEM\Setup)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Classes\Local Settings\ImmutableMuiCache)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Classes\Local Settings\MuiCache)"),
    Prefix(
        uR"(HKEY_USERS\.DEFAULT\Software\Classes\Local Settings\Software\Microsoft\Windows\Shell\MuiCache)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Direct3D\MostRecentApplication)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\DirectDraw\MostRecentApplication)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\DirectInput\MostRecentApplication)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows NT\CurrentVersion\AppCompatFlags)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows NT\CurrentVersion\Winlogon)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\CurrentVersion\Explorer)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\CurrentVersion\Internet Settings)"),
    Prefix(
        uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\CurrentVersion\Shell Extensions\Cached)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\ShellNoRoam\MUICache)"),
    Prefix(uR"(HKEY_USERS\.DEFAULT\Software\Microsoft\Windows\Shell\MuiCache)"),
    Contains(uR"(\Software\Microsoft\SystemCertificates)"),
    Contains(uR"(\Software\Microsoft\Windows\ShellNoRoam\BagMRU)"),
    Contains(uR"(\Software\Microsoft\Windows\ShellNoRoam\Bags)"),
    Contains(uR"(\Software\Microsoft\Windows\Shell\BagMRU)"),
    Contains(uR"(\Software\Microsoft\Windows\Shell\Bags)"),
    Contains(uR"(\Software\Policies\Microsoft\SystemCertificates)"),
    {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Control\Session Manager)", MatchExact, false},
    {uR"(HKEY_CLASSES_ROOT\Installer)", MatchPrefix, true},
    {uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer)", MatchPrefix,
     true},
    Prefix(uR"(HKEY_CURRENT_USER\Software\Classes\Wow6432Node\Local Settings\MuiCache)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Classes\Wow6432Node\Local Settings\RegMuiCache)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Classes\Wow6432Node\Local Settings\Software\Microsoft\Windows\CurrentVersion\TrayNotify)"),
    Prefix(
        uR"(HKEY_CURRENT_USER\Software\Classes\Wow6432Node\Local Settings\Software\Microsoft\Windows\Shell\MuiCache)"),
    Prefix(uR"(HKEY_CURRENT_USER\Software\Wow6432Node\Microsoft\Windows\CurrentVersion\Uninstall)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Direct3D\MostRecentApplication)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\DirectDraw\MostRecentApplication)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\DirectInput\MostRecentApplication)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Tracing)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\WBEM\CIMOM)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\WBEM\PROVIDERS\Performance)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\WBEM\Transports\Decoupled)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\WBEM\WDM)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Windows NT\CurrentVersion\Tracing)"),
    Prefix(uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Windows\CurrentVersion\Explorer)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Windows\CurrentVersion\Internet Settings)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Windows\CurrentVersion\SideBySide)"),
    Prefix(
        uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Microsoft\Windows\CurrentVersion\Uninstall)"),
};
static_assert(std::size(kRows) == 167);

}  // namespace

std::span<const SExclusionRow> GetExclusionRows() { return kRows; }
