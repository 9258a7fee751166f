#include "random_packages.h"

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include "support/hive_builder.h"
#include "support/link_builder.h"
#include "support/package_builder.h"

namespace fs = std::filesystem;

namespace {

// The distributions of the standard library differ between systems, so the numbers are drawn by
// hand.
class CRandom {
public:
    explicit CRandom(std::uint64_t seed) : m_engine(seed) {}

    // A number from 0 to `limit` - 1.
    std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(m_engine() % limit); }
    std::size_t Between(std::size_t first, std::size_t last) {
        return first + Below(last - first + 1);
    }
    // True in one of `cases` cases.
    bool OneIn(std::size_t cases) { return Below(cases) == 0; }

    template <class TTable>
    auto Pick(const TTable& table) {
        return table[Below(std::size(table))];
    }

    std::string Bytes(std::size_t size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(Below(256));
        }
        return bytes;
    }

    std::string Hex(std::size_t digits) {
        std::string text;
        while (text.size() < digits) {
            text += "0123456789ABCDEF"[Below(16)];
        }
        return text;
    }

private:
    std::mt19937_64 m_engine;
};

constexpr const char* kMakers[] = {"Tarnbrook Works", "Hollin Software", "Greywater", "Ostby & Co"};
constexpr const char* kProducts[] = {"Planner", "Ledger", "Atlas", "Notes", "Sketch", "Courier"};
constexpr const char* kNames[] = {
    "main",      "core",   "help",         "strings", "theme",  "\u00dcbersicht", "plan~1",
    "100% done", "%TEMP%", "\u8a08\u753b", "a.b.c",   "Readme", "data\U0001F4C5"};
constexpr const char* kExtensions[] = {".dll", ".exe", ".txt", ".xml", ".ini", ".dat", ""};
constexpr const char* kPlaces[] = {"C/Program Files/%/",
                                   "C/Program Files (x86)/%/",
                                   "C/ProgramData/%/",
                                   "C/Users/User/AppData/Roaming/%/",
                                   "C/Users/User/AppData/Local/%/",
                                   "C/Windows/System32/",
                                   "C/Windows/Fonts/",
                                   "C/Users/Public/Documents/%/",
                                   "D/Data/%/"};
constexpr const char16_t* kTexts[] = {
    uR"(C:\Program Files\Hollin Software\Ledger\main.exe)",
    uR"("%ProgramFiles%\Atlas\core.exe" "%1")",
    uR"(c:\windows\System32;C:\ProgramData\Greywater;D:\Data)",
    uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Greywater)",
    uR"(~ 100% | <a> & "b")",
    u"first\r\nsecond",
    u"",
    u"\u00dcbersicht \U0001F4C5 \xD800",
};
constexpr const char16_t* kKeys[] = {
    uR"(REGISTRY\MACHINE\SOFTWARE\)",
    uR"(REGISTRY\MACHINE\SOFTWARE\_ow6432Node\)",
    uR"(REGISTRY\MACHINE\SOFTWARE\Classes\)",
    uR"(REGISTRY\USER\CurrentUser\Software\)",
    uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Services\)",
    uR"(REGISTRY\MACHINE\SYSTEM\ControlSet002\Noise )",
    uR"(REGISTRY\MACHINE\HARDWARE\Noise )",
    uR"(REGISTRY\USER\CurrentUser\Software\Microsoft\GDIPlus\)",
};

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

std::string Numbered(std::string_view text, std::size_t number) {
    return std::string(text) + ' ' + std::to_string(number);
}

void AddValues(CRandom& random, CTestHive& hive) {
    for (std::size_t count = random.Below(8); count != 0; --count) {
        const std::u16string name = Wide(Numbered("Value", count));
        switch (random.Below(7)) {
            case 0:
                hive.Dword(name, static_cast<std::uint32_t>(random.Below(1U << 31)));
                break;
            case 1:
                hive.Binary(name, random.Bytes(random.Below(300)));
                break;
            case 2:
                hive.MultiString(name, {random.Pick(kTexts), u"b", random.Pick(kTexts)});
                break;
            case 3:
                hive.ExpandString(name, random.Pick(kTexts));
                break;
            case 4:
                hive.Value(name, static_cast<std::uint32_t>(random.Below(14)),
                           random.Bytes(random.Below(20)));
                break;
            default:
                hive.String(random.OneIn(6) ? u"" : name, random.Pick(kTexts));
        }
    }
}

CTestHive MakeHive(CRandom& random) {
    CTestHive hive;
    for (std::size_t count = random.Between(5, 120); count != 0; --count) {
        std::u16string path =
            random.Pick(kKeys) + Wide(Numbered(random.Pick(kProducts), count % 9));
        for (std::size_t depth = random.Below(4); depth != 0; --depth) {
            path += uR"(\Key )" + Wide(std::to_string(random.Below(20)));
        }
        AddValues(random, hive.Key(path));
        if (random.OneIn(15)) {
            hive.Dword(u"CitrixAIEKeyVirtualStatus", random.OneIn(2) ? 4 : 1);
        }
    }
    hive.Key(uR"(REGISTRY\MACHINE\SYSTEM\CurrentControlSet\Control\Session Manager\Environment)")
        .String(u"RANDOM_HOME", random.Pick(kTexts));
    return hive;
}

std::string MakeLink(CRandom& random, const std::string& product) {
    CTestLink link;
    link.Local(uR"(C:\Program Files\)" + Wide(product) + uR"(\main.exe)", u"");
    if (random.OneIn(2)) {
        link.Arguments(random.Pick(kTexts));
    }
    if (random.OneIn(3)) {
        link.Icon(uR"(C:\Windows\System32\shell32.dll)",
                  -static_cast<std::int32_t>(random.Below(9)));
    }
    return link.Bytes();
}

void AddFiles(CRandom& random, CTestTarget& target, const std::string& product, EFault fault) {
    for (std::size_t folders = random.Between(1, 12); folders != 0; --folders) {
        std::string place = random.Pick(kPlaces);
        if (const std::size_t mark = place.find('%'); mark != std::string::npos) {
            place.replace(mark, 1, std::string(random.Pick(kMakers)) + "/" + product);
        }
        for (std::size_t depth = random.Below(5); depth != 0; --depth) {
            place += Numbered("folder", random.Below(6)) + "/";
        }
        for (std::size_t files = random.Below(9); files != 0; --files) {
            const std::string name =
                place + std::string(random.Pick(kNames)) + random.Hex(2) + random.Pick(kExtensions);
            if (random.OneIn(12)) {
                target.DeletedFile(name);
            } else {
                target.File(name, random.Bytes(random.Below(4096)));
            }
        }
        if (random.OneIn(3)) {
            target.Placeholder(place + "empty");
        }
        if (random.OneIn(2) || fault == EFault::GarbageLinks) {
            target.File(
                place + "shortcut " + random.Hex(2) + ".lnk",
                fault == EFault::GarbageLinks ? random.Bytes(100) : MakeLink(random, product));
        }
    }
}

void AddHive(CRandom& random, CTestTarget& target, EFault fault) {
    CTestHive hive = MakeHive(random);
    if (fault == EFault::DirtyHive) {
        hive.Sequences(7, 6);
    }
    const std::string bytes = hive.LoadableBytes();
    if (fault == EFault::GarbageHive) {
        target.Hive("no hive at all");
    } else if (fault == EFault::CutHive) {
        target.Hive(std::string_view(bytes).substr(0, bytes.size() / 2));
    } else if (fault != EFault::NoHive) {
        target.Hive(bytes);
    }
}

std::string MakeGuid(CRandom& random) {
    return random.Hex(8) + "-" + random.Hex(4) + "-" + random.Hex(4) + "-" + random.Hex(4) + "-" +
           random.Hex(12);
}

CTestTarget MakeTarget(CRandom& random, const std::string& guid, const std::string& product,
                       EFault fault) {
    CTestTarget target(guid, "1");
    target.Elements("<Name>" + product + "</Name><CreateOS>" + std::to_string(random.Below(13)) +
                    "</CreateOS>");
    if (random.OneIn(2)) {
        target.Service("<Name>" + product +
                       "Service</Name><VirtualPath>C:\\Windows\\System32\\a.exe"
                       "</VirtualPath><Type>16</Type><StartType>2</StartType>");
    }
    if (random.OneIn(2)) {
        target.Script("prepare.cmd", "@echo off\r\n", "<Prelaunch>1</Prelaunch>");
    }
    target.Sandbox();
    AddFiles(random, target, product, fault);
    AddHive(random, target, fault);
    return target;
}

void CutInHalf(const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); }

// What no builder of packages makes.
void Spoil(const fs::path& folder, const fs::path& profile, const std::string& target,
           EFault fault) {
    const fs::path drive = folder / target / "Device" / "C";
    switch (fault) {
        case EFault::CutProfile:
            CutInHalf(profile);
            break;
        case EFault::LinkedFolder:
            fs::create_directories(drive);
            fs::create_directory_symlink(folder, drive / "linked");
            break;
        case EFault::UnlistedFolder:
            fs::create_directories(drive / "unlisted");
            std::ofstream(drive / "unlisted" / "file.txt") << "text";
            fs::permissions(drive / "unlisted", fs::perms::none);
            break;
        default:
            break;
    }
}

}  // namespace

const char* ToText(EFault fault) {
    constexpr const char* kTextsOfFaults[] = {"none",          "cut profile",    "no target",
                                              "same targets",  "cut hive",       "no hive",
                                              "garbage hive",  "dirty hive",     "garbage links",
                                              "linked folder", "unlisted folder"};
    return kTextsOfFaults[static_cast<std::size_t>(fault)];
}

fs::path WriteRandomPackage(const fs::path& folder, std::uint64_t seed, EFault fault) {
    CRandom random(seed);
    const std::string product = random.Pick(kProducts);
    CTestPackage package;
    package.Elements("<Name>" + product + "</Name>");
    std::string guid = MakeGuid(random);
    const std::string first = CTestTarget(guid, "1").FolderName();
    std::size_t targets = random.OneIn(4) ? random.Between(2, 3) : 1;
    if (fault == EFault::NoTarget || fault == EFault::SameTargets) {
        targets = fault == EFault::NoTarget ? 0 : 2;
    }
    for (; targets != 0; --targets) {
        package.Target(MakeTarget(random, guid, product, fault));
        guid = fault == EFault::SameTargets ? guid : MakeGuid(random);
    }
    fs::path profile = package.Write(folder, product + ".profile");
    Spoil(folder, profile, first, fault);
    return profile;
}
