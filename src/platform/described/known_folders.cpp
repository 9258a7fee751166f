#include "platform/described/known_folders.h"

#include <algorithm>
#include <iterator>

#include "formats/bytes.h"
#include "platform/com.h"
#include "platform/machine.h"

namespace platform {

namespace {

struct SKnownFolder {
    std::u16string_view id;
    std::u16string_view name;
};

// The machine answers as it would answer a 64-bit program. So "ProgramFiles" and "ProgramFilesX64"
// are the same folder. A row has the documented name of its identifier beside it.
constexpr SKnownFolder kKnownFolders[] = {
    {u"{724EF170-A42D-4FEF-9F26-B60E846FBA4F}", u"CSIDL_ADMINTOOLS"},          // AdminTools
    {u"{9E52AB10-F80D-49DF-ACB8-4330F5687855}", u"CSIDL_CDBURN_AREA"},         // CDBurning
    {u"{D0384E7D-BAC3-4797-8F14-CBA229B392B5}", u"CSIDL_COMMON_ADMINTOOLS"},   // CommonAdminTools
    {u"{C1BAE2D0-10DF-4334-BEDD-7AA20B227A9D}", u"CSIDL_COMMON_OEM_LINKS"},    // CommonOEMLinks
    {u"{0139D44E-6AFE-49F2-8690-3DAFCAE6FFB8}", u"CSIDL_COMMON_PROGRAMS"},     // CommonPrograms
    {u"{A4115719-D62E-491D-AA7C-E74B8BE3B067}", u"CSIDL_COMMON_STARTMENU"},    // CommonStartMenu
    {u"{82A5EA35-D9CD-47C5-9629-E15D2F714E6E}", u"CSIDL_COMMON_STARTUP"},      // CommonStartup
    {u"{B94237E7-57AC-4347-9151-B08C6C32D1F7}", u"CSIDL_COMMON_TEMPLATES"},    // CommonTemplates
    {u"{2B0F765D-C0E9-4171-908E-08A611B84FF6}", u"CSIDL_COOKIES"},             // Cookies
    {u"{B4BFCC3A-DB2C-424C-B029-7FE99A87C641}", u"CSIDL_DESKTOPDIRECTORY"},    // Desktop
    {u"{FDD39AD0-238F-46AF-ADB4-6C85480369C7}", u"CSIDL_PERSONAL"},            // Documents
    {u"{1777F761-68AD-4D8A-87BD-30B759FA33DD}", u"CSIDL_FAVORITES"},           // Favorites
    {u"{FD228CB7-AE11-4AE3-864C-16F3910AB8FE}", u"CSIDL_FONTS"},               // Fonts
    {u"{D9DC8A3B-B784-432E-A781-5A1130A75963}", u"CSIDL_HISTORY"},             // History
    {u"{352481E8-33BE-4251-BA85-6007CAEDCF9D}", u"CSIDL_INTERNET_CACHE"},      // InternetCache
    {u"{F1B32785-6FBA-4FCF-9D55-7B8E7F157091}", u"CSIDL_LOCAL_APPDATA"},       // LocalAppData
    {u"{A520A1A4-1780-4FF6-BD18-167343C5AF16}", u"FOLDERID_LocalAppDataLow"},  // LocalAppDataLow
    {u"{2A00375E-224C-49DE-B8D1-440DF7EF3DDC}",
     u"CSIDL_RESOURCES_LOCALIZED"},                                        // LocalizedResourcesDir
    {u"{4BD8D571-6D19-48D3-BE97-422220080E43}", u"CSIDL_MYMUSIC"},         // Music
    {u"{C5ABBF53-E17F-4121-8900-86626FC2C973}", u"CSIDL_NETHOOD"},         // NetHood
    {u"{33E28130-4E1E-4676-835A-98395C3BC3BB}", u"CSIDL_MYPICTURES"},      // Pictures
    {u"{9274BD8D-CFD1-41C3-B35E-B13F55A758F4}", u"CSIDL_PRINTHOOD"},       // PrintHood
    {u"{5E6C858F-0E22-4760-9AFE-EA3317B67173}", u"CSIDL_PROFILE"},         // Profile
    {u"{62AB5D82-FDC1-4DC3-A9DD-070D1D495D97}", u"CSIDL_COMMON_APPDATA"},  // ProgramData
    {u"{905E63B6-C1BF-494E-B29C-65B732D3D21A}", u"CSIDL_PROGRAM_FILES"},   // ProgramFiles
    {u"{6D809377-6AF0-444B-8957-A3773F02200E}", u"CSIDL_PROGRAM_FILES"},   // ProgramFilesX64
    {u"{7C5A40EF-A0FB-4BFC-874A-C0F2E0B9FA8E}", u"CSIDL_PROGRAM_FILESX86"},  // ProgramFilesX86
    {u"{F7F1ED05-9F6D-47A2-AAAE-29D317C6F066}",
     u"CSIDL_PROGRAM_FILES_COMMON"},  // ProgramFilesCommon
    {u"{6365D5A7-0F0D-45E5-87F6-0DA56B6A4F7D}",
     u"CSIDL_PROGRAM_FILES_COMMON"},  // ProgramFilesCommonX64
    {u"{DE974D24-D9C6-4D3E-BF91-F4455120B917}",
     u"CSIDL_PROGRAM_FILES_COMMONX86"},                              // ProgramFilesCommonX86
    {u"{A77F5D77-2E2B-44C3-A6A2-ABA601054A51}", u"CSIDL_PROGRAMS"},  // Programs
    {u"{DFDF76A2-C82A-4D63-906A-5644AC457385}", u"Public"},          // Public
    {u"{C4AA340D-F20F-4863-AFEF-F87EF2E6BA25}", u"CSIDL_COMMON_DESKTOPDIRECTORY"},  // PublicDesktop
    {u"{ED4824AF-DCE4-45A8-81E2-FC7965083634}", u"CSIDL_COMMON_DOCUMENTS"},  // PublicDocuments
    {u"{3214FAB5-9757-4298-BB61-92A9DEAA44FF}", u"CSIDL_COMMON_MUSIC"},      // PublicMusic
    {u"{B6EBFB86-6907-413C-9AF7-4FC2ABF07CC5}", u"CSIDL_COMMON_PICTURES"},   // PublicPictures
    {u"{2400183A-6185-49FB-A2D8-4A392A602BA3}", u"CSIDL_COMMON_VIDEO"},      // PublicVideos
    {u"{AE50C081-EBD2-438A-8655-8A092E34987A}", u"CSIDL_RECENT"},            // Recent
    {u"{8AD10C31-2ADB-4296-A8F7-E4701232C972}", u"CSIDL_RESOURCES"},         // ResourceDir
    {u"{3EB685DB-65F9-4CF6-A03A-E3EF65729F3D}", u"CSIDL_APPDATA"},           // RoamingAppData
    {u"{8983036C-27C0-404B-8F08-102D10DCFD74}", u"CSIDL_SENDTO"},            // SendTo
    {u"{625B53C3-AB48-4EC1-BA1F-A1EF4146FC19}", u"CSIDL_STARTMENU"},         // StartMenu
    {u"{B97D20BB-F46A-4C97-BA10-5E3608430854}", u"CSIDL_STARTUP"},           // Startup
    {u"{1AC14E77-02E7-4E5D-B744-2EB1AE5198B7}", u"CSIDL_SYSTEM"},            // System
    {u"{D65231B0-B2F1-4857-A4CE-A8E7C6EA7D27}", u"CSIDL_SYSTEMX86"},         // SystemX86
    {u"{A63293E8-664E-48DB-A079-DF759E0509F7}", u"CSIDL_TEMPLATES"},         // Templates
    {u"{18989B1D-99B5-455B-841C-AB7C74E4DDFC}", u"CSIDL_MYVIDEO"},           // Videos
    {u"{F38BF404-1D43-42F2-9305-67DE0B28FC23}", u"CSIDL_WINDOWS"},           // Windows
};

std::u16string_view FindKnownFolder(const formats::CByteReader& id) {
    // The first three fields are numbers, the rest are bytes in their order.
    GUID guid{id.GetU32(0), id.GetU16(4), id.GetU16(6), {}};
    for (std::size_t i = 0; i < std::size(guid.Data4); ++i) {
        guid.Data4[i] = id.GetU8(8 + i);
    }
    const std::u16string text = GuidToText(guid);
    const auto* const row =
        std::find_if(std::begin(kKnownFolders), std::end(kKnownFolders),
                     [&text](const SKnownFolder& folder) { return folder.id == text; });
    return row == std::end(kKnownFolders) ? std::u16string_view() : row->name;
}

// The number comes from the file of a link and may be any.
std::u16string_view FindSpecialFolder(std::uint32_t number) {
    const auto row = std::find_if(kSpecialFolders.begin(), kSpecialFolders.end(),
                                  [number](const SSpecialFolder& folder) {
                                      return static_cast<std::uint32_t>(folder.csidl) == number;
                                  });
    return row == kSpecialFolders.end() ? std::u16string_view() : row->name;
}

}  // namespace

std::u16string_view GetTokenName(const formats::SLinkFolder& folder) {
    return folder.id.empty() ? FindSpecialFolder(folder.number)
                             : FindKnownFolder(formats::CByteReader(folder.id));
}

}  // namespace platform
