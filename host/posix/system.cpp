#include "host/system.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

namespace host {

namespace {

constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGTERM};

// Those of the signals that the parent process does not have ignored, as nohup does.
sigset_t GetEndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : kEndingSignals) {
        struct sigaction present {};
        if (sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_DFL) {
            sigaddset(&signals, number);
        }
    }
    return signals;
}

std::error_code LastError() { return {errno, std::generic_category()}; }

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

bool IsTerminalWithEscapes(int file) {
    const char* const kind = std::getenv("TERM");
    return isatty(file) == 1 && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

STerminalSize SizeOf(int terminal) {
    struct winsize size {};
    // A terminal that does not know its size answers 0.
    if (ioctl(terminal, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

// Gives their owner all rights to the folders of a tree, so that what is in them can be removed.
void Unprotect(const std::filesystem::path& folder) {
    using std::filesystem::perms;
    // Errors are passed over: what stays shows in the end. Each folder has its rights before the
    // iterator goes into it.
    std::error_code error;
    const auto add = [&](const std::filesystem::path& place) {
        std::filesystem::permissions(place, perms::owner_all, std::filesystem::perm_options::add,
                                     error);
    };
    add(folder);
    std::filesystem::recursive_directory_iterator entry(folder, error);
    for (; entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
        // Not for a link, because the rights of what it leads to would be changed.
        if (entry->is_directory(error) && !entry->is_symlink(error)) {
            add(entry->path());
        }
    }
}

}  // namespace

bool SetVariable(const char* name, const std::string& value) {
    return setenv(name, value.c_str(), 1) == 0;
}

bool Exists(const std::filesystem::path& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

std::error_code MakeFolder(const std::filesystem::path& folder, bool isPrivate) {
    const mode_t rights = isPrivate ? S_IRWXU : S_IRWXU | S_IRWXG | S_IRWXO;
    return mkdir(folder.c_str(), rights) == 0 ? std::error_code() : LastError();
}

bool RemoveTree(const std::filesystem::path& folder) {
    std::error_code error;
    // First, because a file is removed without a descriptor, and those may be used up.
    if (std::filesystem::remove(folder, error)) {
        return true;
    }
    std::filesystem::remove_all(folder, error);
    // Only now, because most trees can be removed with the rights that they have.
    if (error == std::errc::permission_denied) {
        Unprotect(folder);
        std::filesystem::remove_all(folder, error);
    }
    // What the system tells nothing of may still be there.
    struct stat info {};
    return lstat(folder.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

std::error_code MoveFolder(const std::filesystem::path& from, const std::filesystem::path& to) {
    return rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : LastError();
}

bool ExchangeFolders(const std::filesystem::path& left, const std::filesystem::path& right) {
    return renameat2(AT_FDCWD, left.c_str(), AT_FDCWD, right.c_str(), RENAME_EXCHANGE) == 0;
}

std::filesystem::path FullPath(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::path full =
        std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    return error ? path : full;
}

bool IsSpecialFile(const std::filesystem::path& file) {
    std::error_code error;
    const std::string name = std::filesystem::absolute(file, error).lexically_normal().native();
    // Also by the name, because "/dev/stdout" may lead to a regular file. "/dev/shm" has plain
    // ones.
    return (name.starts_with("/dev/") && !name.starts_with("/dev/shm/")) ||
           name.starts_with("/proc/") || std::filesystem::is_other(file, error);
}

bool CReservedFiles::Take() {
    constexpr std::size_t kCount = 16;  // a tree is removed with one for each level
    while (m_files.size() < kCount) {
        const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (file < 0) {
            return false;
        }
        m_files.push_back(file);
    }
    return true;
}

void CReservedFiles::GiveBack() {
    for (const int file : m_files) {
        close(file);
    }
    m_files.clear();
}

std::error_code CHeldFile::Hold(const std::filesystem::path& file) {
    // First, because what throws later would leave the file.
    m_file = file;
    for (;;) {
        constexpr int kMode = O_RDWR | O_NOFOLLOW | O_CLOEXEC;
        int opened = open(file.c_str(), kMode | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        const bool isNew = opened >= 0;
        if (!isNew && errno == EEXIST) {
            opened = open(file.c_str(), kMode | O_CREAT, S_IRUSR | S_IWUSR);
        }
        if (opened < 0) {
            return LastError();
        }
        // This lock ends with the process, however that ends. Any error but that of a held lock
        // counts as a file system without locks.
        if (flock(opened, LOCK_EX | LOCK_NB) != 0) {
            const std::error_code error = LastError();
            close(opened);
            const bool isHeld = error == std::errc::resource_unavailable_try_again;
            if (isNew && !isHeld) {
                unlink(file.c_str());
            }
            return isHeld ? error : make_error_code(std::errc::no_lock_available);
        }
        // Whoever held the file before may have removed it meanwhile. Then another one may be
        // there, which is the one to hold. Each round comes from such a removal.
        struct stat held {};
        struct stat named {};
        const bool isNamed = fstat(opened, &held) == 0 && lstat(file.c_str(), &named) == 0;
        if (isNamed && held.st_ino == named.st_ino && held.st_dev == named.st_dev) {
            m_handle = opened;
            return {};
        }
        const std::error_code error = LastError();
        close(opened);
        if (!isNamed && error != std::errc::no_such_file_or_directory) {
            if (isNew) {
                unlink(file.c_str());
            }
            return error;
        }
    }
}

bool CHeldFile::Release() {
    if (m_handle == -1) {
        return true;
    }
    // First, because it is no longer this process's own afterwards.
    const bool isRemoved = unlink(m_file.c_str()) == 0 || errno == ENOENT;
    close(static_cast<int>(m_handle));
    m_handle = -1;
    return isRemoved;
}

std::optional<SFileState> GetFileState(const std::filesystem::path& file) {
    struct stat info {};
    if (lstat(file.c_str(), &info) != 0) {
        return std::nullopt;
    }
    // File systems have clocks of their own, which tick rarely, and a server's may be ahead.
    constexpr std::int64_t kSettled = 2;  // seconds
    constexpr std::int64_t kSecond = 1'000'000'000;
    const auto ticks = [](const timespec& time) { return time.tv_sec * kSecond + time.tv_nsec; };
    return SFileState{static_cast<std::uint64_t>(info.st_size), ticks(info.st_mtim),
                      ticks(info.st_ctim), info.st_ctim.tv_sec + kSettled >= time(nullptr)};
}

// A thread waits for the signals, and all others have them blocked. So no code runs in the middle
// of other code, as it would in a signal handler.
void CatchEndingSignals(void (*end)(int status)) {
    const sigset_t signals = GetEndingSignals();
    // Blocked before any thread is made: this one and all later ones have the same signals blocked.
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    try {
        std::thread([signals, end] {
            for (int number = 0; sigwait(&signals, &number) == 0;) {
                end(128 + number);
            }
        }).detach();
    } catch (const std::system_error&) {
        // Without a thread they end the process as usual, and the next run removes what is left.
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
    }
}

void EndProcess(int status) { _exit(status); }

bool HasTerminal() { return IsTerminalWithEscapes(STDERR_FILENO); }

STerminalSize GetTerminalSize() { return SizeOf(STDERR_FILENO); }

SOutput GetOutput() {
    return {isatty(STDOUT_FILENO) == 1, IsTerminalWithEscapes(STDOUT_FILENO),
            SizeOf(STDOUT_FILENO)};
}

void WriteTerminal(std::string_view bytes) {
    // If the terminal is gone, nobody can be told.
    static_cast<void>(WriteAll(STDERR_FILENO, bytes));
}

void FreeTargets(GUID* targets) { std::free(targets); }

void FreeText(OrvChar* text) { std::free(text); }

}  // namespace host
