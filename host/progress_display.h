// host/progress_display.h - shows the progress of a conversion while it runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/system.h"
#include "orvcasconv/orvcasconv.h"

namespace host {

enum class EProgressDisplay {
    None,
    Lines,  // a line for each target and each stage when it begins
    Block,  // a line for each present level, drawn again and again in the same place
};

// Shows progress. Called for every step, on the thread that makes the step, one at a time. It does
// little unless there is something to show. Show never throws.
class CProgressDisplay {
public:
    using Time = std::chrono::steady_clock::time_point;

    CProgressDisplay(EProgressDisplay kind, std::function<void(std::string_view)> write,
                     std::function<STerminalSize()> getSize, std::function<Time()> getTime)
        : m_kind(kind),
          m_write(std::move(write)),
          m_getSize(std::move(getSize)),
          m_getTime(std::move(getTime)),
          m_lastDraw(m_getTime()) {}

    void Show(const OrvProgress& root) noexcept;
    // Removes a drawn block.
    void Clear();

private:
    [[nodiscard]] bool MustDraw();
    void ShowLines(const OrvProgress& root);
    void DrawBlock(const OrvProgress& root);
    [[nodiscard]] std::string ReturnToTop() const;

    EProgressDisplay m_kind;
    std::function<void(std::string_view)> m_write;
    std::function<STerminalSize()> m_getSize;
    std::function<Time()> m_getTime;
    Time m_lastDraw;
    std::size_t m_drawnLines = 0;
    std::int64_t m_target = -1;  // index of the last target with a line; -1 before the first
    std::u16string m_stage;
};

}  // namespace host
