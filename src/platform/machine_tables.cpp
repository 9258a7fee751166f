#include "platform/machine.h"

namespace platform {

// The numbers are those of the CSIDL constants of the Windows shell, which never change. They are
// written out because the table is used on every system.
const std::array<SSpecialFolder, 47> kSpecialFolders = {{
    {u"CSIDL_ADMINTOOLS", 48},
    {u"CSIDL_ALTSTARTUP", 29},
    {u"CSIDL_APPDATA", 26},
    {u"CSIDL_CDBURN_AREA", 59},
    {u"CSIDL_COMMON_ADMINTOOLS", 47},
    {u"CSIDL_COMMON_APPDATA", 35},
    {u"CSIDL_COMMON_DESKTOPDIRECTORY", 25},
    {u"CSIDL_COMMON_DOCUMENTS", 46},
    {u"CSIDL_COMMON_FAVORITES", 31},
    {u"CSIDL_COMMON_MUSIC", 53},
    {u"CSIDL_COMMON_OEM_LINKS", 58},
    {u"CSIDL_COMMON_PICTURES", 54},
    {u"CSIDL_COMMON_PROGRAMS", 23},
    {u"CSIDL_COMMON_STARTMENU", 22},
    {u"CSIDL_COMMON_STARTUP", 24},
    {u"CSIDL_COMMON_TEMPLATES", 45},
    {u"CSIDL_COMMON_VIDEO", 55},
    {u"CSIDL_COMPUTERSNEARME", 61},
    {u"CSIDL_COOKIES", 33},
    {u"CSIDL_DESKTOPDIRECTORY", 16},
    {u"CSIDL_FAVORITES", 6},
    {u"CSIDL_FONTS", 20},
    {u"CSIDL_HISTORY", 34},
    {u"CSIDL_INTERNET_CACHE", 32},
    {u"CSIDL_LOCAL_APPDATA", 28},
    {u"CSIDL_MYMUSIC", 13},
    {u"CSIDL_MYPICTURES", 39},
    {u"CSIDL_MYVIDEO", 14},
    {u"CSIDL_NETHOOD", 19},
    {u"CSIDL_PERSONAL", 5},
    {u"CSIDL_PRINTHOOD", 27},
    {u"CSIDL_PROFILE", 40},
    {u"CSIDL_PROGRAM_FILES", 38},
    {u"CSIDL_PROGRAM_FILESX86", 42},
    {u"CSIDL_PROGRAM_FILES_COMMON", 43},
    {u"CSIDL_PROGRAM_FILES_COMMONX86", 44},
    {u"CSIDL_PROGRAMS", 2},
    {u"CSIDL_RECENT", 8},
    {u"CSIDL_RESOURCES", 56},
    {u"CSIDL_RESOURCES_LOCALIZED", 57},
    {u"CSIDL_SENDTO", 9},
    {u"CSIDL_STARTMENU", 11},
    {u"CSIDL_STARTUP", 7},
    {u"CSIDL_SYSTEM", 37},
    {u"CSIDL_SYSTEMX86", 41},
    {u"CSIDL_TEMPLATES", 21},
    {u"CSIDL_WINDOWS", 36},
}};

const char16_t* const kLocalAppDataLowName = u"FOLDERID_LocalAppDataLow";

// A token has exactly these letters. The variable is found in any letter case.
const std::array<const char16_t*, 14> kEnvironmentVariables = {
    u"AllUsersProfile",   u"AppData",     u"CommonProgramFiles",
    u"LocalAppData",      u"ProgramData", u"ProgramFiles",
    u"ProgramFiles(x86)", u"Public",      u"SystemDrive",
    u"SystemRoot",        u"Temp",        u"Tmp",
    u"UserProfile",       u"WinDir",
};

}  // namespace platform
