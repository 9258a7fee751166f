// Writes the first inputs of fuzzers: `make_corpus FOLDER`. Those of each have a folder in it.
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvpackage/elements.h"
#include "platform/described/machine_description.h"
#include "support/hive_builder.h"
#include "support/hive_log_builder.h"
#include "support/link_builder.h"
#include "support/little_endian.h"
#include "support/module_builder.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using std::string_literals::operator""s;

using Inputs = std::vector<std::string>;

// A small hive of every form that a reader must know.
CTestHive MakeHive(std::uint32_t version, EHiveList list, std::size_t partSize) {
    CTestHive hive;
    hive.Version(version).Lists(list, partSize);
    hive.Key(u"A\\B\\C").String(u"", u"text").Dword(u"d", 1).Qword(u"q", 2);
    hive.Key(u"A\\D").MultiString(u"m", {u"a", u"b"}).ExpandString(u"e", u"%a%");
    hive.Key(std::u16string(u"nul\0x", 5)).Binary(std::u16string(u"v\0x", 3), "123456");
    hive.WideNames().Key(u"\u041A\\\xD800").Value(u"\xDC00", 0x77, "x").WideNames(false);
    return hive;
}

std::string Divided(std::initializer_list<std::string> parts) {
    std::string bytes = "logs";
    for (const std::string& part : parts) {
        AppendNumber(bytes, part.size(), 4);
        bytes += part;
    }
    return bytes;
}

std::string MakeDirtyHive(bool hasVector) {
    CTestHive source;
    source.Sequences(3, 2).Key(u"First");
    const std::string before = source.Bytes();
    const std::string after = source.Key(u"Second").Binary(u"v", std::string(5000, 'x')).Bytes();
    if (hasVector) {
        return Divided({before, MakeDirtyVectorLog(before, after)});
    }
    return Divided({before, CTestHiveLog(before).Entry(2, before, after).Bytes(),
                    CTestHiveLog(before).Entry(3, before, before).Bytes()});
}

Inputs MakeHives() {
    CTestHive many = MakeHive(5, EHiveList::Lh, 8);
    for (int i = 0; i < 40; ++i) {
        const std::u16string name = Utf16("n" + std::to_string(i));
        many.Key(u"Values").Dword(name, 1).Key(u"Keys\\" + name);
    }
    const SHiveCell list = {SHiveCell::SubKeys, u"A"};
    return {
        MakeHive(2, EHiveList::Li, 100).Bytes(),
        MakeHive(3, EHiveList::Lf, 2).Bytes(),
        MakeHive(5, EHiveList::Lh, 1).Bytes(),
        MakeHive(5, EHiveList::Li, 1).Bytes(),
        MakeHive(5, EHiveList::Lh, 100).Binary(u"l", std::string(16345, 'x')).Bytes(),
        MakeHive(3, EHiveList::Lh, 100).Binary(u"l", "db" + std::string(16345, 'x')).Bytes(),
        MakeHive(6, EHiveList::Lh, 100).Link(list, 4, {SHiveCell::Key, u""}).Bytes(),
        MakeHive(6, EHiveList::Lh, 100).Link(list, 4, {SHiveCell::Key, u"A\\D"}).Bytes(),
        many.Bytes(),
        MakeDirtyHive(true),
        MakeDirtyHive(false),
    };
}

Inputs MakeLinks() {
    CTestLink all;
    all.DriveItem(u'C').FolderItem(u"PROGRA~1", u"Program Files").FileItem(u"A.EXE", u"a.exe");
    all.Local(uR"(C:\Program Files)", u"a.exe").Network(uR"(\\s\p)", u"a.exe").WideInfo();
    all.Description(u"d").RelativePath(u"a.exe").WorkingDirectory(uR"(C:\)").Arguments(u"/a");
    all.Icon(u"i.ico", 1).Environment(u"%a%").IconEnvironment(u"%i%").Block(0xA0000009, "1234");
    const CTestLink old = CTestLink().Ansi().ShareItem(uR"(\\s\p)").FileItem(u"A.EXE", u"");
    const std::string known(16, '\1');
    return {all.Bytes(), old.Bytes(), CTestLink().RecycleBinItem().Flags(0x1000).Bytes(),
            CTestLink().Block(0xA000000B, known + std::string(4, '\0')).Bytes(),
            CTestLink().Block(0xA0000005, std::string("\5\0\0\0\0\0\0\0", 8)).Bytes()};
}

Inputs MakeMachines() {
    platform::SMachineDescription machine = platform::GetBuiltInMachine();
    machine.shares.emplace(uR"(\\server\share)", "/srv");
    machine.environment.insert_or_assign(u"ProgramFiles(x86)", u"'\"\t\u00E9\u20AC");
    return {
        platform::FormatMachineDescription(machine), "[folders]\n[registry]\nhivelist = []\n",
        "[folders]\nFOLDERID_LocalAppDataLow = '\\\\?\\UNC\\s\\p\\a'\n[drives]\n\"c:\" = \"/\"\n"};
}

// What follows the declaration of a manifest: each kind of element by itself with some texts. The
// first byte is none of the text.
Inputs MakeManifests() {
    const std::string start = "0<Package Version=\"1\">\r\n";
    const std::string end = "</Package>\r\n";
    Inputs inputs = {start +
                     "<Properties>\r\n<Name>a</Name>\r\n<Architecture>x64</Architecture>\r\n"
                     "<PerUserInstall>1</PerUserInstall>\r\n</Properties>\r\n<CreateKeys />\r\n" +
                     end};
    for (const auto& [collection, element] : kElements) {
        std::string items;
        for (const char* text : {"C:\\a", "~0001~~ |%&amp;"}) {
            for (const char unit : element) {
                const bool isMark = std::string_view("@#$*").find(unit) != std::string_view::npos;
                items += isMark ? text : std::string(1, unit);
            }
            items += "\r\n";
        }
        const std::string name(collection);
        inputs.push_back(start + "<" + name + ">\r\n" + items + "</" + name + ">\r\n" + end);
    }
    return inputs;
}

// The same after the root's tag.
Inputs MakePackages() {
    Inputs inputs = MakeManifests();
    for (std::string& input : inputs) {
        input.erase(0, input.find('\n') + 1);
    }
    return inputs;
}

Inputs MakeAssemblies() {
    return {
        "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\"><assemblyIdentity name=\"a\" "
        "type=\"win32\" version=\"2\" publicKeyToken=\"1\" processorArchitecture=\"x86\"/>"
        "<file name=\"b.dll\"/><file name=\"B.dll\"/></assembly>",
        "<?xml version=\"1.0\"?><a:ASSEMBLY xmlns:a=\"u\"><!----><assemblyidentity NAME=\"~0041"
        "&#x41;\" language=\"en\"></assemblyidentity></a:ASSEMBLY>"};
}

Inputs MakePaths() {
    return {"C:\\Program Files\\A\\\nb%|.exe\n\\\\?\\UNC\\server\\share\\..\\a S-1-5-21-7",
            "\\\\server\\share\\Start\\\nx\nC:Program Files~0041\\.",
            "\nHKLM\nHKCU\\Software\\Classes", "\n\n\\REGISTRY\\USER\\S-1-5-21-7_Classes\\a",
            "\n\n\\\\?\\c:\\~\xF2|%a%||"};
}

Inputs MakeConverted() {
    return {
        "C:\\Windows\\System\nC:\\W\n\\\\s\\p\nC:\\Windows\\a;c:\\windowsOld;\\\\s\\p\\x C:\\",
        "a\\b\n%T1%\\c\n%CSIDL_WINDOWS%\\d\nC:\\Windows\\d\na\\b%%SystemDrive%\\%t4%\\%T3%x%T0%",
        "HKEY_CLASSES_ROOT\\a;hkey_local_machine\\system\\currentcontrolset\\Hardware "
        "Profiles\\Current",
        "HKEY_USERS\\S-1-5-21-7_Classes\\Wow6432Node;HKEY_CURRENT_USER\\Software\\Classes\\b"
        "HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001\\Hardware Profiles\\0001;HKEY_CURRENT_CONFIG"};
}

Inputs MakeLogs() {
    const std::string error = "<font color=\"#FF0000\"><span style=\"font-weight: bold\">Error:";
    const auto bytes = [](const std::string& text) { return UnitBytes(Utf16(text)); };
    return {"%1 %2%n%%%b%t%r%!%.%0x\0a%1\r\nb\0c"s,
            "%1!-8.3s! %2!*.*s! %1!08I64X! %1!c! %1!hhd! %99!s!\0a"s,
            bytes(error + "</span></font> a\r\nb<br>\r\n" + error + "</span></font> c")};
}

Inputs MakeJson() {
    const std::string result =
        R"({"schema":1,"name":"a","profile":"/p","program":"1","digests":{"profile":"1","hives":"2",)"
        R"("machine":"3","options":"4","state":"5"},"end":"signal","signal":9,"seconds":1.5,)"
        R"("peakMemory":5,"status":1,"reason":"r\nr","result":)";
    const std::string conversion =
        R"({"schema":1,"command":"convert","status":3,"targets":[{"items":{"CreateKeys":2},"leftOut":)"
        R"({"own-output":1}}],"messages":[{"level":"loss","text":"\ud800","reason":"no-memory"},)"
        R"({"level":"error","text":"std::bad_alloc","status":8}]})";
    const std::string record =
        "{\"record\":1,\"state\":\"running\",\"status\":0,\"losses\":1,\"missing\":0}   \n"
        R"({"in":1,"thing":"file","outcome":"lost","reason":"copy-failed","source":"\ud800\udc00",)"
        R"("target":"C:\\a","detail":"\udfff","status":5,"line":3,"log":2})"
        "\n{\"in\":1,\"thing\":\"value\",\"outcome\":\"created\",\"reason\":\"created\","
        "\"name\":\"\\u202e\",\"collection\":\"CreateValues\"}\n";
    return {result + "null}\n", result + conversion + "}\n", conversion, record,
            record + "{\"in\":[{\"a\":1e5}],\"x\":nul"};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_corpus FOLDER\n", stderr);
        return 2;
    }
    const std::pair<const char*, Inputs> corpora[] = {
        {"assembly", MakeAssemblies()},
        {"converter", MakeConverted()},
        {"hive", MakeHives()},
        {"json", MakeJson()},
        {"log", MakeLogs()},
        {"machine", MakeMachines()},
        {"manifest", MakeManifests()},
        {"module", {MakeModule(1), MakeModule(2, true), MakeModule(0)}},
        {"package", MakePackages()},
        {"path", MakePaths()},
        {"shell_link", MakeLinks()},
        {"xml", MakeAssemblies()},
    };
    for (const auto& [name, inputs] : corpora) {
        int number = 0;
        for (const std::string& input : inputs) {
            WriteFileBytes(std::filesystem::path(argv[1]) / name / std::to_string(number++), input);
        }
    }
    return 0;
}
