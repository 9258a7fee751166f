// A library to preload, which makes one system call or allocation of a program fail, or many.
//
// ORV_FAULT is "KIND FIRST LAST ACTION": what becomes of the calls of a kind from number FIRST to
// number LAST, counted from 1 over all threads. ACTION is an errno; "short", which halves the bytes
// of a read or write; or a signal, as "-9", which the process gets before the call. The kind "any"
// is all system calls together. ORV_FAULT_COUNTS names a file of the size of g_counts, into which
// the calls are counted. With ORV_FAULT_TRACE the first fault and a crash have their stacks on stderr.
//
// System calls are caught by seccomp, so that also those are reached that a library makes inside
// itself. Only what the program does after the start of main() counts.
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <linux/audit.h>
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
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

enum EKind : int { Any = 0, Read = 1, Write = 2, CopyRange = 3, Close = 13, Thread = 15, Memory };

struct SCount {
    char kind[8];
    std::atomic<long> calls;
};
// The order is that of EKind. The driver finds the kinds by their names.
SCount g_ownCounts[] = {{"any", 0},    {"read", 0},   {"write", 0},  {"copy", 0},   {"ioctl", 0},
                        {"open", 0},   {"mkdir", 0},  {"rename", 0}, {"unlink", 0}, {"stat", 0},
                        {"list", 0},   {"xattr", 0},  {"times", 0},  {"close", 0},  {"truncat", 0},
                        {"thread", 0}, {"memory", 0}, {"map", 0},    {"seek", 0},   {"mode", 0}};
SCount* g_counts = g_ownCounts;

struct SCall {
    int number;
    const char* kind;
};
constexpr SCall kCalls[] = {
    {SYS_read, "read"},
    {SYS_readv, "read"},
    {SYS_pread64, "read"},
    {SYS_write, "write"},
    {SYS_writev, "write"},
    {SYS_pwrite64, "write"},
    {SYS_copy_file_range, "copy"},
    {SYS_sendfile, "copy"},
    {SYS_ioctl, "ioctl"},
    {SYS_open, "open"},
    {SYS_openat, "open"},
    {SYS_openat2, "open"},
    {SYS_mkdir, "mkdir"},
    {SYS_mkdirat, "mkdir"},
    {SYS_rename, "rename"},
    {SYS_renameat, "rename"},
    {SYS_renameat2, "rename"},
    {SYS_unlink, "unlink"},
    {SYS_unlinkat, "unlink"},
    {SYS_rmdir, "unlink"},
    {SYS_stat, "stat"},
    {SYS_lstat, "stat"},
    {SYS_fstat, "stat"},
    {SYS_newfstatat, "stat"},
    {SYS_statx, "stat"},
    {SYS_readlink, "stat"},
    {SYS_getdents64, "list"},
    {SYS_flistxattr, "xattr"},
    {SYS_fgetxattr, "xattr"},
    {SYS_utimensat, "times"},
    {SYS_close, "close"},
    {SYS_ftruncate, "truncat"},
    {SYS_mmap, "map"},
    {SYS_lseek, "seek"},
    {SYS_fchmod, "mode"},
    {SYS_fchmodat, "mode"},
    {SYS_flock, "mode"},
};

struct SFault {
    int kind = -1;
    long first = 0;
    long last = 0;
    int action = 0;  // errno, or a signal below 0
    bool isShort = false;
};
SFault g_fault;
bool g_isTracing = false;
std::atomic<bool> g_isOn = false;
int (*g_main)(int, char**, char**) = nullptr;
decltype(&pthread_create) g_createThread = nullptr;

// Its end is the one place from which the filter lets every call pass.
extern "C" long MakeCall(long number, const greg_t* arguments);
extern "C" const char g_callEnd[];
asm(R"(
    .globl MakeCall, g_callEnd
    .hidden MakeCall, g_callEnd
    .type MakeCall, @function
MakeCall:
    mov %rdi, %rax
    mov %rsi, %r11
    mov (%r11), %rdi
    mov 8(%r11), %rsi
    mov 16(%r11), %rdx
    mov 24(%r11), %r10
    mov 32(%r11), %r8
    mov 40(%r11), %r9
    syscall
g_callEnd:
    ret
)");

template <class... TArguments>
long Make(long number, TArguments... arguments) {
    const greg_t all[6] = {static_cast<greg_t>(arguments)...};
    return MakeCall(number, all);
}

int FindKind(std::string_view name) {
    for (const SCount& count : g_ownCounts) {
        if (count.kind == name) {
            return static_cast<int>(&count - g_ownCounts);
        }
    }
    return -1;
}

int KindOf(long number) {
    // The names are few, and a test may take its time.
    for (const SCall& call : kCalls) {
        if (call.number == number) {
            return FindKind(call.kind);
        }
    }
    return Any;
}

void Trace() {
    g_isTracing = false;  // what follows allocates and writes itself
    void* stack[64];
    backtrace_symbols_fd(stack, backtrace(stack, 64), STDERR_FILENO);
    g_isTracing = true;
}

// Counts a call, and tells whether the fault hits it.
bool Hits(int kind) {
    const long number = ++g_counts[kind].calls;
    const bool isHit = g_fault.kind == kind && number >= g_fault.first && number <= g_fault.last;
    if (isHit && g_isTracing && number == g_fault.first) {
        Trace();
    }
    if (isHit && g_fault.action < 0) {
        Make(SYS_kill, Make(SYS_getpid), -g_fault.action);
    }
    return isHit;
}

long Call(long number, greg_t* arguments) {
    if (number == SYS_write && arguments[0] == STDERR_FILENO) {
        return MakeCall(number, arguments);  // where faults are told
    }
    const int kind = KindOf(number);
    Hits(Any);
    if (!Hits(kind) || g_fault.action < 0) {
        return MakeCall(number, arguments);
    }
    if (g_fault.isShort) {
        greg_t& size = arguments[kind == CopyRange ? 4 : 2];
        size = (size + 1) / 2;
        return MakeCall(number, arguments);
    }
    if (kind == Close) {
        MakeCall(number, arguments);  // the descriptor is gone even then
    }
    return -g_fault.action;
}

void OnCall(int /*signal*/, siginfo_t* info, void* context) {
    constexpr int kRegisters[] = {REG_RDI, REG_RSI, REG_RDX, REG_R10, REG_R8, REG_R9};
    greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    greg_t arguments[6];
    for (std::size_t i = 0; i < std::size(arguments); ++i) {
        arguments[i] = registers[kRegisters[i]];
    }
    const int error = errno;
    registers[REG_RAX] = Call(info->si_syscall, arguments);
    errno = error;
}

// Has the system send SIGSYS for each call of the table that is not made by MakeCall. A thread that
// is being made has all signals blocked until after its first calls, none of which is in the table.
void CatchCalls() {
    struct sigaction action {};
    action.sa_sigaction = &OnCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_RESTART;
    sigaction(SIGSYS, &action, nullptr);
    const auto end = reinterpret_cast<unsigned long>(g_callEnd);
    constexpr unsigned kPlace = offsetof(seccomp_data, instruction_pointer);
    sock_filter filter[std::size(kCalls) + 8];
    std::size_t size = 0;
    filter[size++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kPlace);
    filter[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(end), 0, 3);
    filter[size++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kPlace + 4);
    filter[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(end >> 32), 0, 1);
    filter[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    filter[size++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    for (const SCall& call : kCalls) {
        const auto toTrap = static_cast<unsigned char>(std::end(kCalls) - &call);
        filter[size++] =
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), toTrap, 0);
    }
    filter[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    filter[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    const sock_fprog program = {static_cast<unsigned short>(size), filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        perror("faults: seccomp");
        _exit(99);
    }
}

void ReadOrders() {
    char kind[8] = "";
    char action[8] = "";
    const char* const order = std::getenv("ORV_FAULT");
    if (order != nullptr &&
        std::sscanf(order, "%7s %ld %ld %7s", kind, &g_fault.first, &g_fault.last, action) == 4) {
        g_fault.kind = FindKind(kind);
        g_fault.isShort = std::strcmp(action, "short") == 0;
        g_fault.action = std::atoi(action);
    }
    g_isTracing = std::getenv("ORV_FAULT_TRACE") != nullptr;
    for (const int crash : {SIGABRT, SIGSEGV}) {
        if (g_isTracing) {
            signal(crash, [](int number) {
                Trace();
                signal(number, SIG_DFL);
                raise(number);
            });
        }
    }
    const char* const name = std::getenv("ORV_FAULT_COUNTS");
    const int file = name == nullptr ? -1 : open(name, O_RDWR | O_CLOEXEC);
    if (file >= 0) {
        void* const shared =
            mmap(nullptr, sizeof g_ownCounts, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        std::memcpy(shared, g_ownCounts, sizeof g_ownCounts);
        g_counts = static_cast<SCount*>(shared);
        close(file);
    }
    void* stack[1];
    backtrace(stack, 1);  // which loads a library at its first use
    g_createThread =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
}

int Main(int count, char** arguments, char** environment) {
    ReadOrders();
    CatchCalls();
    g_isOn = true;
    return g_main(count, arguments, environment);
}

}  // namespace

extern "C" {

int __libc_start_main(int (*main)(int, char**, char**), int count, char** arguments,
                      void (*initialize)(), void (*finish)(), void (*finishLoader)(), void* stack) {
    g_main = main;
    const auto start =
        reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(&Main, count, arguments, initialize, finish, finishLoader, stack);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    if (g_isOn && Hits(Thread)) {
        return g_fault.action;
    }
    if (g_createThread == nullptr) {
        g_createThread =
            reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    }
    return g_createThread(thread, attributes, body, argument);
}

// A sanitizer has an allocator of its own.
#ifndef ORV_FAULTS_WITHOUT_MEMORY
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

}  // extern "C"

namespace {

template <class TAllocate>
void* Allocate(TAllocate allocate) {
    if (g_isOn && Hits(Memory)) {
        errno = ENOMEM;
        return nullptr;
    }
    return allocate();
}

}  // namespace

extern "C" {

void* malloc(size_t size) noexcept {
    return Allocate([=] { return __libc_malloc(size); });
}
void* calloc(size_t count, size_t size) noexcept {
    return Allocate([=] { return __libc_calloc(count, size); });
}
void* realloc(void* memory, size_t size) noexcept {
    return Allocate([=] { return __libc_realloc(memory, size); });
}
void* aligned_alloc(size_t alignment, size_t size) noexcept {
    return Allocate([=] { return __libc_memalign(alignment, size); });
}
int posix_memalign(void** memory, size_t alignment, size_t size) noexcept {
    *memory = aligned_alloc(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
#endif

}  // extern "C"
