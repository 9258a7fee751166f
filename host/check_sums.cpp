#include "host/check_sums.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <system_error>
#include <vector>

#include "foundation/hex.h"
#include "host/console.h"
#include "platform/local_paths.h"
#include "platform/status.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
constexpr std::size_t kDigits = 2 * std::tuple_size_v<platform::Sha256>;

// In small letters, as sha256sum writes digits. Other programs write capital ones.
void LowerDigits(std::string& digits) {
    for (char& digit : digits) {
        digit = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    }
}

// sha256sum escapes what would end or spoil a line, and says so by a backslash in front of it.
struct SEscape {
    char plain;
    char letter;
};
constexpr SEscape kEscapes[] = {{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}};

std::string FormatLine(const std::string& sum, const std::string& name) {
    std::string escaped;
    for (const char byte : name) {
        const auto* const escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                                [byte](auto row) { return row.plain == byte; });
        escaped +=
            escape == std::end(kEscapes) ? std::string(1, byte) : std::string{'\\', escape->letter};
    }
    return (escaped == name ? "" : "\\") + sum + "  " + escaped + '\n';
}

struct SLine {
    std::string sum;
    std::string name;
};

// The name that FormatLine has escaped; none when a backslash is followed by anything that it does
// not write there, such as the end of the text.
std::optional<std::string> Unescape(const std::string& text) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            name += text[i];
            continue;
        }
        const char letter = ++i < text.size() ? text[i] : '\0';
        const auto* const escape =
            std::find_if(std::begin(kEscapes), std::end(kEscapes),
                         [letter](auto row) { return row.letter == letter; });
        if (escape == std::end(kEscapes)) {
            return std::nullopt;
        }
        name += escape->plain;
    }
    return name;
}

// A line without its line end. In front of the name is a second blank, or a star for binary.
std::optional<SLine> ParseLine(std::string line) {
    const bool isEscaped = line.starts_with('\\');
    line.erase(0, isEscaped ? 1 : 0);
    // The digits have a fixed number, so a name may contain blanks. It is not empty.
    if (line.size() <= kDigits + 2 || line[kDigits] != ' ' ||
        (line[kDigits + 1] != ' ' && line[kDigits + 1] != '*')) {
        return std::nullopt;
    }
    SLine result{line.substr(0, kDigits), line.substr(kDigits + 2)};
    LowerDigits(result.sum);
    if (result.sum.find_first_not_of("0123456789abcdef") != std::string::npos) {
        return std::nullopt;
    }
    if (isEscaped) {
        std::optional<std::string> name = Unescape(result.name);
        if (!name) {
            return std::nullopt;
        }
        result.name = std::move(*name);
    }
    return result;
}

// Whether nothing is at a path, or a list of check sums. Anything else is a file of the package.
bool MayReplace(const fs::path& path) {
    std::error_code error;
    const fs::file_type type = fs::symlink_status(path, error).type();
    if (type != fs::file_type::regular) {
        return type == fs::file_type::not_found;
    }
    std::ifstream lines(path, std::ios::binary);
    std::string line;
    bool isList = true;
    while (isList && std::getline(lines, line)) {
        isList = ParseLine(line).has_value();
    }
    // A file that cannot be read to its end may be anything.
    return isList && lines.eof();
}

}  // namespace

std::string SumText(const platform::Sha256& sum) {
    std::string digits = platform::Utf16ToUtf8(BytesToHex(sum.data(), sum.size()));
    LowerDigits(digits);
    return digits;
}

std::optional<std::string> SumFile(const fs::path& file, std::string& problem) {
    std::ifstream bytes(file, std::ios::binary);
    platform::CSha256 sum;
    // The loop ends at the end of the file, at the first error, or at once when the file is not
    // open. Only the first of these sets the end of the file.
    int status = ERROR_SUCCESS;
    std::vector<char> piece(kPieceBytes);
    while (bytes && status == ERROR_SUCCESS) {
        bytes.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        status = sum.Add(
            std::as_bytes(std::span(piece.data(), static_cast<std::size_t>(bytes.gcount()))));
    }
    platform::Sha256 hash{};
    if (!bytes.eof() || status != ERROR_SUCCESS || sum.Finish(hash) != ERROR_SUCCESS) {
        problem = std::string("the file cannot be read: ") + std::strerror(errno);
        return std::nullopt;
    }
    return SumText(hash);
}

std::string WriteCheckSums(const fs::path& folder) {
    std::string problem;
    const auto tell = [&problem](const fs::path& place, const std::string& words) {
        problem = "'" + Printable(platform::PathText(place)) + "': " + words;
    };
    const fs::path path = folder / kSumsName;
    if (!MayReplace(path)) {
        tell(path, "the file is no list of check sums, and is not replaced");
        return problem;
    }
    std::error_code error;
    // Before the files are listed, so that the list does not name itself.
    fs::remove(path, error);  // what stays shows when the file is opened
    const std::vector<SFoundFile> files = ListFiles(folder, tell);
    std::ofstream sums(path, std::ios::binary | std::ios::trunc);
    for (const SFoundFile& file : files) {
        std::string words;
        const std::optional<std::string> sum =
            // After a problem there will be no list, so no more files are read.
            problem.empty() && file.isRegular ? SumFile(file.path, words) : std::nullopt;
        if (sum) {
            sums << FormatLine(*sum, file.name);
        } else if (!words.empty()) {
            tell(file.path, words);
        }
    }
    sums.close();
    if (problem.empty() && sums.fail()) {
        tell(path, std::string("the check sums cannot be written: ") + std::strerror(errno));
    }
    // A list that lacks files would look like a whole one.
    if (!problem.empty()) {
        fs::remove(path, error);
    }
    return problem;
}

void VerifyCheckSums(const fs::path& folder, std::span<const SFoundFile> files,
                     const TellProblem& tell) {
    const fs::path path = folder / kSumsName;
    std::map<std::string, std::string> sums;
    std::ifstream lines(path, std::ios::binary);
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        std::optional<SLine> parsed = ParseLine(line);
        if (parsed) {
            // Of several lines for one name the last one counts.
            sums[std::move(parsed->name)] = std::move(parsed->sum);
        } else {
            tell(path, "line " + std::to_string(number) + " is no line of sha256sum");
        }
    }
    // With half of a list, all other files would seem to be missing in it.
    if (!lines.eof()) {
        tell(path, std::string("the file cannot be read: ") + std::strerror(errno));
        return;
    }
    for (const SFoundFile& file : files) {
        if (!file.isRegular || file.name == kSumsName) {
            continue;
        }
        const auto listed = sums.find(file.name);
        std::string words;
        if (listed == sums.end()) {
            tell(file.path, std::string("the file is not in ") + kSumsName);
            continue;
        }
        const std::optional<std::string> sum = SumFile(file.path, words);
        if (!sum || *sum != listed->second) {
            tell(file.path,
                 sum ? std::string("the file has other bytes than in ") + kSumsName : words);
        }
        // What is left in the end is in the list alone.
        sums.erase(listed);
    }
    for (const auto& [name, sum] : sums) {
        tell(path,
             "a file of the list is not there: '" + Printable(platform::Utf8ToUtf16(name)) + "'");
    }
}

}  // namespace host
