#include "platform/described/machine_description.h"

namespace platform {

namespace {

// Four special folders are left out because this machine does not have them: the alternate start-up
// folder exists only for old programs, the computers nearby are no folder of a file system, and a
// plain English system has neither links of a manufacturer nor localized resources. The common
// favourites are the user's own, because there is no other such folder.
void AddFolders(SMachineDescription& machine) {
    const std::u16string user = uR"(C:\Users\User)";
    const std::u16string local = user + uR"(\AppData\Local)";
    const std::u16string roaming = user + uR"(\AppData\Roaming)";
    const std::u16string startMenu = roaming + uR"(\Microsoft\Windows\Start Menu)";
    const std::u16string commonStartMenu = uR"(C:\ProgramData\Microsoft\Windows\Start Menu)";
    machine.folders = {
        {u"CSIDL_ADMINTOOLS", startMenu + uR"(\Programs\Administrative Tools)"},
        {u"CSIDL_APPDATA", roaming},
        {u"CSIDL_CDBURN_AREA", local + uR"(\Microsoft\Windows\Burn\Burn)"},
        {u"CSIDL_COMMON_ADMINTOOLS", commonStartMenu + uR"(\Programs\Administrative Tools)"},
        {u"CSIDL_COMMON_APPDATA", uR"(C:\ProgramData)"},
        {u"CSIDL_COMMON_DESKTOPDIRECTORY", uR"(C:\Users\Public\Desktop)"},
        {u"CSIDL_COMMON_DOCUMENTS", uR"(C:\Users\Public\Documents)"},
        {u"CSIDL_COMMON_FAVORITES", user + uR"(\Favorites)"},
        {u"CSIDL_COMMON_MUSIC", uR"(C:\Users\Public\Music)"},
        {u"CSIDL_COMMON_PICTURES", uR"(C:\Users\Public\Pictures)"},
        {u"CSIDL_COMMON_PROGRAMS", commonStartMenu + uR"(\Programs)"},
        {u"CSIDL_COMMON_STARTMENU", commonStartMenu},
        {u"CSIDL_COMMON_STARTUP", commonStartMenu + uR"(\Programs\StartUp)"},
        {u"CSIDL_COMMON_TEMPLATES", uR"(C:\ProgramData\Microsoft\Windows\Templates)"},
        {u"CSIDL_COMMON_VIDEO", uR"(C:\Users\Public\Videos)"},
        {u"CSIDL_COOKIES", local + uR"(\Microsoft\Windows\INetCookies)"},
        {u"CSIDL_DESKTOPDIRECTORY", user + uR"(\Desktop)"},
        {u"CSIDL_FAVORITES", user + uR"(\Favorites)"},
        {u"CSIDL_FONTS", uR"(C:\Windows\Fonts)"},
        {u"CSIDL_HISTORY", local + uR"(\Microsoft\Windows\History)"},
        {u"CSIDL_INTERNET_CACHE", local + uR"(\Microsoft\Windows\INetCache)"},
        {u"CSIDL_LOCAL_APPDATA", local},
        {u"CSIDL_MYMUSIC", user + uR"(\Music)"},
        {u"CSIDL_MYPICTURES", user + uR"(\Pictures)"},
        {u"CSIDL_MYVIDEO", user + uR"(\Videos)"},
        {u"CSIDL_NETHOOD", roaming + uR"(\Microsoft\Windows\Network Shortcuts)"},
        {u"CSIDL_PERSONAL", user + uR"(\Documents)"},
        {u"CSIDL_PRINTHOOD", roaming + uR"(\Microsoft\Windows\Printer Shortcuts)"},
        {u"CSIDL_PROFILE", user},
        {u"CSIDL_PROGRAM_FILES", uR"(C:\Program Files)"},
        {u"CSIDL_PROGRAM_FILESX86", uR"(C:\Program Files (x86))"},
        {u"CSIDL_PROGRAM_FILES_COMMON", uR"(C:\Program Files\Common Files)"},
        {u"CSIDL_PROGRAM_FILES_COMMONX86", uR"(C:\Program Files (x86)\Common Files)"},
        {u"CSIDL_PROGRAMS", startMenu + uR"(\Programs)"},
        {u"CSIDL_RECENT", roaming + uR"(\Microsoft\Windows\Recent)"},
        {u"CSIDL_RESOURCES", uR"(C:\Windows\Resources)"},
        {u"CSIDL_SENDTO", roaming + uR"(\Microsoft\Windows\SendTo)"},
        {u"CSIDL_STARTMENU", startMenu},
        {u"CSIDL_STARTUP", startMenu + uR"(\Programs\Startup)"},
        {u"CSIDL_SYSTEM", uR"(C:\Windows\System32)"},
        {u"CSIDL_SYSTEMX86", uR"(C:\Windows\SysWOW64)"},
        {u"CSIDL_TEMPLATES", roaming + uR"(\Microsoft\Windows\Templates)"},
        {u"CSIDL_WINDOWS", uR"(C:\Windows)"},
        {u"FOLDERID_LocalAppDataLow", user + uR"(\AppData\LocalLow)"},
    };
}

// As a 64-bit process sees it.
void AddEnvironment(SMachineDescription& machine) {
    machine.environment = {
        {u"AllUsersProfile", uR"(C:\ProgramData)"},
        {u"AppData", uR"(C:\Users\User\AppData\Roaming)"},
        {u"CommonProgramFiles", uR"(C:\Program Files\Common Files)"},
        {u"LocalAppData", uR"(C:\Users\User\AppData\Local)"},
        {u"ProgramData", uR"(C:\ProgramData)"},
        {u"ProgramFiles", uR"(C:\Program Files)"},
        {u"ProgramFiles(x86)", uR"(C:\Program Files (x86))"},
        {u"Public", uR"(C:\Users\Public)"},
        {u"SystemDrive", u"C:"},
        {u"SystemRoot", uR"(C:\Windows)"},
        {u"Temp", uR"(C:\Users\User\AppData\Local\Temp)"},
        {u"Tmp", uR"(C:\Users\User\AppData\Local\Temp)"},
        {u"UserProfile", uR"(C:\Users\User)"},
        {u"WinDir", uR"(C:\Windows)"},
    };
}

SMachineDescription MakeBuiltInMachine() {
    SMachineDescription machine;
    machine.version = {10, 0, true};
    machine.locale = u"en-US";
    machine.windowsFolder = uR"(C:\Windows)";
    machine.userSid = u"S-1-5-21-1-2-3-1000";
    AddFolders(machine);
    AddEnvironment(machine);
    // Z: is the whole file tree, so every file here has a Windows name. C: is not mapped, because
    // the folders on it are only names.
    machine.drives = {{u'Z', "/"}};
    // Windows builds this hive in memory at each start.
    machine.volatileHives = {uR"(\REGISTRY\MACHINE\HARDWARE)"};
    return machine;
}

}  // namespace

const SMachineDescription& GetBuiltInMachine() {
    static const SMachineDescription machine = MakeBuiltInMachine();
    return machine;
}

}  // namespace platform
