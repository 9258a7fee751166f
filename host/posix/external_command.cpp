#include "host/external_command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "host/posix/spawning.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTick{10};

// What a program writes, in memory. A pipe would have to be read while it runs, and would stay open
// as long as anybody that it has started.
class COutput {
public:
    [[nodiscard]] int Get() const { return m_file.Get(); }
    [[nodiscard]] std::string Read() const {
        constexpr std::size_t kPiece = 1 << 16;
        std::string text;
        for (;;) {
            const std::size_t before = text.size();
            text.resize(before + kPiece);
            const ssize_t count =
                pread(m_file.Get(), text.data() + before, kPiece, static_cast<off_t>(before));
            text.resize(before + static_cast<std::size_t>(count < 0 ? 0 : count));
            if (count <= 0) {
                return text;
            }
        }
    }

private:
    CDescriptor m_file{memfd_create("output", MFD_CLOEXEC)};
};

std::vector<std::string> GetEnvironment(const std::string& hidden) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (hidden.empty() || !std::string_view(*variable).starts_with(hidden)) {
            variables.emplace_back(*variable);
        }
    }
    return variables;
}

// Starts a program in a process group of its own. An error number, or 0.
int Spawn(const SExternalCommand& command, const COutput& output, const COutput& errors,
          pid_t& child) {
    std::vector<std::string> words = command.words;
    std::vector<std::string> variables = GetEnvironment(command.hiddenVariables);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files, output.Get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, errors.Get(), STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    const int error = posix_spawnp(&child, words.front().c_str(), &files, &attributes,
                                   Pointers(words).data(), Pointers(variables).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

// Waits for the end of a program. None when it was killed for `isStopped` or for lack of patience.
std::optional<int> Wait(pid_t child, Clock::time_point end,
                        const std::function<bool()>& isStopped) {
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(child, &status, WNOHANG)) == 0 || (ended < 0 && errno == EINTR)) {
        if (isStopped() || Clock::now() >= end) {
            kill(-child, SIGKILL);
            waitpid(child, &status, 0);
            return std::nullopt;
        }
        std::this_thread::sleep_for(kTick);
    }
    return ended == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

SCommandEnd RunExternal(const SExternalCommand& command, const std::function<bool()>& isStopped) {
    // If these were ignored, as a parent process may have it, the end would be lost.
    static_cast<void>(signal(SIGCHLD, SIG_DFL));
    const COutput output;
    const COutput errors;
    SCommandEnd end;
    pid_t child = 0;
    const int error = Spawn(command, output, errors, child);
    if (error != 0) {
        end.isFound = error != ENOENT && error != EACCES;
        end.errors = std::generic_category().message(error);
        return end;
    }
    const std::optional<int> status = Wait(child, Clock::now() + command.patience, isStopped);
    end.isLate = !status && !isStopped();
    end.status = status.value_or(-1);
    end.output = output.Read();
    end.errors = errors.Read();
    return end;
}

}  // namespace host
