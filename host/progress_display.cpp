#include "host/progress_display.h"

#include <new>

#include "host/console.h"
#include "host/progress_text.h"

namespace host {

namespace {

// At most ten times a second. A conversion that ends earlier shows nothing.
constexpr std::chrono::milliseconds kRedrawInterval{100};

}  // namespace

void CProgressDisplay::Show(const OrvProgress& root) noexcept {
    try {
        if (m_kind == EProgressDisplay::Lines) {
            ShowLines(root);
        } else if (m_kind == EProgressDisplay::Block && MustDraw()) {
            DrawBlock(root);
        }
    } catch (const std::bad_alloc&) {
        // The conversion goes on without a display. If memory is really short, it fails by itself.
        m_kind = EProgressDisplay::None;
    }
}

// Whether the last block is old.
bool CProgressDisplay::MustDraw() {
    const Time now = m_getTime();
    const bool isOld = now - m_lastDraw >= kRedrawInterval;
    m_lastDraw = isOld ? now : m_lastDraw;
    return isOld;
}

void CProgressDisplay::ShowLines(const OrvProgress& root) {
    const OrvProgress* const target = root.child;
    // When a target is done its message is still there, but its stages are gone.
    if (target == nullptr || target->child == nullptr) {
        return;
    }
    // `current` is the number of targets that are done, and so the index of this one.
    if (m_target != target->current) {
        m_target = target->current;
        m_stage.clear();
        m_write(Printable(GetMessage(*target)) + " (" + std::to_string(m_target + 1) + " of " +
                std::to_string(target->total) + ")\n");
    }
    const std::u16string_view stage = GetMessage(*target->child);
    if (stage != m_stage) {
        m_stage = stage;
        m_write("  " + Printable(stage) + '\n');
    }
}

void CProgressDisplay::DrawBlock(const OrvProgress& root) {
    std::size_t lines = 0;
    const std::string text = FormatLevels(root, m_getSize(), lines);
    // In one write, so that the terminal never shows half of it.
    // The escape clears what a longer block has left below.
    m_write(ReturnToTop() + text + "\x1b[J");
    m_drawnLines = lines;
}

void CProgressDisplay::Clear() {
    if (m_drawnLines != 0) {
        m_write(ReturnToTop() + "\x1b[J");
        m_drawnLines = 0;
    }
}

std::string CProgressDisplay::ReturnToTop() const {
    return m_drawnLines == 0 ? "" : "\r\x1b[" + std::to_string(m_drawnLines) + 'A';
}

}  // namespace host
