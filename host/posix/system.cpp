#include "host/system.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

#include "host/console.h"
#include "platform/local_paths.h"

namespace host {

const char* const kTemporaryVariable = "TMPDIR";

namespace {

constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGTERM};

// The data of the signal handler. The texts are set before `isNeeded` and do not move while it is
// 1.
struct SCleanUp {
    volatile sig_atomic_t isNeeded = 0;
    const char* file = nullptr;
    const char* folder = nullptr;
};
SCleanUp s_cleanUp;

void RemoveFolder() {
    if (s_cleanUp.isNeeded != 0) {
        unlink(s_cleanUp.file);
        rmdir(s_cleanUp.folder);
        s_cleanUp.isNeeded = 0;
    }
}

// Ends the process as the signal would without a handler: SA_RESETHAND has removed it by now.
void OnEndingSignal(int number) {
    RemoveFolder();
    static_cast<void>(raise(number));
}

void CatchEndingSignals() {
    for (const int number : kEndingSignals) {
        struct sigaction former {};
        struct sigaction action {};
        action.sa_handler = &OnEndingSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        // A signal that the parent process ignores stays ignored, as nohup expects.
        if (sigaction(number, nullptr, &former) == 0 && former.sa_handler == SIG_DFL) {
            static_cast<void>(sigaction(number, &action, nullptr));  // cannot fail here
        }
    }
}

// Writes all bytes; false, with errno, on failure. The interruptions are limited, because a write
// that is interrupted again and again would never end.
bool WriteAll(int file, std::string_view bytes) {
    constexpr int kMaxInterruptions = 1000;
    int interruptions = 0;
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && (errno != EINTR || ++interruptions == kMaxInterruptions)) {
            return false;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

bool WriteFile(const std::string& name, std::string_view content) {
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) {
        return false;
    }
    const bool isWritten = WriteAll(file, content);
    const int error = errno;
    close(file);
    errno = error;  // which close() may have changed; the caller reports it
    return isWritten;
}

}  // namespace

bool IsWritable(const std::filesystem::path& folder) {
    return faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool UseMachineFile(const std::string& file) {
    return setenv("ORVCASCONV_MACHINE", file.c_str(), 1) == 0;
}

bool CPrivateFolder::Create(std::string_view content, std::string& problem) {
    const char* const place = std::getenv(kTemporaryVariable);
    std::error_code error;
    const std::filesystem::path parent =
        std::filesystem::absolute(place == nullptr || *place == 0 ? "/tmp" : place, error);
    m_folder = (parent / "cas2orv-XXXXXX").native();
    bool isMade = mkdtemp(m_folder.data()) != nullptr;
    if (isMade) {
        m_file = m_folder + "/log.html";
        s_cleanUp.file = m_file.c_str();
        s_cleanUp.folder = m_folder.c_str();
        s_cleanUp.isNeeded = 1;
        CatchEndingSignals();
        isMade = WriteFile(m_file, content);
    }
    if (!isMade) {
        problem = "no temporary file can be made in '" + Printable(platform::PathText(parent)) +
                  "': " + std::strerror(errno) + "; name another place in the variable " +
                  kTemporaryVariable;
    }
    return isMade;
}

CPrivateFolder::~CPrivateFolder() { RemoveFolder(); }

bool HasTerminal() {
    const char* const kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

STerminalSize GetTerminalSize() {
    struct winsize size {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

void WriteTerminal(std::string_view bytes) {
    // If the terminal is gone, nobody can be told.
    static_cast<void>(WriteAll(STDERR_FILENO, bytes));
}

void FreeTargets(GUID* targets) { std::free(targets); }

void FreeText(OrvChar* text) { std::free(text); }

}  // namespace host
