#include <cstdint>
#include <string>

#include "sample.h"

namespace {

const std::u16string kMachine = uR"(REGISTRY\MACHINE\)";
const std::u16string kUser = uR"(REGISTRY\USER\CurrentUser\)";
const std::u16string kClasses = kMachine + uR"(SOFTWARE\Classes\)";
const std::u16string kTypeLib = u"{7E40D1A6-2C33-4F0A-B7E5-91C05D3A6F00}";
const std::u16string kProgramFolder = uR"(C:\Program Files\Tarnbrook Works\Planner\)";

constexpr std::u16string_view kClassNames[] = {
    u"Application", u"Schedule", u"Task",      u"TaskList", u"Person", u"Team",   u"Calendar",
    u"Day",         u"Holiday",  u"Milestone", u"Chart",    u"Axis",   u"Legend", u"Printer",
    u"PrintJob",    u"Template", u"Filter",    u"Importer", u"Report", u"View",
};

std::u16string Hex(std::size_t number) {
    constexpr std::u16string_view digits = u"0123456789ABCDEF";
    return {digits[number / 16 % 16], digits[number % 16]};
}

std::u16string Guid(char16_t family, std::size_t number) {
    return std::u16string(u"{") + family + u"A51C3E0-4B72-4D19-8F00-63D0C2B4E0" + Hex(number) +
           u"}";
}

// A class, its interface and its two program names.
void AddClass(CTestHive& hive, const std::u16string& classes, std::size_t number,
              const std::u16string& library) {
    const std::u16string name = std::u16string(u"Tarnbrook.").append(kClassNames[number]);
    const std::u16string classId = Guid(u'C', number);
    const std::u16string key = classes + uR"(CLSID\)" + classId;
    hive.Key(key)
        .String(u"", name + u" Class")
        .Key(key + uR"(\InprocServer32)")
        .String(u"", library)
        .String(u"ThreadingModel", number % 3 == 0 ? u"Both" : u"Apartment")
        .Key(key + uR"(\ProgID)")
        .String(u"", name + u".4")
        .Key(key + uR"(\VersionIndependentProgID)")
        .String(u"", name)
        .Key(key + uR"(\TypeLib)")
        .String(u"", kTypeLib)
        .Key(classes + uR"(Interface\)" + Guid(u'D', number))
        .String(u"", std::u16string(u"I").append(kClassNames[number]))
        .Key(classes + uR"(Interface\)" + Guid(u'D', number) + uR"(\ProxyStubClsid32)")
        .String(u"", u"{00020424-0000-0000-C000-000000000046}");
    hive.Key(classes + name)
        .String(u"", name + u" Class")
        .Key(classes + name + uR"(\CurVer)")
        .String(u"", name + u".4")
        .Key(classes + name + uR"(.4\CLSID)")
        .String(u"", classId);
}

void AddFileType(CTestHive& hive, std::u16string_view extension, const std::u16string& name) {
    const std::u16string key = kClasses + name;
    hive.Key(kClasses + std::u16string(extension))
        .String(u"", name)
        .String(u"Content Type", u"application/x-tarnbrook-plan")
        .Key(kClasses + std::u16string(extension) + uR"(\OpenWithProgids)")
        .Value(name, 0, {})
        .Key(key)
        .String(u"", u"Plan")
        .Dword(u"EditFlags", 0x10000)
        .Key(key + uR"(\DefaultIcon)")
        .String(u"", kProgramFolder + uR"(icons\plan.ico,0)")
        .Key(key + uR"(\shell\open\command)")
        .ExpandString(u"", uR"("%ProgramFiles%\Tarnbrook Works\Planner\planner.exe" "%1")")
        .Key(key + uR"(\shell\print\command)")
        .String(u"", u"\"" + kProgramFolder + uR"(planner.exe" /print "%1")");
}

void AddClasses(CTestHive& hive, bool is64Bit) {
    for (std::size_t i = 0; i < std::size(kClassNames); ++i) {
        AddClass(hive, kClasses, i,
                 uR"(C:\Program Files\Common Files\Tarnbrook Works\Shared\tbcore.dll)");
        if (is64Bit && i % 4 == 0) {
            AddClass(hive, kClasses + uR"(_ow6432Node\)", i,
                     uR"(C:\Program Files (x86)\Common Files\Tarnbrook Works\Shared\tbcore.dll)");
        }
    }
    hive.Key(kClasses + uR"(TypeLib\)" + kTypeLib + uR"(\4.2)")
        .String(u"", u"Tarnbrook Planner Library")
        .Key(kClasses + uR"(TypeLib\)" + kTypeLib + uR"(\4.2\0\)" + (is64Bit ? u"win64" : u"win32"))
        .String(u"", kProgramFolder + u"planner.exe");
    AddFileType(hive, u".tbplan", u"Tarnbrook.Plan");
    AddFileType(hive, u".tbtemplate", u"Tarnbrook.Template.Document");
}

void AddInstallation(CTestHive& hive) {
    const std::u16string current = kMachine + uR"(SOFTWARE\Microsoft\Windows\CurrentVersion\)";
    hive.Key(current + uR"(Uninstall\{6D0F3C52-88A1-4E0B-9C7D-2B5A41E7F010})")
        .String(u"DisplayName", u"Tarnbrook Planner")
        .String(u"DisplayVersion", u"4.2.0")
        .String(u"Publisher", u"Tarnbrook Works")
        .ExpandString(u"UninstallString", u"MsiExec.exe /X{6D0F3C52-88A1-4E0B-9C7D-2B5A41E7F010}")
        .Dword(u"EstimatedSize", 8192)
        .Dword(u"NoModify", 1);
    hive.Key(current + uR"(Installer\UserData\S-1-5-18\Products\25C3F0D61A88B0E4C9D7B2A5147E0F01)" +
             uR"(\InstallProperties)")
        .String(u"Publisher", u"Tarnbrook Works")
        .String(u"DisplayName", u"Tarnbrook Planner")
        .String(u"InstallLocation", kProgramFolder)
        .String(u"InstallDate", u"20260102");
    hive.Key(current + uR"(App Paths\planner.exe)")
        .String(u"", kProgramFolder + u"planner.exe")
        .String(u"Path", kProgramFolder);
    hive.Key(kMachine + uR"(SYSTEM\CurrentControlSet\Control\Session Manager\Environment)")
        .String(u"TARNBROOK_HOME", kProgramFolder)
        .ExpandString(u"TARNBROOK_DATA", uR"(%ProgramData%\Tarnbrook Works\Planner)")
        .String(u"TARNBROOK_UNITS", u"metric");
}

// A value of every type that the registry knows, and contents that ask for escapes.
void AddSettings(CTestHive& hive, bool is64Bit) {
    const std::u16string settings = kMachine + uR"(SOFTWARE\Tarnbrook Works\Planner)";
    hive.Key(settings)
        .String(u"", u"4.2")
        .String(u"InstallPath", kProgramFolder)
        .ExpandString(u"Queue", uR"(%ProgramData%\Tarnbrook Works\Planner\Queue)")
        .MultiString(u"Languages", {u"de", u"en", u"fr", u"ja"})
        .MultiString(u"No languages", {})
        .Binary(u"Window", std::string("\x2C\x00\x00\x00\x01\xFF\x80\x7F", 8))
        .Binary(u"Nothing", {})
        .Dword(u"First Day", 1)
        .Qword(u"Serial", 0x0123456789ABCDEFU)
        .Value(u"Untyped", 0, "any bytes")
        .Value(u"Port", 5, std::string("\x00\x00\x1F\x90", 4))
        .Value(u"Link", 6, std::string("R\0e\0g\0", 6))
        .Value(u"Resources", 8, std::string(16, '\0'))
        .Value(u"Full resources", 9, std::string(20, '\x01'))
        .Value(u"Required resources", 10, std::string(24, '\x02'));
    hive.Key(settings + uR"(\Texts)")
        .String(u"Tilde ~ percent % bar |", u"~ 100% | <plan> & \"more\"")
        .String(u"Two lines", u"first\r\nsecond")
        .String(u"\u00dcbersicht", u"M\u00e4rz, \u8a08\u753b, \U0001F4C5")
        .String(u"Key", uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Tarnbrook Works)");
    for (char16_t tool = u'A'; tool <= u'T'; ++tool) {
        hive.Key(settings + uR"(\Tools\Tool )" + tool)
            .Dword(u"Order", tool)
            .String(u"Caption", std::u16string(u"Tool ") + tool)
            .Dword(u"Visible", tool % 2);
    }
    if (is64Bit) {
        hive.Key(kMachine + uR"(SOFTWARE\_ow6432Node\Tarnbrook Works\Planner Import)")
            .String(u"InstallPath", uR"(C:\Program Files (x86)\Tarnbrook Works\Planner Import)")
            .Dword(u"Filters", 2);
    }
}

void AddUsers(CTestHive& hive) {
    const std::u16string settings = kUser + uR"(Software\Tarnbrook Works\Planner)";
    hive.Key(settings)
        .String(u"Recent", uR"(C:\Users\User\Documents\Plans)")
        .Dword(u"Zoom", 100)
        .Key(settings + uR"(\Toolbars)")
        .Binary(u"State", std::string(40, '\x11'))
        .Key(kUser + uR"(Software\Classes\.tbview)")
        .String(u"", u"Tarnbrook.View")
        .Key(kUser + u"Environment")
        .String(u"TARNBROOK_USER", u"1");
    hive.Key(uR"(REGISTRY\USER\S-1-5-21-7-7-7-500\Software\Tarnbrook Works\Planner)")
        .Dword(u"Zoom", 150);
    hive.Key(uR"(REGISTRY\USER\.DEFAULT\Software\Tarnbrook Works\Planner)").Dword(u"Zoom", 75);
}

void AddServices(CTestHive& hive) {
    const std::u16string services = kMachine + uR"(SYSTEM\CurrentControlSet\Services\)";
    hive.Key(services + u"TarnbrookSync")
        .Dword(u"Type", 16)
        .Dword(u"Start", 2)
        .Dword(u"ErrorControl", 1)
        .ExpandString(u"ImagePath",
                      uR"("C:\Program Files\Tarnbrook Works\Planner\sync service.exe")")
        .String(u"DisplayName", u"Tarnbrook Planner Synchronisation")
        .String(u"ObjectName", uR"(NT AUTHORITY\LocalService)")
        .MultiString(u"DependOnService", {u"RpcSs", u"Tcpip"})
        .Key(services + uR"(TarnbrookSync\Parameters)")
        .Dword(u"Port", 8080);
    hive.Key(services + u"tbplot")
        .Dword(u"Type", 1)
        .Dword(u"Start", 3)
        .ExpandString(u"ImagePath", uR"(System32\drivers\tbplot.sys)");
}

// What a capture picks up on the way and no package wants, and what it marks for itself.
void AddNoise(CTestHive& hive) {
    const std::u16string microsoft = uR"(Software\Microsoft\)";
    for (const std::u16string_view key : {uR"(GDIPlus)", uR"(Internet Explorer\TypedURLs)",
                                          uR"(Windows NT\CurrentVersion\AppCompatFlags)",
                                          uR"(Windows\CurrentVersion\Explorer\RecentDocs)"}) {
        hive.Key(kUser + microsoft + std::u16string(key)).Dword(u"Noise", 1);
    }
    for (const std::u16string_view key : {uR"(Tracing\planner)", uR"(Windows Search\Usage)",
                                          uR"(DirectInput\MostRecentApplication)"}) {
        hive.Key(kMachine + uR"(SOFTWARE\Microsoft\)" + std::u16string(key)).Dword(u"Noise", 1);
    }
    hive.Key(kMachine + uR"(HARDWARE\DEVICEMAP)").Dword(u"Noise", 1);
    hive.Key(kMachine + uR"(SOFTWARE\Tarnbrook Works\Planner\Hidden)")
        .Dword(u"CitrixAIEKeyVirtualStatus", 4)
        .String(u"Gone", u"not to be seen")
        .Key(kMachine + uR"(SOFTWARE\Tarnbrook Works\Planner\Updates)")
        .Dword(u"CitrixAIEKeyVirtualStatus", 1)
        .String(u"CitrixAIEDeletedValues", u"Last Check")
        .String(u"Channel", u"stable");
}

}  // namespace

CTestHive MakeHive(bool is64Bit) {
    CTestHive hive;
    AddClasses(hive, is64Bit);
    AddInstallation(hive);
    AddSettings(hive, is64Bit);
    AddUsers(hive);
    AddServices(hive);
    AddNoise(hive);
    return hive;
}
