#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "sample.h"
#include "windows/twins.h"

namespace fs = std::filesystem;

namespace {

// The name of the folder stands in many lines of the log, and is no format there.
constexpr const char* kCorners = "corners 100% %1!s! %n &";
constexpr const char* kSample = "sample";
constexpr const char* kSample64 = "41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401_2";
constexpr const char* kSample32 = "41B7A0C2-5E0D-4F6A-8D3B-0C9E7A123202_2";

// What stands in the way of the output: folders where files are to be, and a file for a folder.
void Obstruct(const fs::path& out) {
    const fs::path folder = out / "{7C1D52E0-93AB-4C60-A1B7-5E0F2D646464}";
    fs::create_directories(folder / "CSIDL_PROGRAM_FILES/Twins/no extension/full");
    fs::create_directories(folder / "InstallActions/Target_first.cmd");
    std::ofstream(folder / "CSIDL_SYSTEMX86") << "no folder";
}

void WriteFile(const fs::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

// The sample's links of which Wine's link object does not find the target, or the icon.
void RemoveLinks(const fs::path& sample) {
    for (const char* target : {kSample64, kSample32}) {
        const fs::path drive = sample / target / "Device" / "C";
        fs::remove(drive / "Users/User/Desktop/Shared plans.lnk");
        fs::remove(drive / "Users/Public/Desktop/Planner.lnk");
        fs::remove(drive / "ProgramData/Microsoft/Windows/Start Menu/Programs/Tarnbrook Planner" /
                   "Import.lnk");
    }
}

void WriteTwin(const fs::path& root) {
    MakeSample().Write(root / kSample, "Planner.profile");
    RemoveLinks(root / kSample);
    MakeCorners().Write(root / kCorners, "\u00dcbung & mehr.profile");
    Obstruct(root / "out" / kCorners);
    CTestPackage()
        .Profile("<Package><Name>a</Name></Packet>")
        .Write(root / "broken", "Broken.profile");
    CTestPackage()
        .Profile("<!DOCTYPE a><Package><Name>a</Name></Package>")
        .Write(root / "typed", "Typed.profile");
}

void WriteHives(const fs::path& root, const fs::path& target, const CTestHive& hive) {
    WriteFile(root / "wine" / target / "InstallRoot.dat", hive.WineText());
    WriteFile(root / "linux" / target / "InstallRoot.dat", hive.Bytes());
}

void WriteTwins(const fs::path& root) {
    WriteTwin(root / "wine");
    WriteTwin(root / "linux");
    for (const bool is64Bit : {false, true}) {
        WriteHives(root, fs::path(kSample) / (is64Bit ? kSample64 : kSample32), MakeHive(is64Bit));
        WriteHives(root, fs::path(kCorners) / (is64Bit ? kCorners64 : kCorners32),
                   MakeCornersHive(is64Bit));
    }
    MakeAssemblies().Write(root / "assemblies", "Twins.profile");
}

}  // namespace

// make_twins FOLDER: writes the packages into "wine" and "linux" below the folder, which are the
// same but for the form of the hives, and the one for both systems into "assemblies".
int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_twins FOLDER\n";
        return 2;
    }
    try {
        WriteTwins(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << "make_twins: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
