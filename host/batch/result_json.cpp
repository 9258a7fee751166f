#include "host/batch/result_json.h"

#include <rapidjson/istreamwrapper.h>
#include <rapidjson/reader.h>

#include <cstdint>
#include <iterator>
#include <string_view>

#include "host/json.h"

namespace host {

namespace {

using rapidjson::SizeType;

std::string ReadAll(std::ifstream& stream) {
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Passes what is parsed on to a document, but for the object of the conversion.
class CHeadHandler {
public:
    explicit CHeadHandler(rapidjson::Document& document) : m_document(document) {}

    bool Null() { return Take(&rapidjson::Document::Null); }
    bool Bool(bool value) { return Take(&rapidjson::Document::Bool, value); }
    bool Int(int value) { return Take(&rapidjson::Document::Int, value); }
    bool Uint(unsigned value) { return Take(&rapidjson::Document::Uint, value); }
    bool Int64(std::int64_t value) { return Take(&rapidjson::Document::Int64, value); }
    bool Uint64(std::uint64_t value) { return Take(&rapidjson::Document::Uint64, value); }
    bool Double(double value) { return Take(&rapidjson::Document::Double, value); }
    bool RawNumber(const char* text, SizeType size, bool isCopied) {
        return Take(&rapidjson::Document::RawNumber, text, size, isCopied);
    }
    bool String(const char* text, SizeType size, bool isCopied) {
        return Take(&rapidjson::Document::String, text, size, isCopied);
    }
    bool Key(const char* text, SizeType size, bool isCopied) {
        m_isSkipping =
            m_isSkipping || (m_depth == 1 && std::string_view(text, size) == kConversionMember);
        m_skipped += m_isSkipping && m_depth == 1 ? 1 : 0;
        return m_isSkipping || m_document.Key(text, size, isCopied);
    }
    bool StartObject() { return Open(&rapidjson::Document::StartObject); }
    bool EndObject(SizeType members) {
        --m_depth;
        return Take(&rapidjson::Document::EndObject, members - (m_depth == 0 ? m_skipped : 0));
    }
    bool StartArray() { return Open(&rapidjson::Document::StartArray); }
    bool EndArray(SizeType elements) {
        --m_depth;
        return Take(&rapidjson::Document::EndArray, elements);
    }

private:
    bool Open(bool (rapidjson::Document::*start)()) {
        ++m_depth;
        return m_isSkipping || (m_document.*start)();
    }
    // A value, or the end of one.
    template <class... TParameters, class... TArguments>
    bool Take(bool (rapidjson::Document::*take)(TParameters...), TArguments... arguments) {
        const bool isSkipped = m_isSkipping;
        m_isSkipping = m_isSkipping && m_depth > 1;
        return isSkipped || (m_document.*take)(arguments...);
    }

    rapidjson::Document& m_document;
    std::uint64_t m_depth = 0;  // of objects and arrays that are open
    SizeType m_skipped = 0;     // members
    bool m_isSkipping = false;
};

template <class TStream>
rapidjson::ParseResult ParseHeadOf(TStream& stream, rapidjson::Document& document) {
    rapidjson::Reader reader;
    const auto parse = [&](rapidjson::Document& parsed) {
        CHeadHandler handler(parsed);
        return !reader.Parse<rapidjson::kParseIterativeFlag>(stream, handler).IsError();
    };
    document.Populate(parse);
    return {reader.GetParseErrorCode(), reader.GetErrorOffset()};
}

}  // namespace

bool ParseText(std::string json, rapidjson::Document& document) {
    // Iterative, because a file may nest to any depth. Given a size, the library would pass over
    // a byte order mark, which ParseHead takes for a fault.
    document.Parse<rapidjson::kParseIterativeFlag>(json.c_str());
    if (document.HasParseError() &&
        document.GetParseError() == rapidjson::kParseErrorStringUnicodeSurrogateInvalid) {
        ReplaceLoneHalves(json);
        document.Parse<rapidjson::kParseIterativeFlag>(json.c_str());
    }
    return !document.HasParseError() && document.IsObject();
}

bool ParseAll(std::ifstream& file, rapidjson::Document& document) {
    return ParseText(ReadAll(file), document);
}

bool ParseHead(std::ifstream& file, rapidjson::Document& document) {
    rapidjson::IStreamWrapper wrapped(file);
    rapidjson::ParseResult parsed = ParseHeadOf(wrapped, document);
    if (parsed.Code() == rapidjson::kParseErrorStringUnicodeSurrogateInvalid) {
        file.clear();
        file.seekg(0);
        std::string json = ReadAll(file);
        ReplaceLoneHalves(json);
        rapidjson::StringStream text(json.c_str());
        parsed = ParseHeadOf(text, document);
    }
    return !parsed.IsError() && document.IsObject();
}

}  // namespace host
