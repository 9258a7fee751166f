// host/batch/batch_display.h - shows the progress of a batch while it runs.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "host/batch/batch_result.h"
#include "host/progress_display.h"
#include "host/system.h"

namespace host {

// How many packages of a run have come to which end.
struct SBatchCounts {
    std::size_t whole = 0;
    std::size_t notWhole = 0;
    std::size_t failed = 0;
    std::size_t kept = 0;    // of these, how many had their results before
    std::size_t others = 0;  // that other processes convert

    void Add(EPackageOutcome outcome);
};

// "whole, 12 items, 0.4 s", "failed: the reason".
[[nodiscard]] std::string DescribeResult(const SPackageResult& result);

// With Lines, a line for each package that was converted; with Block, one line that is drawn again
// and again: a bar, counts, the rate and the time that is left.
class CBatchDisplay {
public:
    using Time = std::chrono::steady_clock::time_point;

    CBatchDisplay(EProgressDisplay kind, std::size_t total,
                  std::function<void(std::string_view)> write,
                  std::function<STerminalSize()> getSize, Time now)
        : m_kind(kind),
          m_total(total),
          m_write(std::move(write)),
          m_getSize(std::move(getSize)),
          m_begin(now),
          m_lastDraw(now) {}

    // A package is done.
    void ShowPackage(const std::u16string& name, const std::string& words);
    // Called often; draws rarely.
    void Show(const SBatchCounts& counts, Time now);
    // Removes what is drawn.
    void Clear();

private:
    EProgressDisplay m_kind;
    std::size_t m_total;
    std::function<void(std::string_view)> m_write;
    std::function<STerminalSize()> m_getSize;
    Time m_begin;
    Time m_lastDraw;
    bool m_isDrawn = false;
};

// The line of the display, in fewer than `columns` columns. `passed` is the time of the run.
[[nodiscard]] std::string FormatBatchLine(const SBatchCounts& counts, std::size_t total,
                                          std::chrono::duration<double> passed,
                                          std::size_t columns);

}  // namespace host
