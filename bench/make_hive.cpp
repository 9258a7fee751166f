// Writes a large captured hive for measurements: `make_hive FILE KEYS` gives as many keys, and ten
// values for each. The same number gives the same hive everywhere.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

#include "support/hive_builder.h"
#include "support/text.h"

namespace {

constexpr std::array<std::u16string_view, 24> kValueNames = {
    u"AppId",         u"ThreadingModel",  u"DisplayName",      u"DisplayVersion",
    u"Publisher",     u"InstallLocation", u"InstallSource",    u"UninstallString",
    u"EstimatedSize", u"Language",        u"VersionMajor",     u"VersionMinor",
    u"NoModify",      u"NoRepair",        u"WindowsInstaller", u"FriendlyTypeName",
    u"EditFlags",     u"PerceivedType",   u"ContentType",      u"LocalizedString",
    u"LastUsed",      u"Settings",        u"WindowPosition",   u"RecentFiles"};

constexpr std::array<std::u16string_view, 12> kWords = {
    u"Common",  u"Files", u"Example", u"Viewer",   u"Components", u"Library",
    u"Service", u"Tools", u"Shared",  u"Document", u"Import",     u"Module"};

class CHiveMaker {
public:
    explicit CHiveMaker(std::uint64_t keyCount) : m_keysLeft(keyCount) {}

    // Makes keys until there are enough, in the proportions of a captured application.
    std::string Make() {
        while (m_keysLeft != 0) {
            const std::u16string guid = Guid();
            switch (Pick(12)) {
                case 0:
                case 1:
                case 2:
                case 3:
                    AddClass(guid);
                    break;
                case 4:
                case 5:
                case 6:
                    AddKey(kClasses + u"Interface\\" + guid);
                    AddKey(kClasses + u"Interface\\" + guid + u"\\ProxyStubClsid32");
                    break;
                case 7:
                    AddKey(kClasses + u"TypeLib\\" + guid);
                    AddKey(kClasses + u"TypeLib\\" + guid + u"\\1.0");
                    AddKey(kClasses + u"TypeLib\\" + guid + u"\\1.0\\0");
                    AddKey(kClasses + u"TypeLib\\" + guid + u"\\1.0\\0\\win64");
                    break;
                case 8:
                    AddFileType();
                    break;
                case 9:
                    AddKey(kSoftware + u"Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + guid);
                    break;
                default:
                    AddKey(u"REGISTRY\\USER\\CurrentUser\\Software\\Example\\" + Word() + u"\\" +
                           guid);
                    break;
            }
        }
        return m_hive.Bytes();
    }

private:
    std::uint64_t Pick(std::uint64_t limit) { return m_random() % limit; }

    std::u16string Guid() {
        std::array<char, 40> text{};
        const std::uint64_t high = m_random();
        const std::uint64_t low = m_random();
        std::snprintf(text.data(), text.size(), "{%08X-%04X-%04X-%04X-%012llX}",
                      static_cast<unsigned>(high >> 32), static_cast<unsigned>(high >> 16 & 0xFFFF),
                      static_cast<unsigned>(high & 0xFFFF), static_cast<unsigned>(low >> 48),
                      static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFU));
        return Utf16(text.data());
    }

    std::u16string Word() { return std::u16string(kWords[Pick(kWords.size())]); }

    std::u16string Path() {
        std::u16string path = u"C:\\Program Files\\Example Company Ltd";
        for (std::uint64_t i = 2 + Pick(3); i != 0; --i) {
            path += u"\\" + Word();
        }
        return path + u".dll";
    }

    void AddClass(const std::u16string& guid) {
        AddKey(kClasses + u"CLSID\\" + guid);
        AddKey(kClasses + u"CLSID\\" + guid + u"\\InprocServer32");
        AddKey(kClasses + u"CLSID\\" + guid + u"\\ProgID");
    }

    void AddFileType() {
        const std::u16string name = u"Example." + Word() + Utf16(std::to_string(m_keysLeft));
        AddKey(kClasses + name);
        AddKey(kClasses + name + u"\\CLSID");
        AddKey(kClasses + name + u"\\shell");
        AddKey(kClasses + name + u"\\shell\\open");
        AddKey(kClasses + name + u"\\shell\\open\\command");
    }

    void AddKey(const std::u16string& path) {
        if (m_keysLeft == 0) {
            return;
        }
        --m_keysLeft;
        m_hive.Key(path);
        std::uint64_t count = 10;
        if (Pick(10) < 6) {
            m_hive.String(u"", Path());
            --count;
        }
        const std::uint64_t first = Pick(kValueNames.size());
        for (; count != 0; --count) {
            AddValue(kValueNames[(first + count) % kValueNames.size()]);
        }
    }

    void AddValue(std::u16string_view name) {
        // The default values are texts already: the other kinds have their share of the rest.
        const std::uint64_t kind = Pick(94);
        if (kind < 22) {
            m_hive.Dword(name, static_cast<std::uint32_t>(m_random()));
        } else if (kind < 29) {
            m_hive.ExpandString(name, u"%ProgramFiles%\\" + Path());
        } else if (kind < 37) {
            m_hive.Binary(name, std::string(8 + Pick(193), static_cast<char>(Pick(256))));
        } else if (kind < 40) {
            m_hive.MultiString(name, {Word(), Path(), Word()});
        } else if (kind < 42) {
            m_hive.Qword(name, m_random());
        } else {
            m_hive.String(name, Pick(2) == 0 ? Path() : Word() + u" " + Word());
        }
    }

    const std::u16string kSoftware = u"REGISTRY\\MACHINE\\SOFTWARE\\";
    const std::u16string kClasses = kSoftware + u"Classes\\";

    std::mt19937_64 m_random{1};
    std::uint64_t m_keysLeft;
    CTestHive m_hive;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: make_hive FILE KEYS\n", stderr);
        return 2;
    }
    const std::string bytes = CHiveMaker(std::strtoull(argv[2], nullptr, 10)).Make();
    std::ofstream file(argv[1], std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    return file ? 0 : 1;
}
