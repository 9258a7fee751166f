#include <exception>
#include <iostream>

#include "sample.h"

// make_sample FOLDER: writes the sample package into the folder, which is made when missing, and
// prints the path of its profile.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_sample FOLDER\n";
        return 2;
    }
    try {
        std::cout << MakeSample().Write(argv[1], "Planner.profile").string() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "make_sample: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
