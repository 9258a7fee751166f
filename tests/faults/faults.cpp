// A library to preload, which has system calls and allocations of a program fail.
//
// ORV_FAULT is "KIND FIRST LAST ACTION": what becomes of the calls of a kind (EKind) from number
// FIRST to LAST, counted over all threads from the start of main(). ACTION is an errno, a signal
// with a minus sign that the process gets first, or 0, which halves the bytes of a read or write.
// The file ORV_FAULT_COUNTS gets the number of calls of each kind. With ORV_FAULT_TRACE the first
// fault has its stack on stderr.
// System calls are caught by seccomp, so that also those are reached that a library makes inside
// itself. What is written to stderr is left alone, because faults are told there.
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace {

// As in faults.py. The calls of the kinds from the second on are the rows of kCalls.
enum EKind { Any, Read, Write, Copy, Close = 13, Thread = 18, Memory, KindCount };

constexpr unsigned kCalls[][6] = {
    {SYS_read, SYS_readv, SYS_pread64},
    {SYS_write, SYS_writev, SYS_pwrite64},
    {SYS_copy_file_range, SYS_sendfile},
    {SYS_ioctl},
    {SYS_open, SYS_openat, SYS_openat2},
    {SYS_mkdir, SYS_mkdirat},
    {SYS_rename, SYS_renameat, SYS_renameat2},
    {SYS_unlink, SYS_unlinkat, SYS_rmdir},
    {SYS_stat, SYS_lstat, SYS_fstat, SYS_newfstatat, SYS_statx, SYS_readlink},
    {SYS_getdents64},
    {SYS_flistxattr, SYS_fgetxattr},
    {SYS_utimensat},
    {SYS_close},
    {SYS_ftruncate},
    {SYS_mmap},
    {SYS_lseek},
    {SYS_fchmod, SYS_fchmodat, SYS_flock},
};

struct SFault {
    int kind, action;
    long first, last;
} g_fault;
bool g_isTracing = false, g_isOn = false;
std::atomic<long>* g_counts = nullptr;
int (*g_main)(int, char**, char**) = nullptr;

// The end of MakeCall's system call is the one place from which the filter lets every call pass.
extern "C" [[gnu::visibility("hidden")]] const char g_callEnd[];

// Makes a call with the arguments in the registers of a context.
[[gnu::noinline]] long MakeCall(long number, const greg_t* registers) {
    register const greg_t fourth asm("r10") = registers[REG_R10];
    register const greg_t fifth asm("r8") = registers[REG_R8];
    register const greg_t sixth asm("r9") = registers[REG_R9];
    asm volatile("syscall\ng_callEnd:"
                 : "+a"(number)
                 : "D"(registers[REG_RDI]), "S"(registers[REG_RSI]), "d"(registers[REG_RDX]),
                   "r"(fourth), "r"(fifth), "r"(sixth)
                 : "rcx", "r11", "memory");
    return number;
}

// Counts a call, and tells whether the fault hits it.
bool Hits(int kind) {
    const long number = ++g_counts[kind];
    const bool isHit = g_fault.kind == kind && number >= g_fault.first && number <= g_fault.last;
    if (isHit && std::exchange(g_isTracing, false)) {
        void* stack[64];
        backtrace_symbols_fd(stack, backtrace(stack, 64), STDERR_FILENO);
    }
    if (isHit && g_fault.action < 0) {
        kill(getpid(), -g_fault.action);
    }
    return isHit && g_fault.action >= 0;
}

long Call(int kind, long number, greg_t* registers) {
    const bool isTelling = kind == Write && registers[REG_RDI] == STDERR_FILENO;
    const int hits = isTelling ? 0 : Hits(Any) + Hits(kind);
    if (hits == 0) {
        return MakeCall(number, registers);
    }
    if (g_fault.action == 0) {
        greg_t& size = registers[kind == Copy ? REG_R8 : REG_RDX];
        const greg_t all = std::exchange(size, (size + 1) / 2);
        const long result = MakeCall(number, registers);
        size = all;  // the program has its registers back as they were
        return result;
    }
    if (kind == Close) {
        MakeCall(number, registers);  // the descriptor is gone even then
    }
    return -g_fault.action;
}

void OnCall(int /*signal*/, siginfo_t* info, void* context) {
    greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const int error = errno;
    registers[REG_RAX] = Call(info->si_errno, info->si_syscall, registers);
    errno = error;
}

// Has the system send SIGSYS, with the kind as errno, for each call of the table that is not made
// by MakeCall. A thread that is being made has all signals blocked until after its first calls,
// none of which is in the table.
void CatchCalls() {
    struct sigaction action {};
    action.sa_sigaction = &OnCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_RESTART;
    sigaction(SIGSYS, &action, nullptr);
    // The lower half is enough to know the place of a call.
    const auto end = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(g_callEnd));
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, instruction_pointer)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, end, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        // A pause before another try ends at once.
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clock_nanosleep, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO),
    };
    unsigned kind = Any;
    for (const auto& row : kCalls) {
        ++kind;
        // The rest of a row is 0, which is the number of the first call of all.
        for (const unsigned call : row) {
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
            filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP | kind));
        }
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        _exit(99);
    }
}

int Main(int count, char** arguments, char** environment) {
    std::sscanf(std::getenv("ORV_FAULT"), "%d %ld %ld %d", &g_fault.kind, &g_fault.first,
                &g_fault.last, &g_fault.action);
    const int file = open(std::getenv("ORV_FAULT_COUNTS"), O_RDWR);
    g_counts = static_cast<std::atomic<long>*>(
        mmap(nullptr, KindCount * sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    g_isTracing = std::getenv("ORV_FAULT_TRACE") != nullptr;
    void* stack[1];
    backtrace(stack, 1);  // which loads a library at its first use
    alarm(20);            // a run takes some hundredths of a second
    CatchCalls();
    g_isOn = true;
    return g_main(count, arguments, environment);
}

}  // namespace

extern "C" {

int __libc_start_main(int (*main)(int, char**, char**), int count, char** arguments,
                      void (*initialize)(), void (*finish)(), void (*finishLoader)(), void* stack) {
    g_main = main;
    using Start = decltype(&__libc_start_main);
    const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(&Main, count, arguments, initialize, finish, finishLoader, stack);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return g_isOn && Hits(Thread) ? g_fault.action : create(thread, attributes, body, argument);
}

#ifndef __SANITIZE_ADDRESS__  // which allocates by itself
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

// What ICU and the C library do not look at when they use something for the first time is left
// alone, since they end the process: data of ICU, and the destructor of a variable of a thread.
static bool IsAllocated(const void* caller) {
    static std::atomic<const void*> seen[1024];  // callers that may fail
    std::atomic<const void*>& slot = seen[reinterpret_cast<std::uintptr_t>(caller) % 1024];
    Dl_info place = {};
    if (g_isOn && slot != caller && dladdr(caller, &place) != 0 &&
        !std::strstr(place.dli_fname, "libicu") &&
        !(place.dli_sname && std::strstr(place.dli_sname, "thread_atexit"))) {
        slot = caller;
    }
    if (!g_isOn || slot != caller || !Hits(Memory)) {
        return true;
    }
    errno = ENOMEM;
    return false;
}

void* malloc(size_t size) noexcept {
    return IsAllocated(__builtin_return_address(0)) ? __libc_malloc(size) : nullptr;
}
void* calloc(size_t count, size_t size) noexcept {
    return IsAllocated(__builtin_return_address(0)) ? __libc_calloc(count, size) : nullptr;
}
void* realloc(void* memory, size_t size) noexcept {
    return IsAllocated(__builtin_return_address(0)) ? __libc_realloc(memory, size) : nullptr;
}
#endif

}  // extern "C"
