#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/program.h"
#include "platform/utf8.h"
#include "platform/win.h"

namespace {

// Sets the console to UTF-8 while the program runs, because the console may outlive it.
class CConsoleIsUtf8 {
public:
    CConsoleIsUtf8() : m_before(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    ~CConsoleIsUtf8() { SetConsoleOutputCP(m_before); }
    CConsoleIsUtf8(const CConsoleIsUtf8&) = delete;
    CConsoleIsUtf8& operator=(const CConsoleIsUtf8&) = delete;

private:
    UINT m_before;
};

}  // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    const CConsoleIsUtf8 console;
    // Results have the same bytes on every system, also at line ends.
    static_cast<void>(_setmode(_fileno(stdout), _O_BINARY));  // fails only for a closed stream
    try {
        std::vector<std::string> words;
        for (int i = 1; i < argumentCount; ++i) {
            words.push_back(platform::Utf16ToUtf8(platform::FromWide(arguments[i])));
        }
        return host::RunProgram(words);
    } catch (const std::bad_alloc&) {
        host::TellNoMemory();
        return host::kExitFailed;
    }
}
