#include <cstdint>
#include <string>

#include "sample.h"
#include "support/link_builder.h"
#include "support/little_endian.h"

namespace {

const std::string kProgram = "C/Program Files/Tarnbrook Works/Planner/";
const std::string kShared = "C/Program Files/Common Files/Tarnbrook Works/Shared/";
const std::string kMachineData = "C/ProgramData/Tarnbrook Works/Planner/";
const std::string kUser = "C/Users/User/";
const std::string kStartMenu =
    "C/ProgramData/Microsoft/Windows/Start Menu/Programs/Tarnbrook Planner/";
constexpr std::u16string_view kProgramFile =
    uR"(C:\Program Files\Tarnbrook Works\Planner\planner.exe)";
constexpr std::u16string_view kProgramFolder = uR"(C:\Program Files\Tarnbrook Works\Planner)";

// What begins like a program, says its name and does nothing.
std::string Program(std::string_view name, std::size_t size = 512) {
    std::string bytes = "MZ";
    bytes.resize(60);
    AppendNumber(bytes, 64, 4);
    bytes.append("This stands for ").append(name);
    bytes.resize(size);
    return bytes;
}

// An icon of 16 by 16 pixels in one colour, given as blue, green, red and alpha.
std::string Icon(std::uint32_t colour) {
    std::string bytes;
    for (const unsigned number : {0U, 1U, 1U}) {  // an icon file with one image
        AppendNumber(bytes, number, 2);
    }
    AppendNumber(bytes, 0x1010, 4);     // its size; no palette
    AppendNumber(bytes, 0x200001, 4);   // one plane of 32 bits
    AppendNumber(bytes, 40 + 1088, 4);  // header, pixels and mask
    AppendNumber(bytes, 22, 4);         // where they begin
    AppendNumber(bytes, 40, 4);
    AppendNumber(bytes, 16, 4);
    AppendNumber(bytes, 32, 4);  // pixels and mask, one above the other
    AppendNumber(bytes, 0x200001, 4);
    bytes.resize(22 + 40);
    for (int pixel = 0; pixel < 16 * 16; ++pixel) {
        AppendNumber(bytes, colour, 4);
    }
    bytes.resize(bytes.size() + 64);
    return bytes;
}

void AddProgram(CTestTarget& target) {
    for (const char* name : {"planner.exe", "sync service.exe", "viewer.exe"}) {
        target.File(kProgram + name, Program(name, 2048));
    }
    for (const char* name : {"ui.dll", "charts.dll", "print.dll", "spelling.dll", "mail.dll"}) {
        target.File(kProgram + name, Program(name));
    }
    for (const char* name : {"tbcore.dll", "tbmath.dll", "tbdraw.dll"}) {
        target.File(kShared + name, Program(name));
    }
    target.File(kProgram + "planner.exe.config", "<configuration/>\r\n")
        .File(kProgram + "licence.txt", "Made for a sample. Do with it what you like.\r\n")
        .File(kProgram + "readme.txt", "Planner 4.2\r\n")
        .File(kProgram + "empty.dat")
        .File(kProgram + "icons/planner.ico", Icon(0xFF3070C0U))
        .File(kProgram + "icons/plan.ico", Icon(0xFF30C070U))
        .File("C/Windows/System32/tbprint.exe", Program("tbprint.exe"))
        .File("C/Windows/System32/tbprint.dll", Program("tbprint.dll"))
        .File("C/Windows/System32/spool/drivers/tbprint.gpd", "*ModelName: \"Plotter\"\r\n")
        .File("C/Windows/Fonts/tarnbrook.fon", Program("tarnbrook.fon"));
    for (const char* language : {"de", "en", "fr", "ja"}) {
        for (const char* page : {"index", "first plan", "printing", "keys"}) {
            target.File(kProgram + "help/" + language + "/" + page + ".htm",
                        std::string("<html lang=\"") + language + "\"></html>\r\n");
        }
    }
}

// What only a 64-bit system has.
void AddProgram32On64(CTestTarget& target) {
    const std::string folder = "C/Program Files (x86)/Tarnbrook Works/Planner Import/";
    target.File(folder + "import.exe", Program("import.exe"))
        .File(folder + "filters/text.dll", Program("text.dll"))
        .File(folder + "filters/table.dll", Program("table.dll"))
        .File("C/Program Files (x86)/Common Files/Tarnbrook Works/Shared/tbcore.dll",
              Program("tbcore.dll"))
        .File("C/Windows/SysWOW64/tbprint.dll", Program("tbprint.dll"));
}

void AddData(CTestTarget& target) {
    target.File(kMachineData + "settings.xml", "<settings units=\"metric\"/>\r\n")
        .File(kMachineData + "Templates/Projekt \u00dcbersicht.tbtemplate", "plan 1\r\n")
        .File(kMachineData + "Templates/\u8a08\u753b.tbtemplate", "plan 1\r\n")
        .File(kMachineData + "Templates/\u041f\u043b\u0430\u043d.tbtemplate", "plan 1\r\n")
        .File(kUser + "AppData/Roaming/Tarnbrook Works/Planner/user.ini", "[view]\r\nzoom=100\r\n")
        .File(kUser + "AppData/Roaming/Tarnbrook Works/Planner/100% ~ draft.ini", "[draft]\r\n")
        .File(kUser + "AppData/Local/Tarnbrook Works/Planner/cache.bin", std::string(64, '\x7F'))
        .File(kUser + "AppData/LocalLow/Tarnbrook Works/Planner/web.dat", "web\r\n")
        .File(kUser + "Documents/Plans/M\u00e4rz \U0001F4C5.tbplan", "plan 1\r\n")
        .File("D/Plans/shared.tbplan", "plan 1\r\n");
    for (int year = 2026; year < 2032; ++year) {
        target.File(kMachineData + "Calendars/" + std::to_string(year) + ".ics",
                    "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n");
    }
    // Longer than a path without a prefix may be.
    std::string deep = kMachineData + "Archive/";
    for (int level = 1; level <= 12; ++level) {
        deep += "a folder of level " + std::to_string(level) + "/";
    }
    target.File(deep + "first.tbplan", "plan 1\r\n");
}

// A side-by-side assembly: manifest, catalog and files, in the store that Windows keeps them in.
void AddAssembly(CTestTarget& target) {
    const std::string store = "C/Windows/WinSxS/";
    const std::string name =
        "amd64_tarnbrook.runtime_63d0c2b4e0a51c3e_2.1.0.0_none_4f0ab7e591c05d3a";
    target
        .File(store + "Manifests/" + name + ".manifest",
              "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">\r\n"
              "<assemblyIdentity type=\"win32\" name=\"Tarnbrook.Runtime\" version=\"2.1.0.0\" "
              "processorArchitecture=\"amd64\" publicKeyToken=\"63d0c2b4e0a51c3e\"/>\r\n"
              "<file name=\"tbrt.dll\"/><file name=\"tbrtres.dll\"/>\r\n</assembly>\r\n")
        .File(store + "Manifests/" + name + ".cat", Program("a catalog"))
        .File(store + name + "/tbrt.dll", Program("tbrt.dll"))
        .File(store + name + "/tbrtres.dll", Program("tbrtres.dll"));
}

void AddMarks(CTestTarget& target) {
    target.DeletedFile(kProgram + "planner 3.exe")
        .DeletedFile("C/Windows/System32/tbprint3.dll")
        .DeletedFile("C/Users/Public/Desktop/Planner 3.lnk")
        .Placeholder(kMachineData + "Queue")
        .Placeholder(kUser + "AppData/Local/Tarnbrook Works/Planner/Temp")
        .Folder(kMachineData + "Empty");
}

// A link to the program as the shell makes it: item list, place, and texts.
CTestLink ProgramLink() {
    return CTestLink()
        .DriveItem(u'C')
        .FolderItem(u"PROGRA~1", u"Program Files")
        .FolderItem(u"TARNBR~1", u"Tarnbrook Works")
        .FolderItem(u"Planner", u"Planner")
        .FileItem(u"planner.exe", u"planner.exe")
        .Local(kProgramFile, u"")
        .WorkingDirectory(kProgramFolder);
}

void AddShortcuts(CTestTarget& target, bool is64Bit) {
    target
        .File(kStartMenu + "Planner.lnk",
              ProgramLink()
                  .Description(u"Plan what comes next")
                  .Icon(uR"(C:\Program Files\Tarnbrook Works\Planner\icons\planner.ico)", 0)
                  .Environment(uR"(%ProgramFiles%\Tarnbrook Works\Planner\planner.exe)")
                  .HotKey(0x0650)
                  .Bytes())
        .File(kStartMenu + "Planner, safe mode.lnk", ProgramLink()
                                                         .Arguments(u"/safe /zoom 100%")
                                                         .Icon(kProgramFile, -3)
                                                         .ShowCommand(7)
                                                         .Bytes())
        .File(kStartMenu + "Hilfe f\u00fcr Planner.lnk",
              CTestLink()
                  .Local(uR"(C:\Program Files\Tarnbrook Works\Planner\help\de\index.htm)", u"")
                  .WideInfo()
                  .Bytes())
        .File("C/Users/Public/Desktop/Planner.lnk",
              ProgramLink().IconEnvironment(uR"(%SystemRoot%\System32\tbprint.exe)").Bytes())
        .File(kUser + "Desktop/Shared plans.lnk",
              CTestLink().Network(uR"(\\plans\team)", uR"(2026\open)").ShowCommand(3).Bytes());
    if (is64Bit) {
        target.File(kStartMenu + "Import.lnk",
                    CTestLink()
                        .Local(uR"(C:\Program Files (x86)\Tarnbrook Works\)",
                               uR"(Planner Import\import.exe)")
                        .Arguments(uR"("C:\ProgramData\Tarnbrook Works\Planner\Queue")")
                        .Bytes());
    }
}

}  // namespace

void AddFiles(CTestTarget& target, bool is64Bit) {
    AddProgram(target);
    if (is64Bit) {
        AddProgram32On64(target);
        AddAssembly(target);
    }
    AddData(target);
    AddMarks(target);
    AddShortcuts(target, is64Bit);
}
