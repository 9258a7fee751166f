#include "host/record_text.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "host/console.h"
#include "host/key_names.h"
#include "host/record_pattern.h"
#include "host/status_text.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "reporting/record_reasons.h"

namespace host {

namespace {

constexpr std::size_t kShownRules = 10;

// Words of the record itself, which may be anything.
std::string Word(const std::string& word) { return Printable(platform::Utf8ToUtf16(word)); }

// What a rule of the record says, in words: "HKLM\HARDWARE (the key and all below it, ...)".
std::string DescribeRule(std::u16string_view rule) {
    const bool isOpenBefore = rule.starts_with(u'*');
    // In a rule that is a single star, that star counts once.
    const bool isOpenAfter = rule.size() > 1 && rule.ends_with(u'*');
    rule.remove_prefix(isOpenBefore ? 1 : 0);
    rule.remove_suffix(isOpenAfter ? 1 : 0);
    const char* const meaning = isOpenBefore && isOpenAfter ? "every key with this in its path"
                                : isOpenBefore              ? "every key whose path ends so"
                                : !isOpenAfter              ? "this key alone"
                                : rule.ends_with(u'\\')
                                    ? "all keys below it"
                                    : "the key and all below it, and other keys that begin so";
    return Printable(ShortKeyName(rule)) + " (" + meaning + ')';
}

// The sentence of a reason, as a part of another one.
std::string Clause(const SReason& reason) {
    // Each sentence begins with a capital ASCII letter and ends in a full stop.
    std::string clause(reason.sentence.substr(0, reason.sentence.size() - 1));
    clause[0] = static_cast<char>(clause[0] - 'A' + 'a');
    return clause;
}

// The real key if there is one. A key above all real ones has only its captured path, and what is
// in no hive only the place of its item.
std::u16string KeyName(const SRecordEntry& entry) {
    const std::u16string name = LongKeyName(entry.source);
    return ShortKeyName(!name.empty() ? name : entry.source.empty() ? entry.target : entry.source);
}

// What a line tells of. `localName` is its path on this system, if it has one.
std::string NameThing(const SRecordEntry& entry, const std::u16string& localName) {
    std::u16string name = IsOfRegistry(entry) ? KeyName(entry) : localName;
    if (entry.thing == "value" || entry.thing == "variable") {
        name = ValuePath(name, entry.name);
    } else if (name.empty()) {
        name = entry.source.empty() ? entry.target : entry.source;
    }
    // Of a manifest that could be saved only the items can be told of.
    const bool isItem = entry.thing == "manifest" && !entry.collection.empty();
    std::string text = isItem ? "item" : Word(entry.thing);
    text += name.empty() ? "" : ' ' + Printable(name);
    // The detail of a target is its name.
    if (entry.thing == "target" && !entry.detail.empty()) {
        text += " (" + Printable(entry.detail) + ')';
    }
    return text + (entry.line == 0 ? "" : " (line " + std::to_string(entry.line) + ')');
}

// The place of the item, when the name of the thing does not say it already.
std::string NamePlace(const SRecordEntry& entry) {
    if (entry.target.empty() || entry.source.empty() || entry.target == entry.source) {
        return "";
    }
    // The same key has another root, and that of the user is below a SID.
    const std::u16string name = LongKeyName(entry.source);
    const std::u16string_view below =
        std::u16string_view(name).substr(std::min(name.find(u'\\'), name.size()));
    // Compared from the first backslash on, against the end of the target.
    const std::u16string_view target = entry.target;
    const bool isSame = !name.empty() && target.size() > below.size() &&
                        platform::EqualText(target.substr(target.size() - below.size()), below);
    return isSame ? "" : Printable(ShortKeyName(target));
}

std::string DescribeItem(const SRecordEntry& entry) {
    const std::string place = NamePlace(entry);
    return "in " + Word(entry.collection) + (place.empty() ? "" : " as " + place);
}

// Why a thing has its outcome.
std::string DescribeReason(const SRecordEntry& entry, const SReason& reason) {
    const bool isItem = reason.outcome == EOutcome::Created || reason.outcome == EOutcome::Deleted;
    if (isItem) {
        return entry.collection.empty() ? "what is in it has its own lines" : DescribeItem(entry);
    }
    if (reason.name == "rule" && !entry.detail.empty()) {
        return "rule " + DescribeRule(entry.detail);
    }
    std::string text = Clause(reason);
    const bool hasItem = reason.outcome != EOutcome::LeftOut && !entry.collection.empty();
    text += hasItem ? " (" + DescribeItem(entry) + ')' : "";
    // That of a target is already in the name of the thing.
    text += entry.detail.empty() || entry.thing == "target" ? "" : ": " + Printable(entry.detail);
    text +=
        entry.status == 0 ? "" : "; " + DescribeStatus(static_cast<std::uint32_t>(entry.status));
    if (!reason.advice.empty()) {
        // The system's words for a status may end in a full stop.
        text += text.ends_with('.') ? " " : ". ";
        text += reason.advice;
    }
    return text;
}

std::string DescribeHead(const SRecordSummary& summary) {
    const SRecordHead& head = summary.head;
    std::string text;
    if (head.state == "running") {
        text = "The conversion has not ended.";
    } else if (head.status != 0) {
        text = "The conversion failed, " + DescribeStatus(static_cast<std::uint32_t>(head.status));
        text += text.ends_with('.') ? "" : ".";
    } else if (head.losses == 0) {
        text = "The result is whole: nothing that was captured is lost.";
    } else {
        text = "The result is not whole.";
    }
    text += head.losses == 0 ? ""
                             : ' ' + Count(head.losses, "captured thing") +
                                   (head.losses == 1 ? " is" : " are") + " not in it.";
    text += head.missing == 0 ? ""
                              : ' ' + Count(head.missing, "thing") + " that most packages have " +
                                    (head.missing == 1 ? "was" : "were") + " not captured.";
    return text + '\n';
}

struct SRow {
    std::uint64_t count = 0;
    std::vector<std::string> cells;  // the last one is not made wider
    bool isLoss = false;
};

std::string FormatRows(const std::vector<SRow>& rows) {
    // In bytes: what is padded are words of the format, which the library writes in ASCII.
    std::vector<std::size_t> widths;
    std::size_t countWidth = 0;
    for (const SRow& row : rows) {
        countWidth = std::max(countWidth, std::to_string(row.count).size());
        widths.resize(std::max(widths.size(), row.cells.size()));
        for (std::size_t cell = 0; cell + 1 < row.cells.size(); ++cell) {
            widths[cell] = std::max(widths[cell], row.cells[cell].size());
        }
    }
    std::string text;
    for (const SRow& row : rows) {
        const std::string count = std::to_string(row.count);
        text += std::string(countWidth + 2 - count.size(), ' ') + count;
        for (std::size_t cell = 0; cell < row.cells.size(); ++cell) {
            text += "  " + row.cells[cell];
            const bool isLast = cell + 1 == row.cells.size();
            text.append(isLast ? 0 : widths[cell] - std::min(widths[cell], row.cells[cell].size()),
                        ' ');
        }
        text += '\n';
    }
    return text;
}

void SortByCount(std::vector<SRow>& rows) {
    // Stable, so that rows with equal numbers keep the order of their names.
    std::stable_sort(rows.begin(), rows.end(), [](const SRow& left, const SRow& right) {
        return left.isLoss != right.isLoss ? right.isLoss : left.count > right.count;
    });
}

std::string FormatReasons(const SRecordSummary& summary) {
    std::vector<SRow> rows;
    for (const auto& [names, count] : summary.reasons) {
        const SReason* const reason = FindReason(names.second);
        // A reason of a later version has no sentence here.
        std::string sentence(reason == nullptr ? "" : reason->sentence);
        if (reason != nullptr && !reason->advice.empty()) {
            sentence.append(" ").append(reason->advice);
        }
        std::vector<std::string> cells = {Word(names.first), Word(names.second)};
        if (!sentence.empty()) {
            cells.push_back(sentence);
        }
        rows.push_back({count, std::move(cells), IsLoss(names.first, names.second)});
    }
    SortByCount(rows);
    if (summary.otherReasons != 0) {
        rows.push_back({summary.otherReasons, {"of still other reasons"}});
    }
    return FormatRows(rows);
}

std::string FormatRules(const SRecordSummary& summary) {
    std::vector<SRow> rows;
    std::uint64_t others = summary.otherRules;
    for (const auto& [rule, count] : summary.rules) {
        rows.push_back({count, {DescribeRule(rule)}});
    }
    SortByCount(rows);
    // The rows are sorted, so those with the smallest numbers go into the sum.
    for (; rows.size() > kShownRules; rows.pop_back()) {
        others += rows.back().count;
    }
    if (others != 0) {
        rows.push_back({others, {"by other rules"}});
    }
    return FormatRows(rows);
}

}  // namespace

std::string DescribeEntry(const SRecordEntry& entry, const std::u16string& localName) {
    const SReason* const reason = FindReason(entry.reason);
    return NameThing(entry, localName) + ": " + Word(entry.outcome) + ": " +
           (reason == nullptr ? Word(entry.reason) : DescribeReason(entry, *reason)) + '\n';
}

namespace {

std::string FormatLosses(const SRecordSummary& summary) {
    std::string text;
    CLocalNames localNames;
    for (const SRecordEntry& loss : summary.losses) {
        text += "  " + DescribeEntry(loss, localNames.Find(loss));
    }
    if (summary.otherLosses != 0) {
        text += "  and " + std::to_string(summary.otherLosses) + " more\n";
    }
    return text;
}

}  // namespace

std::string FormatSummary(const SRecordSummary& summary) {
    std::string text = DescribeHead(summary);
    if (summary.lines != 0) {
        text += '\n' + Count(summary.lines, "line") + " of " + Count(summary.targets, "target") +
                ", by outcome and reason:\n" + FormatReasons(summary);
    }
    if (!summary.losses.empty()) {
        text += "\nWhat is lost:\n" + FormatLosses(summary);
    }
    if (!summary.rules.empty()) {
        text += "\nThe rules that left out most keys:\n" + FormatRules(summary);
    }
    return text;
}

}  // namespace host
