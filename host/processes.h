// host/processes.h - other runs of this program, as processes beside this one.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "host/system.h"

namespace host {

// What a child is to do. Its stdin is empty.
struct SChildRequest {
    std::vector<std::string> arguments;  // after the program's name; UTF-8 on Windows
    std::filesystem::path output;        // the file for stdout, which is made anew
    std::filesystem::path errors;        // the same for stderr
    std::uint64_t maxMemory = 0;         // bytes; 0 for no limit
    // A file that stays held until the child has ended too, even if this process is killed.
    const CHeldFile* held = nullptr;
};

// How a child has ended.
struct SChildEnd {
    std::intptr_t child = 0;
    int status = 0;                // the exit status; 0 for one that a signal has ended
    int signal = 0;                // the number of that signal, or 0
    std::uint64_t peakMemory = 0;  // bytes that were in memory at once; see CChildren
};

// The children of this process. They end with it, also when it is killed, and they get no signal
// from the terminal but by this process. Make it before other threads are started. One thread uses
// it, and there is at most one.
//
// The limit of memory is that of addresses on POSIX (RLIMIT_AS), and on Windows that of a job. On
// Linux the peak of a child is at least what this process itself had in memory when it started the
// child, because the system counts from there.
class CChildren {
public:
    CChildren();
    // Kills those that still run.
    ~CChildren();
    CChildren(const CChildren&) = delete;
    CChildren& operator=(const CChildren&) = delete;

    // Starts this very program. `child` is its number until WaitForAny has told of its end.
    [[nodiscard]] std::error_code Start(const SChildRequest& request, std::intptr_t& child);

    // Waits until a child ends, but not longer than `patience`. None when that is over.
    [[nodiscard]] std::optional<SChildEnd> WaitForAny(std::chrono::milliseconds patience);

    // Asks a child to end: SIGTERM, on Windows Ctrl-Break; where there is no console, Kill.
    void End(std::intptr_t child);
    void Kill(std::intptr_t child);

private:
    [[nodiscard]] std::optional<SChildEnd> FindEnded();

    std::set<std::intptr_t> m_running;
    std::intptr_t m_job = 0;  // on Windows, in which all children are
    int m_nothing = -1;       // on POSIX, the stdin of all of them
};

// The file of this program, in full. Empty where the system does not tell, and when another file
// has taken its place since the program was started.
[[nodiscard]] std::filesystem::path GetProgramFile();

// How many children make full use of the processors that this process may use; at least 1.
[[nodiscard]] std::size_t CountProcessors();

}  // namespace host
