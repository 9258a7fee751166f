#include <cstdint>
#include <string>
#include <string_view>

#include "windows/twins.h"

namespace {

const std::u16string kMachine = uR"(REGISTRY\MACHINE\)";
const std::u16string kUser = uR"(REGISTRY\USER\CurrentUser\)";
const std::u16string kServices = kMachine + uR"(SYSTEM\CurrentControlSet\Services\)";

std::u16string Widened(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// Units of a text in the order of their bytes, without a terminator.
std::string Units(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

void AddTypes(CTestHive& hive) {
    hive.Key(kMachine + uR"(SOFTWARE\Twins\Types)");
    for (std::uint32_t type = 0; type <= 13; ++type) {
        const std::u16string name = u"Type " + Widened(std::to_string(type));
        hive.Value(name + u" of nothing", type, {});
        for (const std::size_t size : {1U, 2U, 3U, 4U, 5U, 8U, 9U}) {
            hive.Value(name + u" of " + Widened(std::to_string(size)), type,
                       std::string_view("a\0b\0\0\0\xFF\xD8z", 9).substr(0, size));
        }
    }
    hive.Value(u"No such type", 0x12345678, "abcd")
        .Dword(u"Highest", 0xFFFFFFFFU)
        .Dword(u"Lowest", 0)
        .Qword(u"Highest 64", 0xFFFFFFFFFFFFFFFFU)
        .Qword(u"Lowest 64", 0)
        .String(u"Empty", u"")
        .Value(u"Open", 1, Units(u"no terminator"))
        .Value(u"Inner NUL", 1, Units(std::u16string_view(u"a\0b\0", 4)))
        .Value(u"Odd", 2, Units(u"odd") + "x")
        .Value(u"Open list", 7, Units(std::u16string_view(u"a\0b", 3)))
        .Value(u"List with a gap", 7, Units(std::u16string_view(u"a\0\0b\0\0", 6)))
        .MultiString(u"Backslashes", {uR"(C:\Windows\System32)", uR"(\0 \\ \)", u"~ % |"})
        .Binary(u"Large", std::string(70000, '\x5A'))
        .String(u"Long", std::u16string(20000, u'\u00e9'));
}

// Texts with paths and keys, which become portable, and what must not.
void AddTexts(CTestHive& hive) {
    const std::u16string user = Widened(CapturedUser());
    hive.Key(kMachine + uR"(SOFTWARE\Twins\Texts)");
    int number = 0;
    for (const std::u16string& text : {
             std::u16string(uR"(C:\WINDOWS\system32;c:\program files\a;C:\Windowsold)"),
             std::u16string(
                 uR"("C:\Program Files (x86)\Common Files\a b\c.exe" /x:C:\ProgramData)"),
             uR"(C:\users\)" + user + uR"(\AppData\Roaming\Twins;C:\USERS\)" + user,
             uR"(C:\Users\)" + user + uR"(\Documents\a.txt)",
             uR"(C:\Users\)" + user + uR"(x\Documents\a.txt)",
             std::u16string(uR"(C:\PROGRA~1\Twins\a.dll)"),
             std::u16string(uR"(\\?\C:\Windows\Fonts\a.fon \??\C:\Windows)"),
             std::u16string(uR"(\\server\share\a D:\a C: C:\ c:\)"),
             std::u16string(uR"(file:///C:/Windows/a C:/Windows)"),
             std::u16string(u"%SystemRoot%\\a %CSIDL_WINDOWS%\\b %SID% %a% 100% | || |%"),
             std::u16string(uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services)"),
             std::u16string(uR"(HKLM\SOFTWARE\Wow6432Node\a, HKCU\Software\Classes\b)"),
             std::u16string(uR"(HKEY_USERS\S-1-5-21-0-0-0-1000\Software)"),
             std::u16string(uR"(HKEY_USERS\S-1-5-21-0-0-0-1000_Classes\a)"),
             std::u16string(u"S-1-5-21-0-0-0-1000 S-1-5-21-0-0-0-10001"),
             std::u16string(u"<a href=\"b\">c & d</a> 'e' \t\r\n\x01\x1F\x7F"),
             std::u16string(u"~ ~~ ~0041 ]]>"),
             std::u16string(u"\u00c4\u00df\u0130\u0131\u017f\u212a\ufb01\ue000\uf03a\ufeff\ufffd"),
             std::u16string(u"\U0001F4C5 \U00010400 e\u0301 \u05d0\u0627\u3042\uac00"),
             std::u16string({u'a', 0xD800, u'b', 0xDC00, u'c', 0xDC00, 0xD800, u'd', 0xFFFF}),
         }) {
        hive.String(u"Text " + Widened(std::to_string(number)), text)
            .ExpandString(u"Expand " + Widened(std::to_string(number)), text)
            .MultiString(u"Multi " + Widened(std::to_string(number)), {text, u"x", text})
            .String(text, u"as a name");
        ++number;
    }
}

// Names whose letters have another case: an item is known by its folded name, whose hash decides
// the place of the item in the manifest.
void AddLetters(CTestHive& hive) {
    const std::u16string key = kMachine + uR"(SOFTWARE\Twins\Letters\)";
    for (unsigned first = 0x80; first < 0x10000; first += 16) {
        // With a number, since without case some are the same.
        std::u16string name = Widened(std::to_string(first));
        for (unsigned unit = first; unit < first + 16; ++unit) {
            name += static_cast<char16_t>(unit);
        }
        hive.Key(key + name).String(name, name);
    }
}

// Names in no order, with the characters that stand between capitals and small letters.
void AddOrder(CTestHive& hive) {
    const std::u16string key = kMachine + uR"(SOFTWARE\Twins\Order)";
    const std::u16string_view letters = u"Zz_a[A]^`~{}|0-9 .!'";
    for (unsigned i = 0; i < 400; ++i) {
        const unsigned number = i * 7919 % 400;
        const std::u16string name = std::u16string{letters[number % 20], letters[number / 20]};
        hive.Key(key).Dword(name + Widened(std::to_string(number)), i);
        hive.Key(key + u'\\' + name + Widened(std::to_string(number))).String(u"", name);
    }
}

// Names that need care wherever they are taken apart.
void AddNames(CTestHive& hive) {
    const std::u16string key = kMachine + uR"(SOFTWARE\Twins\Names\)";
    for (const std::u16string& name :
         {std::u16string(u"."), std::u16string(u".."), std::u16string(u" led"),
          std::u16string(u"trailed "), std::u16string(u"a/b"), std::u16string(u"a:b*?\"<>|"),
          std::u16string(u"@"), std::u16string(u"%SystemRoot%"), std::u16string(u"100% | ~"),
          std::u16string(u"HKLM"), std::u16string(u"C:"), std::u16string(255, u'k'),
          std::u16string({u'a', 0xD800, u'b', 0xDC00, 0x1F, 1})}) {
        hive.Key(key + name).String(name, name);
    }
    hive.Key(key + u"Values")
        .String(std::u16string(256, u'v'), u"256")
        .String(std::u16string(16383, u'v'), u"16383")
        .String(uR"(a\b\C:\Windows)", u"backslashes");
}

void AddStatus(CTestHive& hive) {
    const std::u16string key = kMachine + uR"(SOFTWARE\Twins\Status\)";
    for (std::uint32_t status = 0; status <= 9; ++status) {
        hive.Key(key + Widened(std::to_string(status)))
            .Dword(u"CitrixAIEKeyVirtualStatus", status)
            .String(u"CitrixAIEDeletedValues", u"Gone")
            .String(u"Gone", u"a")
            .String(u"Here", u"b")
            .Key(key + Widened(std::to_string(status)) + u"\\Below")
            .String(u"", u"c");
    }
    hive.Key(key + u"Wrong type")
        .String(u"CitrixAIEKeyVirtualStatus", u"\x04")
        .String(u"a", u"b")
        .Key(key + u"Wrong size")
        .Qword(u"citrixaiekeyvirtualstatus", 4)
        .String(u"a", u"b");
}

// Keys that are known under several names, and values that are lifted out.
void AddPlaces(CTestHive& hive) {
    for (const std::u16string& key : {
             kMachine + uR"(SOFTWARE\_ow6432Node\Twins)",
             kMachine + uR"(SOFTWARE\Wow6432Node\Twins 2)",
             kMachine + uR"(SOFTWARE\Twins\_OW6432NODE\Twins 3)",
             kMachine + uR"(SOFTWARE\Classes\_ow6432Node\CLSID\{1})",
             kMachine + uR"(SOFTWARE\Classes\CLSID\{1})",
             kMachine + uR"(SYSTEM\ControlSet001\Control\Twins)",
             kMachine + uR"(SYSTEM\ControlSet002\Control\Twins)",
             kMachine + uR"(SYSTEM\CurrentControlSet\Control\Twins)",
             kMachine + uR"(SYSTEM\CurrentControlSet\Control\Twins 2)",
             kMachine + uR"(SOFTWARE\Microsoft\Windows\CurrentVersion\SideBySide\Winners\a)",
             kMachine + uR"(COMPONENTS\DerivedData\Components\a)",
             kMachine + uR"(HARDWARE\DEVICEMAP\Twins)",
             kMachine + uR"(SAM\SAM\Twins)",
             kUser + uR"(Software\Classes\.twin)",
             kUser + uR"(Software\Classes\_ow6432Node\CLSID\{2})",
             kUser + uR"(Software\CurrentUser\MACHINE\USER)",
             kUser + u"Environment",
             std::u16string(uR"(REGISTRY\USER\S-1-5-21-0-0-0-1000\Software\Twins)"),
             std::u16string(uR"(REGISTRY\USER\S-1-5-21-0-0-0-1000_Classes\.twin)"),
             std::u16string(uR"(REGISTRY\USER\S-1-5-21-7-7-7-500\Software\Twins)"),
             std::u16string(uR"(REGISTRY\USER\.DEFAULT\Software\Twins)"),
             std::u16string(uR"(REGISTRY\USER\S-1-5-18\Software\Twins)"),
             std::u16string(uR"(REGISTRY\OTHER\Twins)"),
             std::u16string(u"Elsewhere"),
         }) {
        hive.Key(key).String(u"", u"default").String(u"Place", key).Dword(u"Number", 1);
    }
    hive.Key(kMachine + uR"(SYSTEM\CurrentControlSet\Control\Session Manager\Environment)")
        .String(u"TWINS", uR"(C:\Program Files\Twins)")
        .ExpandString(u"Path", uR"(%SystemRoot%\a;C:\Windows\System32)")
        .String(u"T\u00dcR & <Tor>", u"\u00fc & \"<>\" %")
        .String(u"EMPTY", u"")
        .MultiString(u"LIST", {u"a", u"b"})
        .Binary(u"BYTES", "abc")
        .Value(u"OPEN", 1, Units(u"open") + "x")
        .Dword(u"NUMBER", 7);
    hive.Key(kMachine + uR"(SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\UserData\a)" +
             uR"(\Products\b\InstallProperties)")
        .String(u"Publisher", u"T\u00fcftler & S\u00f6hne <1> \"2\"")
        .ExpandString(u"InstallSource", uR"(C:\Windows\Installer)")
        .Dword(u"Language", 1033);
    for (const std::u16string_view name : {u"Twin", u"zwei", u"TWIN 2", u"\u00e4rger"}) {
        hive.Key(kServices + std::u16string(name))
            .Dword(u"Type", 16)
            .ExpandString(u"ImagePath", uR"(C:\Program Files\Twins\a.exe -k "b c")")
            .Key(kServices + std::u16string(name) + uR"(\Parameters)")
            .Dword(u"Port", 1);
    }
}

}  // namespace

CTestHive MakeCornersHive(bool is64Bit) {
    CTestHive hive;
    AddTypes(hive);
    AddTexts(hive);
    AddOrder(hive);
    AddNames(hive);
    AddStatus(hive);
    AddPlaces(hive);
    if (is64Bit) {
        AddLetters(hive);
    }
    return hive;
}
