#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "sample.h"

namespace fs = std::filesystem;

// make_sample FOLDER: writes the sample package into the folder, which is made when missing, with a
// machine description for it, and prints the path of its profile.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_sample FOLDER\n";
        return 2;
    }
    try {
        const fs::path folder = argv[1];
        const fs::path profile = MakeSample().Write(folder, "Planner.profile");
        std::ofstream(folder / "machine.toml") << MakeMachine(fs::canonical(folder).string());
        std::cout << profile.string() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "make_sample: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
