#include "host/json.h"

#include "host/console.h"

namespace host {

void BeginJson(CJsonWriter& json, std::string_view command) {
    json.BeginObject();
    json.Key("schema");
    // The version of the form. It changes when a member is no longer what it was, not when one is
    // added.
    json.Number(1);
    json.Key("command");
    json.Ascii(command);
}

// Both members are always there. Null tells a missing name from an empty one.
void WriteTarget(CJsonWriter& json, const std::u16string& guid,
                 const std::optional<std::u16string>& name) {
    json.Key("guid");
    json.Text(guid);
    json.Key("name");
    if (name) {
        json.Text(*name);
    } else {
        json.Null();
    }
}

void WriteCounts(CJsonWriter& json, std::string_view key,
                 const std::map<std::string, std::uint64_t>& counts) {
    json.Key(key);
    json.BeginObject();
    // In the order of the names, so that the same counts give the same text.
    for (const auto& [name, count] : counts) {
        json.Key(name);
        json.Number(static_cast<std::int64_t>(count));
    }
    json.EndObject();
}

void WriteOutcomes(CJsonWriter& json, const SRecordSummary& summary) {
    std::map<std::string, std::map<std::string, std::uint64_t>> outcomes;
    for (const auto& [words, count] : summary.reasons) {
        outcomes[words.first][words.second] = count;
    }
    json.Key("outcomes");
    json.BeginObject();
    for (const auto& [outcome, reasons] : outcomes) {
        WriteCounts(json, outcome, reasons);
    }
    json.EndObject();
}

void WriteEnd(CJsonWriter& json, int exitStatus) {
    json.Key("status");
    json.Number(exitStatus);
    json.Key("messages");
    json.BeginArray();
    // In the order in which they were told. A member without a value is left out.
    for (const SMessage& message : GetMessages()) {
        json.BeginObject();
        json.Key("level");
        json.Ascii(message.level);
        json.Key("text");
        json.Utf8(message.text);
        if (!message.path.empty()) {
            json.Key("path");
            json.Text(message.path);
        }
        if (message.status != 0) {
            json.Key("status");
            json.Number(message.status);
        }
        // The advice belongs to the reason, and no message has it alone.
        if (!message.reason.empty()) {
            json.Key("reason");
            json.Ascii(message.reason);
            json.Key("advice");
            json.Ascii(message.advice);
        }
        json.EndObject();
    }
    json.EndArray();
}

void ReplaceLoneHalves(std::string& line) {
    // From escape to escape, because such letters may follow an escaped backslash.
    for (std::size_t at = line.find('\\'); at != std::string::npos; at = line.find('\\', at + 2)) {
        const std::string_view escape = std::string_view(line).substr(at, 6);
        if (escape.size() == 6 && escape.starts_with("\\ud") && escape[3] >= '8' &&
            escape[3] <= 'b') {
            line.replace(at, 6, "\\ufffd");
        }
    }
}

}  // namespace host
