#include "reporting/progress_event.h"

#include <cstddef>

CProgressEvent::CProgressEvent(std::uint32_t total, CProgressEvent* parent)
    : Total(total), Parent(parent) {
    if (Parent != nullptr) {
        Parent->Child = this;
    }
}

CProgressEvent::~CProgressEvent() {
    // The parent forgets this level, so the host never reaches one that is gone.
    if (Parent != nullptr) {
        Parent->Child = nullptr;
    }
}

// The language does not define offsets in a class with virtual functions, but the compilers of both
// systems lay it out as the public record says.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
void CProgressEvent::CheckLayout() {
    constexpr std::size_t kTextBuffer =
        8;  // bytes: the pointer to the virtual table of CStrW comes first
    static_assert(sizeof(CStrW) == 32);
    static_assert(offsetof(CProgressEvent, Message) + kTextBuffer ==
                  offsetof(OrvProgress, message));
    static_assert(offsetof(CProgressEvent, Current) == offsetof(OrvProgress, current));
    static_assert(offsetof(CProgressEvent, Total) == offsetof(OrvProgress, total));
    static_assert(offsetof(CProgressEvent, Parent) == offsetof(OrvProgress, parent));
    static_assert(offsetof(CProgressEvent, Child) == offsetof(OrvProgress, child));
    static_assert(offsetof(OrvProgress, current) == 40);
    static_assert(offsetof(OrvProgress, child) == 56);
    static_assert(sizeof(CProgressEvent) == sizeof(OrvProgress));
}
#pragma GCC diagnostic pop

void CProgressEvent::Step() {
    if (Current < Total) {
        ++Current;
        Notify();
    }
}

void CProgressEvent::Finish() {
    // Equal too: the host learns of the end even when every step has been counted.
    if (Current <= Total) {
        Current = Total;
        Notify();
    }
}

void CProgressEvent::Notify() {
    // The host gets the topmost event and goes down the chain by itself. It reads the events in
    // place while the work waits for the callback, so nothing changes under it.
    CProgressEvent* top = this;
    while (top->Parent != nullptr) {
        top = top->Parent;
    }
    if (top->Callback != nullptr) {
        // Both have the same layout, which CheckLayout pins.
        top->Callback(reinterpret_cast<const OrvProgress*>(top));
    }
}
