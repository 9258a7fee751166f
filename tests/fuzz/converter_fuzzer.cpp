// Compares the converters of paths and keys with naive ones, which search the whole text again for
// each replacement. The input is lines: paths of more rows of the table, and last the text.
#include <optional>
#include <utility>
#include <vector>

#include "foundation/file_path_converter.h"
#include "foundation/reg_path_converter.h"
#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "support/machine.h"
#include "support/text.h"

namespace {

constexpr auto kNone = std::u16string::npos;

struct SRow {
    std::u16string from;
    std::u16string to;
};
using Rows = std::vector<SRow>;

// As CFilePathConverter::AddEntry orders them: longer paths first.
void AddRow(Rows& rows, std::u16string token, std::u16string path) {
    if (!path.empty()) {
        const auto place = std::ranges::find_if(
            rows, [&](const SRow& row) { return row.to.size() < path.size(); });
        rows.insert(place, {std::move(token), std::move(path)});
    }
}

std::size_t Find(std::u16string_view text, std::u16string_view sought, std::size_t start) {
    return platform::FoldedText(text).find(platform::FoldedText(sought), start);
}

// Only such a path takes part in collapsing.
bool HasMarks(const std::u16string& path) {
    return path.find(u':') != kNone ||
           (path.size() > 1 && path.find(u'\\') != kNone && path.find(u'%') == kNone);
}

// Replaces the leftmost place of the first row that has one, until none has. False when a token
// needed a backslash that the text did not have, or met two.
bool CollapsePaths(const Rows& rows, std::u16string& text) {
    bool isReversible = true;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const SRow& entry = rows[row];
        const std::size_t at = HasMarks(entry.to) ? Find(text, entry.to, 0) : kNone;
        if (at == kNone) {
            continue;
        }
        const bool hasRoot = entry.to.ends_with(u'\\');
        const std::size_t end = at + entry.to.size();
        const bool isAtName = end < text.size() && text[end] != u'\\';
        isReversible =
            isReversible && (hasRoot || !isAtName) && (!hasRoot || end == text.size() || isAtName);
        text.replace(at, entry.to.size(), entry.from + (isAtName ? u"\\" : u""));
        row = static_cast<std::size_t>(-1);
    }
    return isReversible;
}

std::size_t ExpandTokens(const Rows& rows, std::u16string& text) {
    std::size_t count = 0;
    for (std::size_t from = 0;;) {
        const std::size_t first = text.find(u'%', from);
        const std::size_t last = first == kNone ? kNone : text.find(u'%', first + 1);
        if (last == kNone) {
            return count;
        }
        const std::u16string token = text.substr(first, last + 1 - first);
        const auto row = std::ranges::find_if(rows, [&](const SRow& candidate) {
            return candidate.from.size() == token.size() && EqualsNoCase(candidate.from, token);
        });
        from = row == rows.end() ? last + 1 : from + row->to.size();
        if (row != rows.end()) {
            const bool hasTwo = row->to.ends_with(u'\\') && text.substr(last + 1, 1) == u"\\";
            text.replace(first, token.size() + (hasTwo ? 1 : 0), row->to);
            ++count;
        }
    }
}

// Of the rows that match, the first one is replaced, at its leftmost place. Only an expansion goes
// on from a position, which moves by the length of each replacement.
std::size_t ReplaceKeys(const std::vector<CKeyMapping>& rows, bool isExpanding,
                        std::u16string& text) {
    std::size_t count = 0;
    std::size_t from = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const CStrW& sought = isExpanding ? rows[row].from : rows[row].to;
        const CStrW& put = isExpanding ? rows[row].to : rows[row].from;
        const std::size_t at = Find(text, sought, from);
        if (at != kNone) {
            text.replace(at, sought.GetLength(), put.View());
            from += isExpanding ? put.GetLength() : 0;
            row = static_cast<std::size_t>(-1);
            ++count;
        }
    }
    return count;
}

void ComparePaths(std::string_view input) {
    CFilePathConverter converter;
    Rows rows;
    AddRow(rows, u"%CSIDL_WINDOWS%", uR"(C:\Windows)");
    AddRow(rows, u"%SystemRoot%", uR"(C:\WINDOWS)");
    AddRow(rows, u"%SystemDrive%", uR"(C:\)");
    while (input.find('\n') != input.npos && rows.size() < 10) {
        const std::u16string path = TextOf(TakePart(input, '\n'));
        const std::u16string token =
            std::u16string(u"%T") + static_cast<char16_t>(u'0' + rows.size()) + u'%';
        converter.AddEntry(token, path);
        AddRow(rows, token, path);
    }
    const std::u16string text = TextOf(input);
    std::u16string naive = text;
    const bool isReversible = CollapsePaths(rows, naive);
    CStrW collapsed{std::u16string_view(text)};
    Require(converter.CollapsePaths(collapsed, false) == (naive != text));
    Require(collapsed.View() == naive);
    std::u16string expanded = text;
    CStrW ours{std::u16string_view(text)};
    Require(converter.ExpandTokens(ours) == ExpandTokens(rows, expanded));
    Require(ours.View() == expanded);
    // A text with a percent sign may have tokens of its own. A path of another form may take the
    // backslash after a token.
    const auto isAbsolute = [](const SRow& row) {
        const std::u16string_view path = row.to;
        return path.find(u'%') == kNone &&
               (path.starts_with(uR"(\\)") || (path.find(u':') == 1 && path[0] != u'\\'));
    };
    if (isReversible && !HasUnit(text, u'%') && std::ranges::all_of(rows, isAbsolute)) {
        Require(platform::FoldedText(converter.Expand(collapsed)) == platform::FoldedText(text));
    }
}

void CompareKeys(const std::u16string& text) {
    const CRegPathConverter converter;
    std::u16string naive = text;
    CStrW ours{std::u16string_view(text)};
    Require(converter.ExpandKeyText(ours) == ReplaceKeys(converter.GetExpansions(), true, naive));
    Require(ours.View() == naive);
    naive = text;
    ours.Assign(text);
    const bool isChanged = ReplaceKeys(converter.GetCollapses(), false, naive) != 0;
    Require(converter.CollapseKeyText(ours) == isChanged && ours.View() == naive);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTestMachine machine = CTestMachine()
                                            .Sid(u"S-1-5-21-7")
                                            .Folder(u"CSIDL_WINDOWS", uR"(C:\Windows)")
                                            .Environment(u"SystemRoot", uR"(C:\WINDOWS)")
                                            .Environment(u"SystemDrive", u"C:");
    const std::string_view input = BytesOf(data, size);
    if (input.starts_with("HKEY") || input.find("\nHKEY") != input.npos) {
        CompareKeys(TextOf(input));
    } else {
        ComparePaths(input);
    }
    return 0;
}
