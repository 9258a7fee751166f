// host/record_summary.h - how many things of a conversion had which outcome, from its record.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/record_reader.h"
#include "reporting/record_reasons.h"

namespace host {

// Null for a reason that only a later version knows.
[[nodiscard]] const SReason* FindReason(std::string_view name);

// Whether a line with this outcome and this name of a reason tells of a loss.
[[nodiscard]] bool IsLoss(std::string_view outcome, std::string_view name);

// Whether the conversion has failed, or has not come to its end.
[[nodiscard]] bool HasFailed(const SRecordHead& head);

// What makes a record incomplete; empty when it has all of its lines.
[[nodiscard]] std::string DescribeGap(const SRecordHead& head);

// What the lines of a record add up to. Its size has a limit, whatever the record says.
struct SRecordSummary {
    SRecordHead head;
    std::uint64_t lines = 0;    // without the head
    std::uint64_t targets = 0;  // the greatest number of a target
    // Numbers of lines by outcome and reason, and of keys by the rule that left them out.
    std::map<std::pair<std::string, std::string>, std::uint64_t> reasons;
    std::map<std::u16string, std::uint64_t> rules;
    std::vector<SRecordEntry> losses;  // the first ones
    // What has no place above. Only of losses a conversion writes so many.
    std::uint64_t otherReasons = 0;
    std::uint64_t otherRules = 0;
    std::uint64_t otherLosses = 0;

    void Count(const SRecordEntry& entry);
};

}  // namespace host
