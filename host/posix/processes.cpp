#include "host/processes.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <thread>

#include "host/posix/spawning.h"

namespace host {

namespace {

constexpr const char* kThisProgram = "/proc/self/exe";  // also when its file was replaced meanwhile
constexpr int kNotStarted = 127;                        // as a shell has it

std::error_code LastError() { return {errno, std::generic_category()}; }

int OpenNew(const std::filesystem::path& file) {
    return open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
}

sigset_t SignalOfChildren() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    return signals;
}

// What a child needs, made ready before it exists: between fork and exec nothing may take memory.
struct SStart {
    char** arguments = nullptr;
    int streams[3] = {};
    int held = -1;
    rlim_t maxMemory = 0;
    pid_t parent = 0;
};

[[noreturn]] void Become(const SStart& start) {
    setpgid(0, 0);
    // A parent that ended before this call sends no signal any more.
    bool isReady = prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == start.parent;
    for (int stream = 0; stream < 3; ++stream) {
        isReady = isReady && dup2(start.streams[stream], stream) == stream;
    }
    // Without this flag the program keeps it open.
    isReady = isReady && (start.held < 0 || fcntl(start.held, F_SETFD, 0) == 0);
    if (start.maxMemory != 0) {
        const rlimit limit{start.maxMemory, start.maxMemory};
        isReady = isReady && setrlimit(RLIMIT_AS, &limit) == 0;
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (isReady) {
        execv(kThisProgram, start.arguments);
    }
    constexpr char kMessage[] = "cas2orv: the program cannot be started\n";
    static_cast<void>(!write(STDERR_FILENO, kMessage, sizeof kMessage - 1));
    _exit(kNotStarted);
}

}  // namespace

CChildren::CChildren() {
    // If these were ignored, as a parent process may have it, ends of children would be lost.
    static_cast<void>(signal(SIGCHLD, SIG_DFL));
    const sigset_t signals = SignalOfChildren();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

CChildren::~CChildren() {
    for (const std::intptr_t child : m_running) {
        Kill(child);
    }
    while (!m_running.empty()) {
        static_cast<void>(WaitForAny(std::chrono::seconds(1)));
    }
    close(m_nothing);
}

std::error_code CChildren::Start(const SChildRequest& request, std::intptr_t& child) {
    const CDescriptor output(OpenNew(request.output));
    if (output.Get() < 0) {
        return LastError();
    }
    const CDescriptor errors(OpenNew(request.errors));
    if (errors.Get() < 0) {
        return LastError();
    }
    std::vector<std::string> words = {"cas2orv"};
    words.insert(words.end(), request.arguments.begin(), request.arguments.end());
    std::vector<char*> arguments = Pointers(words);
    const SStart start{arguments.data(),
                       {m_nothing, output.Get(), errors.Get()},
                       request.held == nullptr ? -1 : static_cast<int>(request.held->GetHandle()),
                       request.maxMemory,
                       getpid()};
    const pid_t pid = fork();
    if (pid == 0) {
        Become(start);
    }
    if (pid < 0) {
        return LastError();
    }
    child = pid;
    m_running.insert(child);
    return {};
}

std::optional<SChildEnd> CChildren::FindEnded() {
    int status = 0;
    rusage usage{};
    pid_t pid = 0;
    // Others than those that were started here are children of a program that became this one.
    do {
        pid = wait4(-1, &status, WNOHANG, &usage);
        if (pid < 0 && errno == ECHILD) {
            m_running.clear();  // nobody is left of whom an end could be told
        }
    } while (pid > 0 && m_running.erase(pid) == 0);
    if (pid <= 0) {
        return std::nullopt;
    }
    constexpr std::uint64_t kUnit = 1024;  // of the peak, on Linux
    SChildEnd end{.child = pid, .peakMemory = static_cast<std::uint64_t>(usage.ru_maxrss) * kUnit};
    if (WIFSIGNALED(status)) {
        end.signal = WTERMSIG(status);
    } else {
        end.status = WEXITSTATUS(status);
    }
    return end;
}

std::optional<SChildEnd> CChildren::WaitForAny(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const sigset_t signals = SignalOfChildren();
    for (;;) {
        if (const std::optional<SChildEnd> end = FindEnded()) {
            return end;
        }
        const auto left = deadline - std::chrono::steady_clock::now();
        // Each round ends with the signal of a child, or uses up some of the time.
        if (left <= std::chrono::nanoseconds(0)) {
            return std::nullopt;
        }
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const std::chrono::nanoseconds rest = left - seconds;
        const timespec time{static_cast<std::time_t>(seconds.count()),
                            static_cast<long>(rest.count())};
        static_cast<void>(sigtimedwait(&signals, nullptr, &time));
    }
}

void CChildren::End(std::intptr_t child) {
    if (m_running.contains(child)) {
        static_cast<void>(kill(static_cast<pid_t>(child), SIGTERM));  // it may have ended
    }
}

void CChildren::Kill(std::intptr_t child) {
    if (m_running.contains(child)) {
        static_cast<void>(kill(static_cast<pid_t>(child), SIGKILL));
    }
}

std::filesystem::path GetProgramFile() {
    std::error_code error;
    const std::filesystem::path file = std::filesystem::read_symlink(kThisProgram, error);
    // The system adds words to the name of a file that was removed or replaced.
    return Exists(file) ? file : std::filesystem::path();
}

std::size_t CountProcessors() { return std::max(1U, std::thread::hardware_concurrency()); }

}  // namespace host
