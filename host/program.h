// host/program.h - the program behind main().
#pragma once

#include <string>
#include <vector>

namespace host {

// Does what the arguments behind the program's name ask for; returns the exit status.
[[nodiscard]] int RunProgram(const std::vector<std::string>& arguments);

}  // namespace host
