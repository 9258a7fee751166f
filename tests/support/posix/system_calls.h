// support/posix/system_calls.h - system calls that fail when a test wants them to.
//
// A program with system_calls.cpp among its sources calls the functions there in place of those of
// the C library, and so do the shared libraries that it loads.
#pragma once

enum class ESystemCall { FListXAttr, FUTimeNs, OpenAt, PRead, Read, Write };

// How often the call was made so far, by any thread.
[[nodiscard]] long CountCalls(ESystemCall call);

// While it lives, every such call fails with this errno.
class CFailingCall {
public:
    CFailingCall(ESystemCall call, int error);
    ~CFailingCall();
    CFailingCall(const CFailingCall&) = delete;
    CFailingCall& operator=(const CFailingCall&) = delete;

private:
    ESystemCall m_call;
};
