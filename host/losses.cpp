#include "host/losses.h"

#include <algorithm>

#include "host/console.h"
#include "host/record_pattern.h"
#include "host/record_summary.h"
#include "host/status_text.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/status.h"
#include "reporting/record_reasons.h"

namespace host {

namespace {

// What a line tells of, for people.
std::string SubjectOf(const SRecordEntry& entry, const std::u16string& path) {
    if (!entry.source.empty()) {
        const std::string quoted = "'" + Printable(path) + "'";
        const std::string line = entry.line == 0 ? "" : ", line " + std::to_string(entry.line);
        return (IsOfRegistry(entry) || entry.thing == "service" ? entry.thing + ' ' + quoted
                                                                : quoted) +
               line;
    }
    // An item that was lost on its way into the manifest has only its place there.
    if (!entry.collection.empty()) {
        return "'" + Printable(entry.target) + "' of " + entry.collection;
    }
    return entry.thing;
}

}  // namespace

bool CLosses::Read(const std::filesystem::path& record, const std::filesystem::path& profile) {
    const std::string problem =
        ReadRecord(record, m_head, [&](const SRecordEntry& entry) { Take(entry, profile); });
    // The library has returned. A record that still says "running" was never completed, so losses
    // may be missing in it.
    const bool isKnown = problem.empty() && m_head.state != "running";
    if (!isKnown) {
        m_problem = "whether the result is whole is not known: " +
                    (problem.empty() ? "the record was not completed" : problem);
    } else if (m_head.state != "whole") {
        m_problem = "the record could not be written to its end; what was lost may not be told";
    }
    return isKnown;
}

void CLosses::Take(const SRecordEntry& entry, const std::filesystem::path& profile) {
    if (!entry.items.empty()) {
        // The place of a manifest begins with the folder of its target.
        m_items[entry.target.substr(0, entry.target.find(u'\\'))] = entry.items;
    }
    const SReason* const reason = FindReason(entry.reason);
    // Most lines are of this kind. At most their number is kept.
    if (reason != nullptr && reason->weight == EWeight::Normal) {
        if (reason->outcome == EOutcome::LeftOut) {
            ++m_leftOut[entry.in][entry.reason];
        }
        return;
    }
    // A reason that this program does not know counts as a loss, rather than hide one.
    m_lossesOf[entry.in] += reason == nullptr || reason->weight == EWeight::Loss ? 1 : 0;
    if (entry.log != 0) {
        m_logEntries.insert(entry.log);
    }
    std::u16string path = m_localNames.Find(entry);
    if (path.empty()) {
        path = entry.name.empty() ? entry.source : entry.source + u'\\' + entry.name;
    }
    std::string subject = SubjectOf(entry, path);
    if (entry.source.empty() && entry.collection.empty()) {
        path = platform::PathText(profile);
        subject = Quote(profile);
    }
    m_losses.push_back({entry.reason, std::move(subject), std::move(path), entry.status});
}

std::size_t CLosses::CountUnwritten() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(m_losses, [](const SLoss& loss) { return IsFullDisk(loss.status); }));
}

void CLosses::Show(bool isFullDiskTold) const {
    if (!m_problem.empty()) {
        Complain(m_problem);
    }
    std::map<const SReason*, std::size_t> counts;
    for (const SLoss& loss : m_losses) {
        const SReason* const reason = FindReason(loss.reason);
        if (reason == nullptr || (isFullDiskTold && IsFullDisk(loss.status))) {
            continue;
        }
        ++counts[reason];
        const bool isLoss = reason->weight == EWeight::Loss;
        std::string words = loss.subject + ": " + std::string(reason->sentence);
        if (loss.status != 0) {
            words += " (" + DescribeStatus(static_cast<std::uint32_t>(loss.status)) + ')';
        }
        Tell({.level = isLoss ? "loss" : "missing",
              .text = words,
              .path = loss.path,
              .status = loss.status,
              .reason = reason->name,
              .advice = reason->advice},
             (isLoss ? "lost: " : "missing: ") + words);
    }
    // Advice comes once for each reason, after all things. The keys are addresses in one table, so
    // they are in its order.
    for (const auto& [reason, count] : counts) {
        WriteTerminal("what to do about " + std::string(reason->name) + ": " +
                      std::string(reason->advice) + '\n');
    }
}

}  // namespace host
