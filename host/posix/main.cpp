#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <string>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/program.h"

namespace {

// Opens /dev/null for each standard stream that is closed. Otherwise the next opened file would get
// its number, and messages would be written into that file. The direction is the wrong one, so that
// using the stream fails.
void OccupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    OccupyStandardStreams();
    // So that writing to a closed pipe, or more than a file may have, fails instead of ending the
    // process. This fails only for a number that is no signal.
    static_cast<void>(signal(SIGPIPE, SIG_IGN));
    static_cast<void>(signal(SIGXFSZ, SIG_IGN));
    const int first = argumentCount > 0 ? 1 : 0;
    try {
        return host::RunProgram({arguments + first, arguments + argumentCount});
    } catch (const std::bad_alloc&) {
        host::TellNoMemory();
        return host::kExitFailed;
    }
}
