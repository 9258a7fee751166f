#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "random_packages.h"

namespace fs = std::filesystem;

namespace {

// One in so many packages is broken, each in another way, unless told otherwise.
constexpr std::uint64_t kDefaultBroken = 10;

EFault FaultOf(std::uint64_t number, std::uint64_t broken) {
    if (broken == 0 || number % broken != broken - 1) {
        return EFault::None;
    }
    return static_cast<EFault>(1 + number / broken % static_cast<std::uint64_t>(kLastFault));
}

}  // namespace

// make_packages FOLDER COUNT [SEED [BROKEN]]: writes packages put together at random into folders
// "0001", "0002" and so on, and prints the path of each profile and what is wrong with it. The same
// seed gives the same packages. One of BROKEN is broken, none with 0.
int main(int argc, char** argv) {
    if (argc < 3 || argc > 5) {
        std::cerr << "usage: make_packages FOLDER COUNT [SEED [BROKEN]]\n";
        return 2;
    }
    try {
        const std::uint64_t count = std::stoull(argv[2]);
        const std::uint64_t seed = argc > 3 ? std::stoull(argv[3]) : 1;
        const std::uint64_t broken = argc > 4 ? std::stoull(argv[4]) : kDefaultBroken;
        for (std::uint64_t number = 0; number < count; ++number) {
            std::string name = std::to_string(number + 1);
            name.insert(0, name.size() < 4 ? 4 - name.size() : 0, '0');
            const EFault fault = FaultOf(number, broken);
            const fs::path profile =
                WriteRandomPackage(fs::path(argv[1]) / name, seed * 1'000'003 + number, fault);
            std::cout << profile.string() << '\t' << ToText(fault) << '\n';
        }
    } catch (const std::exception& error) {
        std::cerr << "make_packages: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
