#include "host/processes.h"

#include <algorithm>
#include <string_view>
#include <thread>

#include "host/path_rules.h"
#include "platform/utf8.h"
#include "platform/win.h"
// This needs windows.h before it. With version 2 the functions are those of kernel32.
#define PSAPI_VERSION 2
#include <psapi.h>

namespace host {

namespace {

// What a process ends with that was ended by force, as a shell shows it elsewhere.
constexpr UINT kKilled = 137;

std::error_code LastError() { return {static_cast<int>(::GetLastError()), std::system_category()}; }

HANDLE AsHandle(std::intptr_t number) { return reinterpret_cast<HANDLE>(number); }

// A handle that is closed with the object.
class CHandle {
public:
    explicit CHandle(HANDLE handle) : m_handle(handle) {}
    ~CHandle() {
        if (IsOpen()) {
            CloseHandle(m_handle);
        }
    }
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;
    [[nodiscard]] bool IsOpen() const {
        return m_handle != INVALID_HANDLE_VALUE && m_handle != nullptr;
    }
    [[nodiscard]] HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

// A file whose handle a child inherits.
HANDLE OpenForChild(const std::filesystem::path& file, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// The handles that a child inherits, and no others.
class CInheritedHandles {
public:
    explicit CInheritedHandles(std::vector<HANDLE> handles) : m_handles(std::move(handles)) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);  // gives the size
        m_bytes.resize(size);
        auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_bytes.data());
        if (InitializeProcThreadAttributeList(list, 1, 0, &size) != FALSE) {
            m_list = list;
            m_isGood = UpdateProcThreadAttribute(
                           m_list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(),
                           m_handles.size() * sizeof(HANDLE), nullptr, nullptr) != FALSE;
        }
    }
    ~CInheritedHandles() {
        if (m_list != nullptr) {
            DeleteProcThreadAttributeList(m_list);
        }
    }
    CInheritedHandles(const CInheritedHandles&) = delete;
    CInheritedHandles& operator=(const CInheritedHandles&) = delete;
    [[nodiscard]] bool IsGood() const { return m_isGood; }
    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST Get() const { return m_list; }

private:
    std::vector<HANDLE> m_handles;
    std::vector<char> m_bytes;
    LPPROC_THREAD_ATTRIBUTE_LIST m_list = nullptr;
    bool m_isGood = false;
};

// An argument as the C run-time of the child takes it apart again: backslashes count only in front
// of a quote.
void AppendArgument(std::wstring& line, std::wstring_view argument) {
    line += line.empty() ? L"\"" : L" \"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"') {
            line.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        line += unit;
    }
    line.append(backslashes, L'\\');
    line += L'"';
}

std::wstring CommandLine(const std::wstring& program, const std::vector<std::string>& arguments) {
    std::wstring line;
    AppendArgument(line, program);
    for (const std::string& argument : arguments) {
        AppendArgument(line, platform::ToWide(platform::Utf8ToUtf16(argument).c_str()));
    }
    return line;
}

// Sets what holds for each process of a job; 0 is no limit of memory.
bool LimitJob(HANDLE job, std::uint64_t maxMemory) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    // The second flag keeps a crash from showing a window that waits for somebody.
    limits.BasicLimitInformation.LimitFlags =
        JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION |
        (maxMemory == 0 ? 0 : JOB_OBJECT_LIMIT_PROCESS_MEMORY);
    limits.ProcessMemoryLimit = static_cast<SIZE_T>(maxMemory);
    return SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits,
                                   sizeof limits) != FALSE;
}

// Starts a program that waits to be resumed, in a group of its own so that Ctrl-C ends it only by
// this process.
bool StartSuspended(const std::vector<std::string>& arguments, STARTUPINFOEXW& start,
                    PROCESS_INFORMATION& process) {
    const std::wstring program = GetProgramFile().native();
    std::wstring line = CommandLine(program, arguments);
    return !program.empty() &&
           CreateProcessW(
               program.c_str(), line.data(), nullptr, nullptr, TRUE,
               CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT, nullptr,
               nullptr, &start.StartupInfo, &process) != FALSE;
}

}  // namespace

CChildren::CChildren() {
    // Children end when the last handle of the job is closed, as the system does for a process that
    // is killed.
    HANDLE job = CreateJobObjectW(nullptr, nullptr);
    LimitJob(job, 0);
    m_job = reinterpret_cast<std::intptr_t>(job);
}

CChildren::~CChildren() {
    for (const std::intptr_t child : m_running) {
        Kill(child);
    }
    while (!m_running.empty()) {
        static_cast<void>(WaitForAny(std::chrono::seconds(1)));
    }
    CloseHandle(AsHandle(m_job));
}

std::error_code CChildren::Start(const SChildRequest& request, std::intptr_t& child) {
    const CHandle input(OpenForChild("NUL", GENERIC_READ, OPEN_EXISTING));
    const CHandle output(OpenForChild(request.output, GENERIC_WRITE, CREATE_ALWAYS));
    const CHandle errors(OpenForChild(request.errors, GENERIC_WRITE, CREATE_ALWAYS));
    if (!input.IsOpen() || !output.IsOpen() || !errors.IsOpen()) {
        return LastError();
    }
    std::vector<HANDLE> handles = {input.Get(), output.Get(), errors.Get()};
    if (request.held != nullptr) {
        handles.push_back(AsHandle(request.held->GetHandle()));
        SetHandleInformation(handles.back(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    }
    const CInheritedHandles inherited(handles);
    if (!inherited.IsGood()) {
        return LastError();
    }
    if (request.maxMemory != 0 && !LimitJob(AsHandle(m_job), request.maxMemory)) {
        return LastError();
    }
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = input.Get();
    start.StartupInfo.hStdOutput = output.Get();
    start.StartupInfo.hStdError = errors.Get();
    start.lpAttributeList = inherited.Get();
    PROCESS_INFORMATION process{};
    // Suspended, so that it is in the job before it does anything.
    if (!StartSuspended(request.arguments, start, process)) {
        return LastError();
    }
    const CHandle thread(process.hThread);
    // Before Windows 8 a process that is in a job already, as this one may be, gets no other one.
    // Then the child may outlive this process; what this process held stays held until it ends.
    if (AssignProcessToJobObject(AsHandle(m_job), process.hProcess) == FALSE &&
        request.maxMemory != 0) {
        const std::error_code error = LastError();
        TerminateProcess(process.hProcess, kKilled);
        CloseHandle(process.hProcess);
        return error;
    }
    ResumeThread(process.hThread);
    child = reinterpret_cast<std::intptr_t>(process.hProcess);
    m_running.insert(child);
    return {};
}

std::optional<SChildEnd> CChildren::FindEnded() {
    const auto ended = std::find_if(m_running.begin(), m_running.end(), [](std::intptr_t child) {
        return WaitForSingleObject(AsHandle(child), 0) == WAIT_OBJECT_0;
    });
    if (ended == m_running.end()) {
        return std::nullopt;
    }
    SChildEnd end{.child = *ended};
    DWORD status = 0;
    GetExitCodeProcess(AsHandle(end.child), &status);
    end.status = static_cast<int>(status);
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof memory;
    if (GetProcessMemoryInfo(AsHandle(end.child), &memory, sizeof memory) != FALSE) {
        end.peakMemory = memory.PeakWorkingSetSize;
    }
    CloseHandle(AsHandle(end.child));
    m_running.erase(ended);
    return end;
}

std::optional<SChildEnd> CChildren::WaitForAny(std::chrono::milliseconds patience) {
    if (const std::optional<SChildEnd> end = FindEnded()) {
        return end;
    }
    // The system waits for so many at once. With more of them, the end of one of the others shows
    // when the time is over.
    std::vector<HANDLE> handles;
    for (const std::intptr_t child : m_running) {
        if (handles.size() < MAXIMUM_WAIT_OBJECTS) {
            handles.push_back(AsHandle(child));
        }
    }
    const auto time = static_cast<DWORD>(patience.count());
    if (handles.empty()) {
        Sleep(time);
    } else {
        WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, time);
    }
    return FindEnded();
}

void CChildren::End(std::intptr_t child) {
    if (m_running.contains(child) &&
        GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, GetProcessId(AsHandle(child))) == FALSE) {
        Kill(child);
    }
}

void CChildren::Kill(std::intptr_t child) {
    if (m_running.contains(child)) {
        TerminateProcess(AsHandle(child), kKilled);
    }
}

std::filesystem::path GetProgramFile() {
    // No path is longer than 32,767 units. One that does not fit is cut off, and the result is then
    // the size of the buffer; 0 is a failure.
    constexpr DWORD kMaxPath = 32768;
    for (const DWORD size : {DWORD{MAX_PATH}, kMaxPath}) {
        std::wstring name(size, L'\0');
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), size);
        if (length < size) {
            name.resize(length);
            return name;
        }
    }
    return {};
}

std::size_t CountProcessors() { return std::max(1U, std::thread::hardware_concurrency()); }

}  // namespace host
