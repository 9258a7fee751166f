// host/program.h - the program, without what main() does on each system.
#pragma once

#include <string>
#include <vector>

namespace host {

// Runs the program with the arguments after its name. Returns the exit status. Throws
// std::bad_alloc when there is no memory even for telling of a failure.
[[nodiscard]] int RunProgram(const std::vector<std::string>& arguments);
}  // namespace host
