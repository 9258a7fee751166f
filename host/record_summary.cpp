#include "host/record_summary.h"

#include <algorithm>
#include <span>

#include "host/console.h"
#include "platform/utf8.h"

namespace host {

namespace {

constexpr std::size_t kShownLosses = 20;
// Far more than there are reasons, or rules on any machine.
constexpr std::size_t kMaxRows = 1000;

// What finds no row any more only adds to `others`, so that a hostile record takes no more memory.
template <class TKey>
void CountIn(std::map<TKey, std::uint64_t>& rows, const TKey& key, std::uint64_t& others) {
    const auto row = rows.find(key);
    if (row != rows.end()) {
        ++row->second;
    } else if (rows.size() < kMaxRows) {
        rows.emplace(key, 1);
    } else {
        ++others;
    }
}

}  // namespace

const SReason* FindReason(std::string_view name) {
    const std::span<const SReason> reasons = GetReasons();
    const auto found = std::find_if(reasons.begin(), reasons.end(),
                                    [name](const SReason& reason) { return reason.name == name; });
    return found == reasons.end() ? nullptr : &*found;
}

bool IsLoss(std::string_view outcome, std::string_view name) {
    const SReason* const reason = FindReason(name);
    // A reason that only a later version knows is judged by its outcome.
    return reason == nullptr
               ? outcome == NameOf(EOutcome::Failed) || outcome == NameOf(EOutcome::NotRead)
               : reason->weight == EWeight::Loss;
}

bool HasFailed(const SRecordHead& head) { return head.status != 0 || head.state == "running"; }

std::string DescribeGap(const SRecordHead& head) {
    if (head.state == "whole") {
        return "";
    }
    return head.state == "running"
               ? "the record ends early: the conversion still runs, or was killed"
           : head.state == "cut off"
               ? "the record has not all of its lines, because the disk was full; make room, and "
                 "convert again"
               : "the record is damaged: its state is '" +
                     Printable(platform::Utf8ToUtf16(head.state)) + "'";
}

void SRecordSummary::Count(const SRecordEntry& entry) {
    ++lines;
    targets = std::max(targets, entry.in);
    CountIn(reasons, {entry.outcome, entry.reason}, otherReasons);
    if (IsLoss(entry.outcome, entry.reason)) {
        // Only the first ones are shown, but all are counted.
        if (losses.size() < kShownLosses) {
            losses.push_back(entry);
        } else {
            ++otherLosses;
        }
    }
    if (entry.reason == "rule" && entry.thing == "key") {
        CountIn(rules, entry.detail, otherRules);
    }
}

}  // namespace host
