#include "host/record_reader.h"

// Half of a surrogate pair, which a name of Windows may have, is no fault here.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(0)
#include <rapidjson/document.h>

#include <fstream>

#include "host/console.h"
#include "platform/utf8.h"

namespace host {

namespace {

constexpr std::int64_t kVersion = 1;

using Document = rapidjson::GenericDocument<rapidjson::UTF16<char16_t>>;

const Document::ValueType* Find(const Document& object, const char16_t* name) {
    const auto member = object.FindMember(name);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

std::u16string TextOf(const Document& object, const char16_t* name) {
    const auto* const value = Find(object, name);
    return value != nullptr && value->IsString()
               ? std::u16string(value->GetString(), value->GetStringLength())
               : std::u16string();
}

std::string WordOf(const Document& object, const char16_t* name) {
    return platform::Utf16ToUtf8(TextOf(object, name));
}

std::int64_t NumberOf(const Document& object, const char16_t* name) {
    const auto* const value = Find(object, name);
    return value != nullptr && value->IsInt64() ? value->GetInt64() : 0;
}

// What cannot be negative.
std::uint64_t CountOf(const Document& object, const char16_t* name) {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, NumberOf(object, name)));
}

// Puts U+FFFD in place of the first half of a pair that is alone, which the parser takes for a
// fault. In a record only halves that are alone are escapes.
void ReplaceLoneHalves(std::string& line) {
    for (std::size_t at = line.find("\\ud"); at != std::string::npos;
         at = line.find("\\ud", at + 1)) {
        const bool isFirst = at + 3 < line.size() && line[at + 3] >= '8' && line[at + 3] <= 'b';
        if (isFirst && at + 6 <= line.size()) {
            line.replace(at, 6, "\\ufffd");
        }
    }
}

bool Parse(std::string& line, Document& object) {
    object.Parse<rapidjson::kParseDefaultFlags, rapidjson::UTF8<>>(line.c_str());
    if (object.HasParseError() &&
        object.GetParseError() == rapidjson::kParseErrorStringUnicodeSurrogateInvalid) {
        ReplaceLoneHalves(line);
        object.Parse<rapidjson::kParseDefaultFlags, rapidjson::UTF8<>>(line.c_str());
    }
    return !object.HasParseError() && object.IsObject();
}

SRecordEntry EntryOf(const Document& object) {
    SRecordEntry entry;
    entry.in = CountOf(object, u"in");
    entry.thing = WordOf(object, u"thing");
    entry.outcome = WordOf(object, u"outcome");
    entry.reason = WordOf(object, u"reason");
    entry.source = TextOf(object, u"source");
    entry.name = TextOf(object, u"name");
    entry.collection = WordOf(object, u"collection");
    entry.target = TextOf(object, u"target");
    entry.detail = TextOf(object, u"detail");
    entry.status = NumberOf(object, u"status");
    entry.line = CountOf(object, u"line");
    entry.log = CountOf(object, u"log");
    return entry;
}

}  // namespace

std::string ReadRecord(const std::filesystem::path& file, SRecordHead& head,
                       const RecordEntryHandler& handle) {
    std::ifstream record(file, std::ios::binary);
    if (!record.is_open()) {
        return "the record " + Quote(file) + " cannot be read";
    }
    std::string line;
    Document object;
    const auto isNext = [&] { return static_cast<bool>(std::getline(record, line)); };
    if (!isNext() || !Parse(line, object) || NumberOf(object, u"record") == 0) {
        return Quote(file) + " is no record of a conversion";
    }
    if (NumberOf(object, u"record") > kVersion) {
        return "the record " + Quote(file) + " is of a newer version; use that program to read it";
    }
    head = {WordOf(object, u"state"), NumberOf(object, u"status"), CountOf(object, u"losses"),
            CountOf(object, u"missing")};
    for (std::size_t number = 2; isNext(); ++number) {
        if (!Parse(line, object)) {
            return record.eof() ? ""
                                : "the record " + Quote(file) + " is damaged in line " +
                                      std::to_string(number);
        }
        handle(EntryOf(object));
    }
    return "";
}

}  // namespace host
