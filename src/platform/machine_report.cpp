#include "platform/machine_report.h"

#include <algorithm>

#include "platform/answers.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace platform {

namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// Appends a byte of a text in double quotes. A control character gets the escape with four digits,
// which TOML knows for each of them. The bytes of other UTF-8 characters are appended unchanged.
void AppendEscaped(std::string& toml, char c) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    if (IsControl(c)) {
        toml += "\\u00";
        toml += kHex[static_cast<unsigned char>(c) >> 4];
        toml += kHex[static_cast<unsigned char>(c) & 0xF];
        return;
    }
    if (c == '"' || c == '\\') {
        toml += '\\';
    }
    toml += c;
}

std::string Quote(std::string_view text) {
    // TOML: single quotes keep backslashes, but the text can then have no single quote and no
    // control character.
    const bool isPlain = text.find_first_of("\"\\") == std::string_view::npos;
    const bool isLiteral = !isPlain && text.find('\'') == std::string_view::npos &&
                           std::none_of(text.begin(), text.end(), IsControl);
    const char mark = isLiteral ? '\'' : '"';
    std::string toml(1, mark);
    for (const char c : text) {
        if (isLiteral) {
            toml += c;
        } else {
            AppendEscaped(toml, c);
        }
    }
    return toml + mark;
}

bool IsBareKeyUnit(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
}

std::string FormatText(std::string_view key, std::u16string_view value) {
    return FormatRow(key, Utf16ToUtf8(value));
}

// The maps are sorted, so equal answers give equal bytes.
template <class TMap>
std::string FormatRows(const TMap& rows) {
    std::string toml;
    for (const auto& [key, value] : rows) {
        toml += FormatText(Utf16ToUtf8(key), value);
    }
    return toml;
}

// FormatRow puts every value in quotes. "workstation" is a boolean of TOML, which has none.
std::string FormatSystem(const SMachineAnswers& answers) {
    const SSystemVersion& version = answers.version;
    return FormatRow("version",
                     std::to_string(version.major) + '.' + std::to_string(version.minor)) +
           "workstation = " + (version.isWorkstation ? "true" : "false") + '\n' +
           FormatText("locale", answers.locale) + FormatText("windows", answers.windowsFolder);
}

// TOML allows the comma after the last name.
std::string FormatHives(const std::vector<std::u16string>& hives) {
    std::string toml = "hivelist = [";
    for (const std::u16string& hive : hives) {
        toml += "\n    " + Quote(Utf16ToUtf8(hive)) + ',';
    }
    return toml + (hives.empty() ? "]\n" : "\n]\n");
}

}  // namespace

// Unit by unit, and not as a locale collates: the order of a map must never change.
bool SNameLess::operator()(std::u16string_view left, std::u16string_view right) const {
    return std::lexicographical_compare(
        left.begin(), left.end(), right.begin(), right.end(),
        [](char16_t a, char16_t b) { return FoldUnit(a) < FoldUnit(b); });
}

SMachineAnswers AskMachine(const CMachineAnswers& machine) {
    SMachineAnswers answers;
    answers.version = machine.GetSystemVersion();
    answers.locale = machine.GetLocaleName();
    // It stays empty where there is none.
    static_cast<void>(machine.GetWindowsFolder(answers.windowsFolder));
    answers.userSid = machine.GetUserSid();
    // The operations write only on success, so `text` is used only where one has returned true.
    std::u16string text;
    for (const SSpecialFolder& folder : kSpecialFolders) {
        if (machine.GetSpecialFolder(folder.csidl, text)) {
            answers.folders.emplace(folder.name, text);
        }
    }
    if (machine.GetLocalAppDataLow(text)) {
        answers.folders.emplace(kLocalAppDataLowName, text);
    }
    for (const char16_t* name : kEnvironmentVariables) {
        if (machine.GetEnvironmentText(name, text)) {
            answers.environment.emplace(name, text);
        }
    }
    answers.volatileHives = machine.GetVolatileHives();
    return answers;
}

std::string FormatAnswers(const SMachineAnswers& answers) {
    std::string toml = "[system]\n" + FormatSystem(answers);
    toml += "\n[user]\n" + FormatText("sid", answers.userSid);
    toml += "\n[folders]\n" + FormatRows(answers.folders);
    toml += "\n[environment]\n" + FormatRows(answers.environment);
    toml += "\n[registry]\n" + FormatHives(answers.volatileHives);
    return toml;
}

// A bare key of TOML has only ASCII letters, digits, "_" and "-". Names such as "ProgramFiles(x86)"
// and "C:" need quotes.
std::string FormatRow(std::string_view key, std::string_view value) {
    const bool isBare = !key.empty() && std::all_of(key.begin(), key.end(), IsBareKeyUnit);
    return (isBare ? std::string(key) : Quote(key)) + " = " + Quote(value) + '\n';
}

}  // namespace platform
