// tests/support/windows/import.h - Windows made to answer as a test needs it, one function at a
// time.
//
//     const auto load = ReplaceImport<decltype(RegLoadKeyW)>(
//         "RegLoadKeyW", [&](HKEY, LPCWSTR, LPCWSTR) -> LSTATUS { return ERROR_BADDB; });
//
// Until `load` goes, this program's calls of the function come to the answer. What Windows' own
// libraries call among themselves does not. One thread at a time replaces and calls.
#pragma once

#include <utility>

#include "platform/win.h"

// The place in this program's import table that holds the function of that name, which must be one
// that it imports.
void** FindImport(const char* name);

// Puts `function` into a place of the import table, and gives what was there.
void* ExchangeImport(void** place, void* function);

template <typename TAnswer, typename TFunction>
class CReplacedImport;

template <typename TAnswer, typename TResult, typename... TArguments>
class CReplacedImport<TAnswer, TResult(TArguments...)> {
public:
    CReplacedImport(const char* name, TAnswer answer)
        : m_answer(std::move(answer)), m_place(FindImport(name)) {
        s_current = this;
        m_original = ExchangeImport(m_place, reinterpret_cast<void*>(&Answer));
    }
    ~CReplacedImport() { ExchangeImport(m_place, m_original); }
    CReplacedImport(const CReplacedImport&) = delete;
    CReplacedImport& operator=(const CReplacedImport&) = delete;

private:
    // An answer that calls the function itself comes to Windows.
    static TResult WINAPI Answer(TArguments... arguments) {
        CReplacedImport* const self = s_current;
        ExchangeImport(self->m_place, self->m_original);
        const TResult result = self->m_answer(arguments...);
        const DWORD error = GetLastError();
        ExchangeImport(self->m_place, reinterpret_cast<void*>(&Answer));
        SetLastError(error);
        return result;
    }

    // Each answer is a type of its own, and so has a place of its own here.
    static inline CReplacedImport* s_current = nullptr;
    TAnswer m_answer;
    void** m_place;
    void* m_original = nullptr;
};

template <typename TFunction, typename TAnswer>
auto ReplaceImport(const char* name, TAnswer answer) {
    return CReplacedImport<TAnswer, TFunction>(name, std::move(answer));
}

// What a function does that fails with that last error.
template <typename TResult>
TResult FailWith(DWORD error, TResult result) {
    SetLastError(error);
    return result;
}
