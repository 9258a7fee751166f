#include "host/batch/batch_result.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "foundation/json_writer.h"
#include "host/batch/result_json.h"
#include "host/path_rules.h"
#include "host/system.h"
#include "platform/local_paths.h"
#include "platform/status.h"

namespace host {

namespace {

using rapidjson::Value;

constexpr std::int64_t kVersion = 1;

struct SEndWord {
    EEnd end;
    const char* word;
};
constexpr SEndWord kEndWords[] = {{EEnd::Exit, "exit"},
                                  {EEnd::Signal, "signal"},
                                  {EEnd::Timeout, "timeout"},
                                  {EEnd::Memory, "memory"}};

struct SDigestField {
    const char* name;
    std::string SDigests::*value;
};
constexpr SDigestField kDigestFields[] = {{"profile", &SDigests::profile},
                                          {"hives", &SDigests::hives},
                                          {"machine", &SDigests::machine},
                                          {"options", &SDigests::options},
                                          {"state", &SDigests::state}};

// Null unless `object` is one and has the member.
const Value* Find(const Value& object, const char* name) {
    if (!object.IsObject()) {
        return nullptr;
    }
    const auto member = object.FindMember(name);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

std::string TextOf(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    return value != nullptr && value->IsString()
               ? std::string(value->GetString(), value->GetStringLength())
               : "";
}

// A number that is missing, or below zero where none can be, counts as 0.
std::int64_t NumberOf(const Value& object, const char* name) {
    const Value* const value = Find(object, name);
    return value != nullptr && value->IsInt64() ? value->GetInt64() : 0;
}

std::uint64_t CountOf(const Value& object, const char* name) {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, NumberOf(object, name)));
}

// Calls `take` for each element of a member that is a list.
template <class TTake>
void ForEach(const Value& object, const char* name, const TTake& take) {
    const Value* const list = Find(object, name);
    if (list != nullptr && list->IsArray()) {
        std::for_each(list->Begin(), list->End(), take);
    }
}

// Calls `take` for each count of a member that is an object of them.
template <class TTake>
void ForEachCount(const Value& object, const char* name, const TTake& take) {
    const Value* const counts = Find(object, name);
    if (counts == nullptr || !counts->IsObject()) {
        return;
    }
    for (const auto& member : counts->GetObject()) {
        if (member.value.IsUint64()) {
            take(std::string(member.name.GetString(), member.name.GetStringLength()),
                 member.value.GetUint64());
        }
    }
}

// The text in one line.
std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

bool IsLackOfMemory(const Value& message) {
    const std::int64_t status = NumberOf(message, "status");
    return TextOf(message, "reason") == "no-memory" || status == ERROR_NOT_ENOUGH_MEMORY ||
           status == E_OUTOFMEMORY || TextOf(message, "text") == "std::bad_alloc";
}

void TakeMessage(const Value& message, SConversion& conversion) {
    const std::string level = TextOf(message, "level");
    conversion.lacksMemory = conversion.lacksMemory || IsLackOfMemory(message);
    if (level == "loss") {
        ++conversion.losses;
        ++conversion.lost[TextOf(message, "reason")];
    } else if (level == "error" && conversion.problem.empty()) {
        conversion.problem = OneLine(TextOf(message, "text"));
    }
}

void TakeConversion(const Value& object, SConversion& conversion) {
    conversion.status = static_cast<int>(NumberOf(object, "status"));
    ForEach(object, "targets", [&](const Value& target) {
        ForEachCount(target, "items", [&](const std::string& /*collection*/, std::uint64_t count) {
            conversion.items += count;
        });
        ForEachCount(target, "leftOut", [&](const std::string& reason, std::uint64_t count) {
            conversion.leftOut[reason] += count;
        });
    });
    ForEach(object, "messages", [&](const Value& message) { TakeMessage(message, conversion); });
}

bool FindEnd(const std::string& word, EEnd& end) {
    const auto* const row = std::find_if(std::begin(kEndWords), std::end(kEndWords),
                                         [&](const SEndWord& each) { return word == each.word; });
    end = row == std::end(kEndWords) ? end : row->end;
    return row != std::end(kEndWords);
}

// False when a member is missing without which the result says nothing.
bool TakeResult(const rapidjson::Document& document, SPackageResult& result) {
    const Value* const digests = Find(document, "digests");
    const Value* const status = Find(document, "status");
    if (digests == nullptr || status == nullptr || !status->IsInt() ||
        !FindEnd(TextOf(document, "end"), result.end)) {
        return false;
    }
    for (const SDigestField& field : kDigestFields) {
        result.digests.*field.value = TextOf(*digests, field.name);
    }
    result.status = status->GetInt();
    result.name = TextOf(document, "name");
    result.profile = TextOf(document, "profile");
    result.program = TextOf(document, "program");
    result.reason = OneLine(TextOf(document, "reason"));
    result.signal = static_cast<int>(NumberOf(document, "signal"));
    result.peakMemory = CountOf(document, "peakMemory");
    const Value* const seconds = Find(document, "seconds");
    result.seconds = seconds != nullptr && seconds->IsNumber() ? seconds->GetDouble() : 0;
    if (const Value* const conversion = Find(document, kConversionMember)) {
        TakeConversion(*conversion, result.conversion);
    }
    return true;
}

// `parse` makes a document of the file, and returns false if that is no whole object.
template <class TParse>
EResultState ReadBy(const TParse& parse, const std::filesystem::path& file, SPackageResult& result,
                    std::string& problem) {
    std::error_code error;
    // One look, which a shared folder may have to ask its server for.
    const std::filesystem::file_status status = std::filesystem::status(DeepPath(file), error);
    if (!std::filesystem::exists(status)) {
        return EResultState::Missing;
    }
    // Opening a pipe might never end.
    if (!std::filesystem::is_regular_file(status)) {
        problem = "is no file";
        return EResultState::Unusable;
    }
    std::ifstream stream(DeepPath(file), std::ios::binary);
    rapidjson::Document document;
    SPackageResult read;
    if (!parse(stream, document)) {
        problem = "is cut off or damaged";
    } else if (NumberOf(document, "schema") > kVersion) {
        problem = "is of a newer version of this program";
    } else if (NumberOf(document, "schema") != kVersion || !TakeResult(document, read)) {
        problem = "is not that of a conversion";
    } else {
        result = std::move(read);
        return EResultState::Good;
    }
    return EResultState::Unusable;
}

}  // namespace

std::string FormatSeconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", seconds);
    return text;
}

EPackageOutcome OutcomeOf(const SPackageResult& result) {
    constexpr int kNotWhole = 3;
    return result.status == 0           ? EPackageOutcome::Whole
           : result.status == kNotWhole ? EPackageOutcome::NotWhole
                                        : EPackageOutcome::Failed;
}

bool ReadConversion(std::string_view json, SConversion& conversion) {
    rapidjson::Document document;
    if (!ParseText(std::string(json), document)) {
        return false;
    }
    TakeConversion(document, conversion);
    return true;
}

bool IsResult(const std::filesystem::path& file) {
    // Enough for the version, and for blanks of a program that has laid the file out anew.
    constexpr std::streamsize kStartSize = 256;
    constexpr std::string_view kVersionMember = R"({"schema":)";
    constexpr std::string_view kNameMember = R"(,"name":)";
    std::string start(kStartSize, '\0');
    std::error_code error;
    // Opening a pipe might never end.
    if (!std::filesystem::is_regular_file(DeepPath(file), error)) {
        return false;
    }
    std::ifstream stream(DeepPath(file), std::ios::binary);
    stream.read(start.data(), kStartSize);
    start.resize(static_cast<std::size_t>(stream.gcount()));
    std::erase_if(start, [](char unit) {
        return std::string_view(" \t\r\n").find(unit) != std::string_view::npos;
    });
    std::string_view rest = start;
    const auto skip = [&rest](std::string_view wanted) {
        const std::size_t size = std::min(rest.size(), wanted.size());
        const bool isEqual = rest.substr(0, size) == wanted.substr(0, size);
        rest.remove_prefix(size);
        return isEqual;
    };
    if (!skip(kVersionMember)) {
        return false;
    }
    rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of("0123456789")));
    return skip(kNameMember);
}

EResultState ReadResult(const std::filesystem::path& file, SPackageResult& result,
                        std::string& problem) {
    return ReadBy(ParseAll, file, result, problem);
}

EResultState ReadResultHead(const std::filesystem::path& file, SPackageResult& result,
                            std::string& problem) {
    return ReadBy(ParseHead, file, result, problem);
}

std::string FormatResult(const SPackageResult& result, std::u16string_view name,
                         const std::filesystem::path& profile, std::string_view json) {
    CJsonWriter writer;
    writer.BeginObject();
    writer.Key("schema");
    writer.Number(kVersion);
    writer.Key("name");
    writer.Text(name);
    writer.Key("profile");
    writer.Text(platform::PathText(profile));
    writer.Key("program");
    writer.Ascii(result.program);
    writer.Key("digests");
    writer.BeginObject();
    for (const SDigestField& field : kDigestFields) {
        writer.Key(field.name);
        writer.Utf8(result.digests.*field.value);
    }
    writer.EndObject();
    writer.Key("end");
    writer.Ascii(std::find_if(std::begin(kEndWords), std::end(kEndWords), [&](const SEndWord& row) {
                     return row.end == result.end;
                 })->word);
    if (result.signal != 0) {
        writer.Key("signal");
        writer.Number(result.signal);
    }
    writer.Key("seconds");
    writer.Json(FormatSeconds(result.seconds));
    writer.Key("peakMemory");
    writer.Number(static_cast<std::int64_t>(result.peakMemory));
    writer.Key("status");
    writer.Number(result.status);
    if (!result.reason.empty()) {
        writer.Key("reason");
        writer.Utf8(result.reason);
    }
    writer.Key(kConversionMember);
    if (json.empty()) {
        writer.Null();
    } else {
        writer.Json(json);
    }
    writer.EndObject();
    return std::string(writer.GetBytes()) + '\n';
}

}  // namespace host
