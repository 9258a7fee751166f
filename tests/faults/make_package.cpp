// make_package FOLDER: writes a small package that has one of everything.
#include <string>

#include "support/hive_builder.h"
#include "support/hive_log_builder.h"
#include "support/link_builder.h"
#include "support/package_builder.h"

namespace {

const std::string kApp = "C/Program Files/Zither/";
const std::string kStore = "C/Windows/WinSxS/";
const std::string kAssembly = "amd64_zither.strings_63d0c2b4e0a51c3e_1.0.0.0_none_4f0ab7e591c0";
constexpr std::string_view kService = R"(<Name>Zither</Name><Type>16</Type>
    <VirtualPath>"C:\Program Files\Zither\tuner.exe"</VirtualPath>)";
constexpr std::string_view kManifest = R"(<assembly xmlns="urn:schemas-microsoft-com:asm.v1">
    <assemblyIdentity type="win32" name="Zither.Strings" version="1.0.0.0"
        processorArchitecture="amd64" publicKeyToken="63d0c2b4e0a51c3e"/>
    <file name="strings.dll"/></assembly>)";

// A hive of which the last write was cut off.
CTestHive MakeHive() {
    const std::u16string software = uR"(REGISTRY\MACHINE\SOFTWARE\)";
    const std::u16string system = uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\)";
    CTestHive hive;
    hive.Sequences(6, 5)
        .Key(system + uR"(Control\Session Manager\Environment)")
        .ExpandString(u"ZITHER", uR"(%ProgramFiles%\Zither)")
        .Key(system + uR"(Services\Zither)")
        .ExpandString(u"ImagePath", uR"("C:\Program Files\Zither\tuner.exe")")
        .Key(uR"(REGISTRY\USER\CurrentUser\Software\Zither)")
        .Qword(u"Volume", 7)
        .Key(software + uR"(_ow6432Node\Zither)")
        .Dword(u"Strings", 6)
        .Key(software + uR"(Zither)")
        .String(u"Path", uR"(C:\Program Files\Zither\zither.exe)")
        .Binary(u"Large", std::string(20'000, 'b'))
        .MultiString(u"Strings", {u"E", u"A", u"D"});
    return hive;
}

CTestTarget MakeTarget() {
    const std::string before = MakeHive().LoadableBytes();
    const std::string after = MakeHive().Dword(u"Logged", 1).LoadableBytes();
    return CTestTarget("0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9")
        .Elements("<Name>Zither</Name><CreateOS>9</CreateOS>")
        .Service(kService)
        .Script("tune.cmd", "@echo off\r\n", "<Prelaunch>1</Prelaunch>")
        .Hive(before)
        // Beside the hive, one level above the captured files.
        .File("../InstallRoot.dat.LOG1", CTestHiveLog(before).Entry(5, before, after).Bytes())
        .Sandbox()
        .DeletedFile(kApp + "former.exe")
        .Placeholder(kApp + "Songs")
        .File("C/Users/Public/Desktop/Zither.lnk",
              CTestLink().Local(uR"(C:\Program Files\Zither\zither.exe)", u"").Bytes())
        .DeletedFile("C/Users/Public/Desktop/Former.lnk")
        .File(kStore + "Manifests/" + kAssembly + ".manifest", kManifest)
        .File(kStore + "Manifests/" + kAssembly + ".cat", "a catalog")
        .File(kStore + kAssembly + "/strings.dll", "strings");
}

}  // namespace

int main(int /*count*/, char** arguments) {
    CTestTarget second("11111111-2222-3333-4444-555555555555");
    second.Sandbox().Hive(CTestHive().LoadableBytes()).File(kApp + "second.txt", "second");
    CTestPackage()
        .Script("clean up.vbs", "WScript.Quit 0\r\n")
        .Target(MakeTarget())
        .Target(second)
        .Write(arguments[1], "Zither.profile");
}
