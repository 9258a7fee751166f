#include "platform/described/machine_description.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

#include "platform/described/description_rules.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace platform {

namespace {

// A description has a few kilobytes. The limit keeps a wrong file name from filling the memory.
constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;

// The parser limits the depth of nested values, but not that of dotted keys. Each dot makes a table
// in a table, so a file full of dots would exhaust the stack.
constexpr std::ptrdiff_t kMaxDots = 5000;

// A key whose text goes into one field. An empty text means that the machine does not give this
// answer, and keeps every rule.
struct SKnownText {
    std::string_view section;
    std::string_view key;
    std::u16string SMachineDescription::*field;
    bool (*isGood)(std::u16string_view text);
    std::string_view rule;
};

constexpr std::string_view kPathRule = "must be a full Windows path";

constexpr SKnownText kKnownTexts[] = {
    {"system", "locale", &SMachineDescription::locale, &IsLocaleName, "must be a locale's name"},
    {"system", "windows", &SMachineDescription::windowsFolder, &IsWindowsPath, kPathRule},
    {"user", "sid", &SMachineDescription::userSid, &IsSid, "must be a SID"},
};

// Fills a description from a parsed file. Each reading operation returns false at the first error,
// which is then in `m_problem`. A section or key that is not known is an error too, because a
// misspelt one must not be ignored.
class CReader {
public:
    CReader(const std::filesystem::path& file, SMachineDescription& description)
        : m_file(PathText(file)), m_description(description) {}

    bool ReadAll(const toml::table& root);
    bool Fail(std::size_t line, std::string_view what);
    [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

private:
    using Read = bool (CReader::*)(const toml::key& key, const toml::node& value);
    struct SSection {
        std::string_view name;
        Read read;
    };
    static const SSection kSections[];

    bool ReadSection(const toml::key& key, const toml::node& value);
    bool ReadSystem(const toml::key& key, const toml::node& value);
    bool ReadKnownText(const toml::key& key, const toml::node& value);
    bool ReadFolder(const toml::key& key, const toml::node& value);
    bool ReadVariable(const toml::key& key, const toml::node& value);
    bool ReadDrive(const toml::key& key, const toml::node& value);
    bool ReadShare(const toml::key& key, const toml::node& value);
    bool ReadRegistry(const toml::key& key, const toml::node& value);

    bool ReadText(const toml::key& key, const toml::node& value, std::u16string& text);
    bool ReadPosixFolder(const toml::key& key, const toml::node& value, std::string& folder);
    bool FailAt(const toml::key& key, std::string_view what);

    std::u16string m_file;
    SMachineDescription& m_description;
    std::string_view m_section;  // empty outside of one
    std::u16string m_problem;
};

constexpr CReader::SSection CReader::kSections[] = {
    {"system", &CReader::ReadSystem},     {"user", &CReader::ReadKnownText},
    {"folders", &CReader::ReadFolder},    {"environment", &CReader::ReadVariable},
    {"drives", &CReader::ReadDrive},      {"shares", &CReader::ReadShare},
    {"registry", &CReader::ReadRegistry},
};

bool CReader::Fail(std::size_t line, std::string_view what) {
    m_problem = m_file;
    if (line != 0) {
        m_problem += u':';
        m_problem += Utf8ToUtf16(std::to_string(line));
    }
    m_problem += u": ";
    m_problem += Utf8ToUtf16(what);
    return false;
}

// Names the section and the key, such as: [folders] "CSIDL_X": is no special folder
bool CReader::FailAt(const toml::key& key, std::string_view what) {
    std::string text = "[";
    text += m_section.empty() ? key.str() : m_section;
    text += ']';
    if (!m_section.empty()) {
        text += " \"";
        text += key.str();
        text += '"';
    }
    text += ": ";
    text += what;
    return Fail(key.source().begin.line, text);
}

// A section that is there replaces the one of the built-in machine as a whole.
bool CReader::ReadAll(const toml::table& root) {
    if (root.contains("folders")) {
        m_description.folders.clear();
    }
    if (root.contains("environment")) {
        m_description.environment.clear();
    }
    if (root.contains("drives")) {
        m_description.drives.clear();
    }
    if (root.contains("shares")) {
        m_description.shares.clear();
    }
    for (auto&& [key, value] : root) {
        // So an error about the name of a section shows that name.
        m_section = {};
        if (!ReadSection(key, value)) {
            return false;
        }
    }
    return true;
}

bool CReader::ReadSection(const toml::key& key, const toml::node& value) {
    const auto* const section =
        std::find_if(std::begin(kSections), std::end(kSections),
                     [&key](const SSection& row) { return row.name == key.str(); });
    if (section == std::end(kSections)) {
        return FailAt(key, "is no section of a machine description");
    }
    // Null for a line such as "folders = 1".
    const toml::table* const rows = value.as_table();
    if (rows == nullptr) {
        return FailAt(key, "must be a section");
    }
    m_section = section->name;
    for (auto&& [rowKey, rowValue] : *rows) {
        if (!(this->*section->read)(rowKey, rowValue)) {
            return false;
        }
    }
    return true;
}

bool CReader::ReadText(const toml::key& key, const toml::node& value, std::u16string& text) {
    const toml::value<std::string>* const string = value.as_string();
    if (string == nullptr) {
        return FailAt(key, "must be a text in quotes");
    }
    text = Utf8ToUtf16(string->get());
    // It would end the text for every system call, but not for the output.
    return text.find(u'\0') == std::u16string::npos || FailAt(key, "must not hold a NUL");
}

// Two answers of this section are no texts. The others are in the table.
bool CReader::ReadSystem(const toml::key& key, const toml::node& value) {
    if (key == "workstation") {
        const toml::value<bool>* const isWorkstation = value.as_boolean();
        m_description.version.isWorkstation = isWorkstation != nullptr && isWorkstation->get();
        return isWorkstation != nullptr || FailAt(key, "must be true or false");
    }
    if (key == "version") {
        std::u16string text;
        return ReadText(key, value, text) &&
               (ParseVersion(Utf16ToUtf8(text), m_description.version) ||
                FailAt(key, "must be two numbers with a dot between them"));
    }
    return ReadKnownText(key, value);
}

bool CReader::ReadKnownText(const toml::key& key, const toml::node& value) {
    const auto* const row = std::find_if(
        std::begin(kKnownTexts), std::end(kKnownTexts), [this, &key](const SKnownText& candidate) {
            return candidate.section == m_section && candidate.key == key.str();
        });
    if (row == std::end(kKnownTexts)) {
        return FailAt(key, "is no key of this section");
    }
    std::u16string& text = m_description.*row->field;
    return ReadText(key, value, text) &&
           (text.empty() || row->isGood(text) || FailAt(key, row->rule));
}

bool CReader::ReadFolder(const toml::key& key, const toml::node& value) {
    const std::u16string name = Utf8ToUtf16(key.str());
    if (!IsFolderName(name)) {
        return FailAt(key, "is no special folder");
    }
    // Letter case counts here, as in TOML, which refuses a key that comes twice. So no row is lost.
    std::u16string& path = m_description.folders[name];
    return ReadText(key, value, path) && (IsWindowsPath(path) || FailAt(key, kPathRule));
}

bool CReader::ReadVariable(const toml::key& key, const toml::node& value) {
    const std::u16string name = Utf8ToUtf16(key.str());
    if (name.empty() || name.find_first_of(std::u16string_view(u"=\0", 2)) != name.npos) {
        return FailAt(key, "is no name of a variable");
    }
    // The map ignores letter case, TOML does not: the second of two such keys would be lost.
    const auto [row, isNew] = m_description.environment.try_emplace(name);
    return isNew ? ReadText(key, value, row->second)
                 : FailAt(key, "differs only in letter case from another key");
}

// Whether the folder exists is not checked, because it may be mounted later. Until then a look-up
// in it fails.
bool CReader::ReadPosixFolder(const toml::key& key, const toml::node& value, std::string& folder) {
    std::u16string text;
    if (!ReadText(key, value, text)) {
        return false;
    }
    folder = Utf16ToUtf8(text);
    return folder.starts_with('/') || FailAt(key, "must be a folder that starts with a slash");
}

bool CReader::ReadDrive(const toml::key& key, const toml::node& value) {
    const std::u16string name = Utf8ToUtf16(key.str());
    if (!IsDrive(name)) {
        return FailAt(key, "must be a letter and a colon");
    }
    const auto letter = static_cast<char16_t>(name[0] & ~0x20);
    const auto [row, isNew] = m_description.drives.try_emplace(letter);
    return isNew ? ReadPosixFolder(key, value, row->second)
                 : FailAt(key, "differs only in letter case from another key");
}

bool CReader::ReadShare(const toml::key& key, const toml::node& value) {
    const std::u16string name = Utf8ToUtf16(key.str());
    if (!IsShare(name)) {
        return FailAt(key, R"(must be \\server\share)");
    }
    const auto [row, isNew] = m_description.shares.try_emplace(name);
    return isNew ? ReadPosixFolder(key, value, row->second)
                 : FailAt(key, "differs only in letter case from another key");
}

// An empty list is allowed: then no hive counts as one without a file.
bool CReader::ReadRegistry(const toml::key& key, const toml::node& value) {
    if (key != "hivelist") {
        return FailAt(key, "is no key of this section");
    }
    const toml::array* const names = value.as_array();
    if (names == nullptr) {
        return FailAt(key, "must be a list of texts");
    }
    m_description.volatileHives.clear();
    for (const toml::node& name : *names) {
        std::u16string& hive = m_description.volatileHives.emplace_back();
        if (!ReadText(key, name, hive)) {
            return false;
        }
        if (!IsHive(hive)) {
            return FailAt(key, R"(every name must start with \REGISTRY\)");
        }
    }
    return true;
}

// 0, or the errno of the failure; EFBIG for a file that is no description by its size.
int ReadFile(const std::filesystem::path& name, std::string& bytes) {
    // A stream does not tell why it failed, but the calls below it leave the reason in errno.
    errno = 0;
    std::ifstream file(name, std::ios::binary);
    // One byte more than allowed shows whether there is more.
    bytes.resize(kMaxFileSize + 1);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad()) {
        return errno != 0 ? errno : EIO;
    }
    return bytes.size() > kMaxFileSize ? EFBIG : 0;
}

}  // namespace

bool ReadMachineDescription(const std::filesystem::path& file, SMachineDescription& description,
                            std::u16string& problem) {
    // Into a copy, because the caller's description stays as it is if the file is refused.
    SMachineDescription read = GetBuiltInMachine();
    CReader reader(file, read);
    std::string bytes;
    bool isGood = false;
    if (const int error = ReadFile(file, bytes)) {
        reader.Fail(0, std::generic_category().message(error));
    } else if (std::count(bytes.begin(), bytes.end(), '.') > kMaxDots) {
        reader.Fail(0, "has more dots than any machine description");
    } else {
        try {
            isGood = reader.ReadAll(toml::parse(bytes));
        } catch (const toml::parse_error& failure) {
            reader.Fail(failure.source().begin.line, failure.description());
        }
    }
    if (isGood) {
        description = std::move(read);
    } else {
        problem = reader.GetProblem();
    }
    return isGood;
}

}  // namespace platform
