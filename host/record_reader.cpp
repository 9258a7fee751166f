#include "host/record_reader.h"

// Half of a surrogate pair, which a name of Windows may have, is no fault here.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(0)
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <fstream>
#include <string_view>

#include "foundation/json_memory.h"
#include "host/console.h"
#include "host/json.h"
#include "platform/utf8.h"

namespace host {

namespace {

constexpr std::int64_t kVersion = 1;

using Utf16 = rapidjson::UTF16<char16_t>;

// All that a line may have, be it the head or another one.
struct SLine : SRecordEntry {
    std::int64_t record = 0;  // the version of the format
    std::string state;
    std::uint64_t losses = 0;
    std::uint64_t missing = 0;
};

template <class TValue>
struct SField {
    std::u16string_view name;
    TValue SLine::*value;
};

constexpr SField<std::u16string> kTexts[] = {{u"source", &SLine::source},
                                             {u"target", &SLine::target},
                                             {u"name", &SLine::name},
                                             {u"detail", &SLine::detail}};
constexpr SField<std::string> kWords[] = {{u"thing", &SLine::thing},
                                          {u"outcome", &SLine::outcome},
                                          {u"reason", &SLine::reason},
                                          {u"collection", &SLine::collection},
                                          {u"state", &SLine::state}};
constexpr SField<std::int64_t> kNumbers[] = {{u"status", &SLine::status},
                                             {u"record", &SLine::record}};
// What cannot be negative.
constexpr SField<std::uint64_t> kCounts[] = {{u"in", &SLine::in},
                                             {u"log", &SLine::log},
                                             {u"line", &SLine::line},
                                             {u"losses", &SLine::losses},
                                             {u"missing", &SLine::missing}};

// Null for a field of another kind, or one that is not known.
template <class TValue, std::size_t kCount>
TValue* Find(SLine& line, std::u16string_view name, const SField<TValue> (&fields)[kCount]) {
    for (const SField<TValue>& field : fields) {
        if (field.name == name) {
            return &(line.*field.value);
        }
    }
    return nullptr;
}

// Takes the values of one object as the parser comes to them. What is not known is passed over,
// with all that is in it.
class CLineHandler : public rapidjson::BaseReaderHandler<Utf16, CLineHandler> {
public:
    // Begins a line. Texts keep their memory for the next one.
    void Clear() {
        const auto clear = [this](const auto& fields) {
            for (const auto& field : fields) {
                (m_line.*field.value) = {};
            }
        };
        clear(kNumbers);
        clear(kCounts);
        for (const auto& field : kTexts) {
            (m_line.*field.value).clear();
        }
        for (const auto& field : kWords) {
            (m_line.*field.value).clear();
        }
        m_line.items.clear();
        m_depth = 0;
        m_isInItems = false;
        m_isObject = false;
    }
    [[nodiscard]] const SLine& GetLine() const { return m_line; }
    [[nodiscard]] bool IsObject() const { return m_isObject; }

    // The parser calls what follows, by these names.
    bool StartObject() {
        m_isObject = m_isObject || m_depth == 0;
        m_isInItems = m_depth == 1 && m_name == u"items";
        return StartArray();
    }
    bool EndObject(rapidjson::SizeType /*count*/) { return EndArray(0); }
    // Only what is at depth 1 is a field of the line. What is deeper is passed over, but for the
    // counts of items.
    bool StartArray() {
        ++m_depth;
        return true;
    }
    bool EndArray(rapidjson::SizeType /*count*/) {
        --m_depth;
        m_isInItems = false;
        return true;
    }
    bool Key(const char16_t* text, rapidjson::SizeType length, bool /*isCopy*/) {
        m_name.assign(text, m_depth == 1 || m_isInItems ? length : 0);
        return true;
    }
    bool String(const char16_t* text, rapidjson::SizeType length, bool /*isCopy*/) {
        if (m_depth != 1) {
            return true;
        }
        if (std::u16string* const value = Find(m_line, m_name, kTexts)) {
            value->assign(text, length);
        } else if (std::string* const word = Find(m_line, m_name, kWords)) {
            *word = platform::Utf16ToUtf8({text, length});
        }
        return true;
    }
    // What has no function here, such as a fraction or a greater number, is passed over by the base
    // class.
    bool Int(int number) { return Int64(number); }
    bool Uint(unsigned number) { return Int64(number); }
    bool Int64(std::int64_t number) {
        // A number below zero is a fault of the file; it counts as none.
        const auto natural = static_cast<std::uint64_t>(std::max<std::int64_t>(0, number));
        if (m_isInItems) {
            m_line.items[platform::Utf16ToUtf8(m_name)] = natural;
        }
        if (m_depth != 1) {
            return true;
        }
        if (std::int64_t* const value = Find(m_line, m_name, kNumbers)) {
            *value = number;
        } else if (std::uint64_t* const count = Find(m_line, m_name, kCounts)) {
            *count = natural;
        }
        return true;
    }

private:
    SLine m_line;
    std::u16string m_name;
    std::size_t m_depth = 0;
    bool m_isInItems = false;
    bool m_isObject = false;
};

// Reads one line after the other. What a line has needs memory only until the next one.
class CLineParser {
public:
    bool Parse(std::string& line) {
        if (ParseOnce(line)) {
            return true;
        }
        if (m_reader.GetParseErrorCode() == rapidjson::kParseErrorStringUnicodeSurrogateInvalid) {
            ReplaceLoneHalves(line);
            return ParseOnce(line);
        }
        return false;
    }
    [[nodiscard]] const SLine& GetLine() const { return m_handler.GetLine(); }

private:
    // Iterative, because a line may have any depth.
    bool ParseOnce(const std::string& line) {
        m_handler.Clear();
        // This stream knows its end. A line may end within a character, and the parser reads the
        // rest of a character without a look at what it is.
        rapidjson::MemoryStream stream(line.data(), line.size());
        return !m_reader.Parse<rapidjson::kParseIterativeFlag>(stream, m_handler).IsError() &&
               m_handler.IsObject();
    }

    rapidjson::GenericReader<rapidjson::UTF8<>, Utf16, CJsonMemory> m_reader;
    CLineHandler m_handler;
};

}  // namespace

bool IsRecord(const std::filesystem::path& file) {
    constexpr std::string_view kStart = "{\"record\":";
    std::string bytes(kStart.size(), '\0');
    std::ifstream(file, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes == kStart;
}

std::string ReadRecord(const std::filesystem::path& file, SRecordHead& head,
                       const RecordEntryHandler& handle) {
    std::ifstream record(file, std::ios::binary);
    if (!record.is_open()) {
        return "the record " + Quote(file) + " cannot be read";
    }
    std::string line;
    CLineParser parser;
    const auto isNext = [&] { return static_cast<bool>(std::getline(record, line)); };
    // A file of another kind may have a first line without end.
    if (record.peek() != '{' || !isNext() || !parser.Parse(line) || parser.GetLine().record == 0) {
        return Quote(file) + " is no record of a conversion";
    }
    // The same object for each line: Parse fills it anew.
    const SLine& read = parser.GetLine();
    if (read.record > kVersion) {
        return "the record " + Quote(file) + " is of a newer version; use that program to read it";
    }
    head = {read.state, read.status, read.losses, read.missing};
    for (std::size_t number = 2; isNext(); ++number) {
        // The line that is being written when the conversion is killed is no fault.
        const bool mayBeCutOff = record.eof() && head.state != "whole";
        if (!parser.Parse(line)) {
            return mayBeCutOff ? ""
                               : "the record " + Quote(file) + " is damaged in line " +
                                     std::to_string(number);
        }
        handle(read);
    }
    return "";
}

}  // namespace host
