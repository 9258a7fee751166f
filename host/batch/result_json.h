// host/batch/result_json.h - takes the JSON of conversions and of result files apart.
#pragma once

// Half of a surrogate pair, which a name of Windows may have, is no fault here.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(0)
#include <rapidjson/document.h>

#include <fstream>
#include <string>

namespace host {

// The member of a result file that has the object of the conversion.
constexpr const char* kConversionMember = "result";

// These return false for what is no whole object. U+FFFD takes the place of halves of surrogate
// pairs.
[[nodiscard]] bool ParseText(std::string json, rapidjson::Document& document);
[[nodiscard]] bool ParseAll(std::ifstream& file, rapidjson::Document& document);
// Leaves kConversionMember out. The memory grows with it only where it has half of a pair.
[[nodiscard]] bool ParseHead(std::ifstream& file, rapidjson::Document& document);

}  // namespace host
