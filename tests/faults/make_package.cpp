// make_package FOLDER: writes a small package that holds one of everything, and a machine for it.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "support/hive_builder.h"
#include "support/hive_log_builder.h"
#include "support/link_builder.h"
#include "support/package_builder.h"

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kGuids[] = {"0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9",
                                       "11111111-2222-3333-4444-555555555555"};
const std::string kApp = "C/Program Files/Zither/";
constexpr std::string_view kService =
    "<Name>Zither</Name><DisplayName>Zither Tuner</DisplayName>"
    "<VirtualPath>\"C:\\Program Files\\Zither\\tuner.exe\"</VirtualPath>"
    "<Type>16</Type><StartType>2</StartType><ErrorControl>1</ErrorControl>";
constexpr std::string_view kAssembly =
    "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">"
    "<assemblyIdentity type=\"win32\" name=\"Zither.Strings\" version=\"1.0.0.0\" "
    "processorArchitecture=\"amd64\" publicKeyToken=\"63d0c2b4e0a51c3e\"/>"
    "<file name=\"strings.dll\"/></assembly>";

CTestHive MakeHive() {
    const std::u16string machine = uR"(REGISTRY\MACHINE\)";
    const std::u16string control = machine + uR"(SYSTEM\CurrentControlSet\)";
    CTestHive hive;
    hive.Key(machine + uR"(SOFTWARE\Zither)")
        .String(u"Path", uR"(C:\Program Files\Zither\zither.exe)")
        .Binary(u"Large", std::string(20'000, 'b'))
        .MultiString(u"Strings", {u"E", u"A", u"D"})
        .Key(machine + uR"(SOFTWARE\_ow6432Node\Zither)")
        .Dword(u"Strings", 6)
        .Key(uR"(REGISTRY\USER\CurrentUser\Software\Zither)")
        .Dword(u"Volume", 7)
        .Key(control + uR"(Control\Session Manager\Environment)")
        .ExpandString(u"ZITHER", uR"(%ProgramFiles%\Zither)")
        .Key(control + uR"(Services\Zither)")
        .ExpandString(u"ImagePath", uR"("C:\Program Files\Zither\tuner.exe")");
    return hive;
}

CTestTarget MakeTarget(const std::string& hive) {
    const std::string store = "C/Windows/WinSxS/";
    const std::string assembly = "amd64_zither.strings_63d0c2b4e0a51c3e_1.0.0.0_none_4f0ab7e591c0";
    std::string deep = kApp;
    for (int level = 0; level < 10; ++level) {
        deep += "a folder with a rather long name " + std::to_string(level) + "/";
    }
    CTestTarget target(kGuids[0]);
    target.Elements("<Name>Zither</Name><CreateOS>9</CreateOS>")
        .Service(kService)
        .Script("tune.cmd", "@echo off\r\n", "<Prelaunch>1</Prelaunch>")
        .Hive(hive)
        .Sandbox()
        .File(kApp + "zither.exe", std::string(2000, 'z'))
        .File(kApp + "tuner.exe", "tuner")
        .File(kApp + "large.dat", std::string(150'000, 'l'))
        .File(kApp + "empty.dat")
        .File(kApp + "streamed.dat", "kept")
        .File(kApp + "marked.dat")
        .File(deep + "deep.txt", "deep")
        .DeletedFile(kApp + "former.exe")
        .Placeholder(kApp + "Songs")
        .Folder(kApp + "Empty")
        .File("D/Songs/prelude.txt", "la")
        .File("C/Users/Public/Desktop/Zither.lnk",
              CTestLink().Local(uR"(C:\Program Files\Zither\zither.exe)", u"").Bytes())
        .DeletedFile("C/Users/Public/Desktop/Former.lnk")
        .File(store + "Manifests/" + assembly + ".manifest", kAssembly)
        .File(store + "Manifests/" + assembly + ".cat", "a catalog")
        .File(store + assembly + "/strings.dll", "strings");
    return target;
}

void WriteFile(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

void Write(const fs::path& folder) {
    // A hive whose last write is in its log alone.
    const std::string before = MakeHive().Sequences(6, 5).LoadableBytes();
    CTestHive changed = MakeHive();
    const std::string after = changed.Key(uR"(REGISTRY\MACHINE\SOFTWARE\Zither)")
                                  .Dword(u"Logged", 1)
                                  .Sequences(6, 5)
                                  .LoadableBytes();
    CTestPackage()
        .Elements("<Name>Zither</Name>")
        .Script("clean up.vbs", "WScript.Quit 0\r\n")
        .Target(MakeTarget(before))
        .Target(CTestTarget(kGuids[1])
                    .Sandbox()
                    .Hive(CTestHive().LoadableBytes())
                    .File(kApp + "second.txt", "second"))
        .Write(folder, "Zither.profile");
    const std::string target = std::string(kGuids[0]) + "_1";
    WriteFile(folder / target / "InstallRoot.dat.LOG1",
              CTestHiveLog(before).Entry(5, before, after).Bytes());
    WriteFile(folder / "machine.toml", R"([system]
windows = '\\zither\package\)" + target + R"(\Device\C\Windows'
[shares]
'\\zither\package' = 'PLACE'
)");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Write(argc == 2 ? argv[1] : "");
    } catch (const std::exception& error) {
        std::cerr << "make_package: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
