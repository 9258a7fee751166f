#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "host/program.h"

namespace {

// A standard stream that is closed would be taken by the next file that is opened, which messages
// would then be written into. What is opened in its place fails when it is used.
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
    // A reader of stdout that has gone shows as a failure to write.
    static_cast<void>(signal(SIGPIPE, SIG_IGN));  // fails only for a number that is no signal
    const int first = argumentCount > 0 ? 1 : 0;
    return host::RunProgram(std::vector<std::string>(arguments + first, arguments + argumentCount));
}
