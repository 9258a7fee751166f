// host/batch/batch_result.h - the file result.json of a package, by which a batch knows what it has
// done. docs/json.md describes it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "host/batch/batch_digests.h"

namespace host {

// How a conversion has ended.
enum class EEnd {
    Exit,     // by itself
    Signal,   // by a signal, such as in a crash
    Timeout,  // it took longer than allowed
    Memory,   // it wanted more memory than allowed
};

// What has become of a package, by its result.
enum class EPackageOutcome { Whole, NotWhole, Failed };

// What the JSON of a conversion says, as far as a batch shows it.
struct SConversion {
    int status = 1;
    std::uint64_t items = 0;
    std::uint64_t losses = 0;
    bool lacksMemory = false;                      // whether a message says so
    std::string problem;                           // the first error, in one line
    std::map<std::string, std::uint64_t> lost;     // losses by reason
    std::map<std::string, std::uint64_t> leftOut;  // by reason
};

struct SPackageResult {
    std::string name;     // in the batch, as UTF-8; only ReadResult sets it
    std::string profile;  // its path, as UTF-8
    std::string program;  // the version
    SDigests digests;
    EEnd end = EEnd::Exit;
    int signal = 0;  // that ended it
    double seconds = 0;
    std::uint64_t peakMemory = 0;  // bytes
    int status = 1;                // 0, 3, or 1 for any failure
    std::string reason;            // of a failure, in one line
    SConversion conversion;
};

[[nodiscard]] EPackageOutcome OutcomeOf(const SPackageResult& result);

// Seconds with three decimals, as result files and summaries have them.
[[nodiscard]] std::string FormatSeconds(double seconds);

enum class EResultState {
    Good,
    Missing,
    Unusable,  // cut off, of another form, or of a newer version
};

// Reads what a conversion has printed with --json. False when that is no whole object.
[[nodiscard]] bool ReadConversion(std::string_view json, SConversion& conversion);

// Whether a file begins as a result file, or is one that is cut off right there.
[[nodiscard]] bool IsResult(const std::filesystem::path& file);

// Reads a result file. `result` is changed only when it is good. `problem` says why it is unusable.
[[nodiscard]] EResultState ReadResult(const std::filesystem::path& file, SPackageResult& result,
                                      std::string& problem);

// The same without `conversion`, in memory that does not grow with what the conversion has told.
[[nodiscard]] EResultState ReadResultHead(const std::filesystem::path& file, SPackageResult& result,
                                          std::string& problem);

// The text of a result file, with a line end. `json` is the object of the conversion, or empty.
[[nodiscard]] std::string FormatResult(const SPackageResult& result, std::u16string_view name,
                                       const std::filesystem::path& profile, std::string_view json);

}  // namespace host
