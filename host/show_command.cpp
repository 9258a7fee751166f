#include "host/show_command.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/item_json.h"
#include "host/item_text.h"
#include "host/key_names.h"
#include "host/manifest_items.h"
#include "host/manifest_schema.h"
#include "host/name_pattern.h"
#include "host/path_rules.h"
#include "host/suggestion.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace host {

namespace {

using Text = std::u16string_view;

SItemLayout GetLayout() {
    const SOutput output = GetOutput();
    if (!output.isTerminal) {
        return {};
    }
    return {output.size.columns, HasColors(output)};
}

std::string LowerCase(const std::string& word) {
    return platform::Utf16ToUtf8(platform::FoldedText(platform::Utf8ToUtf16(word)));
}

// `names` are those of all collections, and `folded` the same in lower case.
std::string DescribeUnknown(const std::string& word, const std::vector<std::string>& names,
                            const std::vector<std::string>& folded) {
    std::string problem =
        "'" + Printable(platform::Utf8ToUtf16(word)) + "' is no collection of a manifest; ";
    const auto similar = std::ranges::find(folded, FindSimilar(LowerCase(word), folded));
    if (similar != folded.end()) {
        const auto at = static_cast<std::size_t>(similar - folded.begin());
        return problem + "did you mean '" + names[at] + "'?";
    }
    problem += "there are";
    for (const std::string& name : names) {
        problem += (name == names.front() ? " " : ", ") + name;
    }
    return problem;
}

// Finds the names of collections as manifests spell them. Returns what is wrong with a word.
std::string FindCollections(const std::vector<std::string>& words,
                            std::vector<std::u16string>& found) {
    std::vector<std::string> names;
    std::vector<std::string> folded;
    for (const SElementRule& rule : GetManifestRule().children) {
        names.push_back(platform::Utf16ToUtf8(rule.name));
        folded.push_back(LowerCase(names.back()));
    }
    for (const std::string& word : words) {
        const auto same = std::ranges::find(folded, LowerCase(word));
        if (same == folded.end()) {
            return DescribeUnknown(word, names, folded);
        }
        const auto at = static_cast<std::size_t>(same - folded.begin());
        found.push_back(platform::Utf8ToUtf16(names[at]));
    }
    return "";
}

// Whether one of the names by which people know an item matches.
bool MatchesItem(const SItem& item, const CNamePattern& pattern) {
    if (pattern.IsOfAll()) {
        return true;
    }
    const bool isValue = item.element == u"Value";
    if (isValue || item.element == u"Key") {
        const Text name = ValueName(GetAttribute(item, u"Value"));
        return pattern.MatchesKey(GetAttribute(item, u"Target"), isValue ? &name : nullptr);
    }
    if (item.collection == u"Properties") {
        return pattern.Matches(item.element);
    }
    const auto matches = [&](const platform::SXmlAttribute& attribute) {
        constexpr Text kNames[] = {u"Target", u"Name", u"Variable", u"Id"};
        return (std::ranges::find(kNames, attribute.name) != std::end(kNames) ||
                attribute.name.ends_with(u"RelativeSource")) &&
               pattern.Matches(attribute.value);
    };
    return std::ranges::any_of(item.attributes, matches) ||
           std::ranges::any_of(item.parts, [&](const SItemPart& part) {
               return std::ranges::any_of(part.attributes, matches);
           });
}

// Prints the items that are asked for.
class CItemPrinter {
public:
    CItemPrinter(const SCommand& command, std::vector<std::u16string> collections)
        : m_collections(std::move(collections)), m_isJson(command.isJson), m_text(GetLayout()) {
        if (!command.pattern.empty()) {
            m_pattern.emplace(platform::Utf8ToUtf16(command.pattern));
        }
    }

    // Whether to go on.
    bool Take(const SItem& item) {
        if (IsWanted(item)) {
            ++m_count;
            Add(item);
        }
        return m_result.Print();
    }
    void Flush() { m_result.Flush(); }
    [[nodiscard]] std::uint64_t GetCount() const { return m_count; }
    // Whether stdout has taken everything.
    [[nodiscard]] bool IsWritten() const { return m_result.IsWritten(); }

private:
    [[nodiscard]] bool IsWanted(const SItem& item) const {
        return (m_collections.empty() ||
                std::ranges::find(m_collections, item.collection) != m_collections.end()) &&
               (!m_pattern || MatchesItem(item, *m_pattern));
    }
    void Add(const SItem& item) {
        if (!m_isJson) {
            m_text.Append(item, m_result.GetText());
            return;
        }
        m_json.Clear();
        WriteItem(item, m_json);
        m_result.GetText().append(m_json.GetBytes()).append("\n");
    }

    const std::vector<std::u16string> m_collections;  // empty for all
    const bool m_isJson;
    std::optional<CNamePattern> m_pattern;
    CItemText m_text;
    CJsonWriter m_json;
    CResultText m_result;
    std::uint64_t m_count = 0;
};

// Reads the manifest, and returns what is wrong.
std::string PrintItems(const SCommand& command, CItemPrinter& printer) {
    const std::string manifest = Quote(platform::LocalPath(command.manifest));
    const std::filesystem::path path = DeepPath(platform::LocalPath(command.manifest));
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::is_directory(status)) {
        return manifest + " is a folder; name a manifest in it";
    }
    if (status.type() == std::filesystem::file_type::not_found) {
        return "there is no manifest " + manifest;
    }
    const std::string problem =
        ReadItems(path, [&printer](const SItem& item) { return printer.Take(item); });
    printer.Flush();
    return problem.empty() ? "" : manifest + ": " + problem;
}

}  // namespace

int RunShow(const SCommand& command, CJsonWriter& json) {
    std::vector<std::u16string> collections;
    std::string problem = FindCollections(command.collections, collections);
    if (!problem.empty()) {
        Complain(problem);
        return kExitUsage;
    }
    CItemPrinter printer(command, std::move(collections));
    problem = PrintItems(command, printer);
    // Of a manifest that is not whole this cannot be said: what is missing may have the name.
    if (problem.empty() && !command.pattern.empty() && printer.GetCount() == 0) {
        problem = "no item has a name like '" + Printable(platform::Utf8ToUtf16(command.pattern)) +
                  "'; '*' is any text";
    }
    if (!problem.empty()) {
        Complain(problem);
    }
    if (command.isJson) {
        json.Key("items");
        json.Number(static_cast<std::int64_t>(printer.GetCount()));
    }
    return problem.empty() && printer.IsWritten() ? kExitDone : kExitFailed;
}

}  // namespace host
