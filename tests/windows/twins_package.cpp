#include <cstdlib>
#include <string>
#include <string_view>

#include "support/link_builder.h"
#include "windows/twins.h"

namespace {

constexpr std::string_view kGuid64 = "7C1D52E0-93AB-4C60-A1B7-5E0F2D646464";
constexpr std::string_view kGuid32 = "7C1D52E0-93AB-4C60-A1B7-5E0F2D323232";
constexpr std::string_view kBareGuid = "7C1D52E0-93AB-4C60-A1B7-5E0F2D000000";

std::string ServiceXml(std::string_view name, std::string_view path, std::string_view account,
                       int type) {
    return std::string("<Name>").append(name).append("</Name><DisplayName>The ").append(name) +
           " &amp; &lt;its&gt; \"friends\"</DisplayName><Description>Does " +
           std::string(300, 'd') + "</Description><AccountName>" + std::string(account) +
           "</AccountName><VirtualPath>" + std::string(path) + "</VirtualPath><Type>" +
           std::to_string(type) + "</Type><StartType>" + std::to_string(type % 7) +
           "</StartType><ErrorControl>" + std::to_string(type % 5) + "</ErrorControl>";
}

void AddServices(CTestTarget& target) {
    int number = 0;
    for (const int type : {1, 2, 4, 8, 16, 32, 272, 288, 304}) {
        target.Service(ServiceXml("Service " + std::to_string(++number),
                                  R"("C:\Program Files\Twins\a b.exe" /run "x y")", "LocalSystem",
                                  type));
    }
    target
        .Service(ServiceXml("Unquoted", R"(C:\Program Files\Twins\a b.exe /run)", "CORP\\svc", 16))
        .Service(ServiceXml("On disk", R"(C:\windows\system32\cmd.exe /c C:\Windows)", "svc", 32))
        .Service(ServiceXml("Tokens", R"(%SystemRoot%\System32\cmd.exe /c a)", "", 272))
        .Service(ServiceXml("Dienst \u00fc", R"(C:\ProgramData\\x.exe)",
                            "NT AUTHORITY\\LocalSystem", 16))
        .Service(ServiceXml("tokens", R"(D:\x.exe)", "twice", 16))
        .Service(
            "<!-- a --><Name>Ma<![CDATA[rk & <up>]]></Name ><Unknown><Name>x</Name></Unknown>"
            "<VirtualPath a='b'>D:\\&#xE9;&#x1F4C5;.exe</VirtualPath>\r\n\t<Type> 16</Type>"
            "<DisplayName>a&#13;&#10;b\tc</DisplayName><AccountName/>")
        .Service("<Name>Old &amp; gone</Name><DeleteFlag>1</DeleteFlag>");
}

void AddFiles(CTestTarget& target) {
    const std::string user = "C/users/" + CapturedUser() + "/";
    const std::string programs = "C/Program Files/Twins/";
    for (const char* name : {"a.txt",
                             "B.txt",
                             "c & d's.txt",
                             "100% ~ [x] {y} (z) +=;,!#$@^`.txt",
                             "no extension",
                             ".hidden",
                             "trailing.dots..txt",
                             "\u00c4rger.txt",
                             "\u00e4pfel.txt",
                             "stra\u00dfe.txt",
                             "STRASSE.txt",
                             "\u0130\u0131.txt",
                             "e\u0301.txt",
                             "\u00e9 2.txt",
                             "\u8a08\u753b.txt",
                             "\U0001F4C5.txt",
                             "\ufb01.txt",
                             "\u0436\u0416.txt",
                             "_.txt",
                             "~.txt",
                             "[.txt",
                             "z\ue000.txt",
                             "z\uffee.txt",
                             "z\U00010000.txt"}) {
        target.File(programs + name, std::string("content of ") + name);
    }
    target.File(programs + "large.bin", std::string(300000, '\x33'))
        .File(user + "AppData/Roaming/Twins/a.ini", "a")
        .File(user + "AppData/LocalLow/Twins/a.ini", "b")
        .File(user + "Documents/Twins/a.doc", "c")
        .File(user + "Desktop/a.txt", "d")
        .File("C/Users/" + CapturedUser() + "x/a.txt", "e")
        .File("C/WINDOWS/SYSTEM32/Twins/a.dll", "f")
        .File("C/windows/syswow64/twins.dll", "g")
        .File("C/Windowsold/a.dll", "h")
        .File("C/Windows/WinSxS/Manifests/a.manifest", "<assembly/>")
        .File("C/root.txt", "i")
        .File("D/d.txt", "j")
        .File("DD/no drive.txt", "k")
        .File("top.txt", "l")
        .Folder("C/Program Files/Twins/Empty & more")
        .Folder("C/Program Files/Twins/Nested/Empty")
        .Folder("E")
        .File("C/ProgramData/Twins/Kept 2/$ctx$PLACEHOLDER.TXT")
        .File("C/ProgramData/Twins/Kept 3/$ctx$placeholder.txt")
        .File("C/ProgramData/Twins/Kept 3/x$ctx$placeholder.txt")
        .File(programs + "a.txt:Other stream", "of no interest")
        .Placeholder("C/ProgramData/Twins/Kept")
        .Placeholder("C/ProgramData/Twins/Kept \u00fc")
        .DeletedFile(programs + "gone & lost.exe")
        .DeletedFile(programs + "\u00fcber.dll")
        .DeletedFile("C/Windows/System32/twins old.dll")
        .DeletedFile(user + "Desktop/Twins old.lnk")
        .DeletedFile("D/gone.LNK");
}

// Links of which Wine reads all that they say but for flags and blocks.
void AddShortcuts(CTestTarget& target) {
    const std::string menu = "C/ProgramData/Microsoft/Windows/Start Menu/Programs/Twins/";
    const auto program = [] {
        return CTestLink()
            .DriveItem(u'C')
            .FolderItem(u"PROGRA~1", u"Program Files")
            .FolderItem(u"Twins", u"Twins")
            .FileItem(u"a.exe", u"a.exe");
    };
    const std::u16string_view path = uR"(C:\Program Files\Twins\a.exe)";
    target.File(menu + "Plain.lnk", program().Ansi().Local(path, u"").Bytes())
        .File(menu + "Full.lnk", program()
                                     .Local(path, u"")
                                     .Description(u"All & <more> \"of\" it, \u00fc \U0001F4C5 ~ %")
                                     .WorkingDirectory(uR"(C:\Program Files\Twins)")
                                     .Arguments(uR"("C:\Windows\a.txt" & <b> 100%)")
                                     .Icon(uR"(%SystemRoot%\System32\shell32.dll)", -7)
                                     .HotKey(0x0641)
                                     .Bytes())
        .File(menu + "Large.LNK", program()
                                      .Local(path, u"")
                                      .Description(std::u16string(259, u'd'))
                                      .Icon(path, 70000)
                                      .ShowCommand(3)
                                      .Bytes())
        .File(menu + "Long texts.lnk", program()
                                           .Local(path, u"")
                                           .Description(std::u16string(1100, u'd'))
                                           .Arguments(std::u16string(1023, u'a') + u"bcd")
                                           .WorkingDirectory(std::u16string(1024, u'w'))
                                           .Bytes())
        .File(menu + "Old.lnk",
              program().Ansi().Local(path, u"").Description(u"Fr\u00fcher \u00c4").Bytes())
        .File(menu + "No target.lnk", CTestLink().Description(u"nothing").Bytes())
        .File(menu + std::string(200, 'n') + "/kaputt \u00fc.lnk", "This is no link.")
        .File(menu + "No link.lnk", "This is no link.")
        .File(menu + "Empty.lnk");
}

CTestTarget MakeCornerTarget(std::string_view guid, bool is64Bit) {
    CTestTarget target(guid, "1");
    target.Elements(is64Bit ? "<Name>64 &amp; more</Name><CreateOS>12</CreateOS>"
                            : "<Name>32</Name><CreateOS>4</CreateOS>");
    target.Sandbox(is64Bit ? "<CitrixAIE><AIE><Name>cut" : "<CitrixAIE><AIE/></CitrixAIE>");
    AddServices(target);
    AddFiles(target);
    AddShortcuts(target);
    return target.Script("first.cmd", "@echo 1\r\n", "<Prelaunch>1</Prelaunch>")
        .Script("z & a.vbs", "' 2\r\n", "<Cmdline>/x</Cmdline>")
        .Script("first.cmd", "@echo 3\r\n", "<Prelaunch>0</Prelaunch>")
        .Script("\u00fc 100%.cmd", "@echo 4\r\n");
}

}  // namespace

std::string CapturedUser() {
    const char* const name = std::getenv("USERNAME");
    return name == nullptr ? "User" : name;
}

CTestPackage MakeCorners() {
    return CTestPackage()
        .Elements("<Guid>7C1D52E0-93AB-4C60-A1B7-5E0F2D111111</Guid><Version>3</Version>")
        .Target(MakeCornerTarget(kGuid64, true))
        .Target(CTestTarget(kBareGuid).Elements("<CreateOS>5</CreateOS>"))
        .Target(MakeCornerTarget(kGuid32, false))
        .Script("profile.cmd", "@echo 5\r\n", "<Prelaunch>1</Prelaunch>")
        .Elements(
            "<Scripts><Script><Filename>missing &amp; gone.cmd</Filename></Script>"
            "<Script><Filename>\u00fc 100% %1!s! \U0001F4C5.cmd</Filename></Script>"
            "<Script><Filename>a/b.cmd</Filename><Prelaunch>1</Prelaunch></Script></Scripts>");
}

CTestPackage MakeAssemblies() {
    const std::string file = "C/Windows/WinSxS/Manifests/amd64_twins.policy";
    CTestTarget target(kBareGuid);
    target.Sandbox()
        .Elements("<CreateOS>9</CreateOS>")
        .File(file + ".cat", "catalog")
        .File(file + ".manifest",
              "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">"
              "<assemblyIdentity type=\"win32\" name=\"Twins.Policy\" version=\"2.1.0.0\" "
              "processorArchitecture=\"amd64\" publicKeyToken=\"63d0c2b4e0a51c3e\"/></assembly>");
    return CTestPackage().Target(target);
}
