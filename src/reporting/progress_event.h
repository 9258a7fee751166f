// reporting/progress_event.h - one level of the progress tree.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/wide_string.h"
#include "orvcasconv/orvcasconv.h"

// A counter of steps with the text of the present work. Events form a chain: each level has at most
// one level below it that is alive. Whenever a counter moves, the host's callback is called with
// the topmost event. Used by one thread at a time, whichever does the work.
//
// The host reads the chain in place, as OrvProgress, so the order of the fields is fixed, and so is
// that of CStrW's.
class CProgressEvent {
public:
    // Becomes the child of `parent`, which may be null and must outlive the event.
    CProgressEvent(std::uint32_t total, CProgressEvent* parent);
    virtual ~CProgressEvent();
    CProgressEvent(const CProgressEvent&) = delete;
    CProgressEvent& operator=(const CProgressEvent&) = delete;

    // Gives the topmost event the host's function.
    void SetCallback(OrvProgressCallback callback) { Callback = callback; }
    // Sets the text; the host sees it at the next notification.
    void SetMessage(std::u16string_view text) { Message.Assign(text); }
    // Counts one step and notifies the host; a step past the total is ignored.
    void Step();
    // Completes the counter and notifies the host, also when it was complete already.
    void Finish();
    void Notify();

private:
    static void CheckLayout();

    CStrW Message;
    std::uint32_t Current = 0;
    std::uint32_t Total;
    CProgressEvent* Parent;
    CProgressEvent* Child = nullptr;
    OrvProgressCallback Callback = nullptr;
};
