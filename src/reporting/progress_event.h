// reporting/progress_event.h - one level of the progress tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/wide_string.h"
#include "orvcasconv/orvcasconv.h"

// A counter of steps with a text for the present work. Events form a chain: each level has at most
// one level below it at a time. When a counter moves, the host's callback is called with the
// topmost event. Used by one thread at a time, the one that does the work.
//
// INVARIANT: `Parent` outlives this event, and `Child` is null or an event that is alive.
//
// The host reads the chain in place, as OrvProgress. So the order of the fields here and in CStrW
// is fixed, and CheckLayout pins it.
class CProgressEvent {
public:
    // Becomes the child of `parent`, which may be null and must outlive this event. `total` counts
    // the expected steps.
    CProgressEvent(std::uint32_t total, CProgressEvent* parent);
    virtual ~CProgressEvent();
    CProgressEvent(const CProgressEvent&) = delete;
    CProgressEvent& operator=(const CProgressEvent&) = delete;

    // Sets the host's function. Only that of the topmost event is called.
    void SetCallback(OrvProgressCallback callback) { Callback = callback; }
    // Sets the text. The host sees it at the next notification.
    void SetMessage(std::u16string_view text) { Message.Assign(text); }
    // Keeps the first `kept` units of the text and replaces what follows them.
    void SetMessageEnd(std::size_t kept, std::u16string_view end) {
        Message.Truncate(kept);
        Message.Append(end);
    }
    // Counts one step and notifies the host. A step past the total is ignored.
    void Step();
    // Sets the counter to the total and notifies the host, also when it was complete already.
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
