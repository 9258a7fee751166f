// Feeds arbitrary bytes to the readers of JSON: of results, of conversions and of records. The two
// readers of a result agree, what is written of it is read again the same, and what a record says
// has no effect on a terminal. The input is a text of a record as well.
#include <algorithm>
#include <vector>

#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "host/batch/batch_result.h"
#include "host/record_reader.h"
#include "host/record_text.h"
#include "platform/utf8.h"
#include "reporting/record.h"
#include "support/temp_folder.h"

namespace {

using host::EResultState;
using host::SPackageResult;

bool HaveSameHead(const SPackageResult& one, const SPackageResult& other) {
    const auto digests = [](const host::SDigests& all) {
        return std::tie(all.profile, all.hives, all.machine, all.options, all.state);
    };
    const auto fields = [](const SPackageResult& all) {
        return std::tie(all.name, all.program, all.end, all.signal, all.peakMemory, all.status,
                        all.reason, all.profile);
    };
    return fields(one) == fields(other) && digests(one.digests) == digests(other.digests);
}

void ReadResults(const CTempFolder& folder, std::string_view bytes) {
    folder.WriteFile("result.json", bytes);
    SPackageResult result;
    SPackageResult head;
    std::string problem;
    std::string ofHead;
    const EResultState state = host::ReadResult(folder.Path("result.json"), result, problem);
    Require(host::ReadResultHead(folder.Path("result.json"), head, ofHead) == state);
    Require(problem == ofHead && (state == EResultState::Good) == problem.empty());
    Require(HaveSameHead(result, head));
    // Bytes that are no UTF-8, and halves of pairs in escapes, come back as U+FFFD. What follows a
    // NUL is not read.
    const auto isText = [](std::string_view text) {
        return platform::Utf16ToUtf8(platform::Utf8ToUtf16(text)) == text;
    };
    const host::SDigests& digests = result.digests;
    if (state != EResultState::Good || bytes.find('\0') != bytes.npos || !isText(bytes) ||
        !isText(result.name + result.program + result.reason + result.profile + digests.profile +
                digests.hives + digests.machine + digests.options + digests.state)) {
        return;
    }
    const auto name = platform::Utf8ToUtf16(result.name);
    folder.WriteFile("again.json", host::FormatResult(result, name, result.profile, bytes));
    Require(host::IsResult(folder.Path("again.json")));
    SPackageResult again;
    Require(host::ReadResultHead(folder.Path("again.json"), again, problem) == state);
    Require(HaveSameHead(result, again));
}

// A terminal shows the text as it is.
bool IsHarmless(const std::string& text) {
    return std::ranges::none_of(platform::Utf8ToUtf16(text), [](char16_t unit) {
        return unit != u'\n' && platform::IsControlUnit(unit);
    });
}

void ReadRecords(const CTempFolder& folder, std::string_view bytes) {
    folder.WriteFile("record", bytes);
    host::SRecordHead head;
    host::SRecordSummary summary;
    const std::string problem =
        host::ReadRecord(folder.Path("record"), head, [&](const host::SRecordEntry& entry) {
            summary.Count(entry);
            const std::string shown = host::DescribeEntry(entry, u"");
            Require(shown.find('\n') == shown.size() - 1 && IsHarmless(shown));
        });
    Require(summary.lines <= static_cast<std::size_t>(std::ranges::count(bytes, '\n')));
    summary.head = head;
    Require(IsHarmless(problem) && IsHarmless(host::FormatSummary(summary)));
}

// Halves of pairs come back as U+FFFD, or as they are.
std::string Plain(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

void WriteRecord(const CTempFolder& folder, const std::u16string& text) {
    const std::u16string_view first = std::u16string_view(text).substr(0, text.size() / 2);
    const std::u16string_view second = std::u16string_view(text).substr(text.size() / 2);
    CRecord& record = GetRecord();
    record.Begin(folder.Path("written"), ERecordLevel::All);
    record.Add({.thing = EThing::Value,
                .reason = EReason::Created,
                .source = first,
                .name = second,
                .collection = u"CreateValues",
                .target = text,
                .detail = second});
    record.End(-3);
    host::SRecordHead head;
    std::size_t lines = 0;
    const auto check = [&](const host::SRecordEntry& entry) {
        ++lines;
        Require(Plain(entry.source) == Plain(first) && Plain(entry.name) == Plain(second));
        Require(Plain(entry.target) == Plain(text) && Plain(entry.detail) == Plain(second));
    };
    Require(host::IsRecord(folder.Path("written")));
    Require(host::ReadRecord(folder.Path("written"), head, check).empty());
    Require(lines == 1 && head.state == "whole" && head.status == -3);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTempFolder folder;
    const std::string_view bytes = BytesOf(data, size);
    ReadResults(folder, bytes);
    ReadRecords(folder, bytes);
    WriteRecord(folder, TextOf(bytes));
    host::SConversion conversion;
    static_cast<void>(host::ReadConversion(bytes, conversion));
    Require(conversion.losses <= size && conversion.lost.size() <= size);
    return 0;
}
