#include "host/export_command.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/interruption.h"
#include "host/key_names.h"
#include "host/manifest_items.h"
#include "host/portable_text.h"
#include "host/progress_text.h"
#include "host/reg_file.h"
#include "host/result_file.h"
#include "host/system.h"
#include "platform/local_paths.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr std::size_t kMostTold = 100;   // items that are told one by one
constexpr std::size_t kMostShown = 200;  // columns of a name in a message

// Whether a key may be another one for programs of another architecture.
bool HasViews(const std::u16string& key) {
    return IsKeyBelow(key, uR"(HKEY_LOCAL_MACHINE\SOFTWARE)") ||
           IsKeyBelow(key, uR"(HKEY_CURRENT_USER\Software\Classes)") ||
           IsKeyBelow(key, u"HKEY_USERS");
}

// What keeps a key out of the file; empty when nothing does.
std::string FindKeyFault(const std::u16string& key) {
    const Text hive = Text(key).substr(0, key.find(u'\\'));
    if (hive != u"HKEY_LOCAL_MACHINE" && hive != u"HKEY_CURRENT_USER" && hive != u"HKEY_USERS") {
        return "the key is in no hive that a manifest may name";
    }
    if (key.ends_with(u'\\') || key.find(uR"(\\)") != Text::npos) {
        return "the key has an empty name in it";
    }
    return CRegFile::CanName(key) ? "" : "a .reg file has no form for a line break in a name";
}

// One run of the command.
class CExport {
public:
    explicit CExport(const SCommand& command)
        : m_command(command),
          m_texts(command.machine.empty() ? ETokenUse::Keep : ETokenUse::Replace) {}
    int Run();
    void WriteJson(CJsonWriter& json) const;

private:
    // Adds an item to the file. Returns what keeps it out; empty when nothing does.
    using Add = std::string (CExport::*)(const SItem& item, const std::u16string& key);
    struct SCollection {
        Text name;
        Add add;
        std::uint64_t CExport::*count;
    };
    static const SCollection kCollections[];

    [[nodiscard]] bool OpenFile();
    [[nodiscard]] bool SaveFile();
    void TakeItem(const SItem& item);
    [[nodiscard]] std::string AddItem(const SItem& item, Add add);
    [[nodiscard]] std::string CheckView(const SItem& item, const std::u16string& key) const;
    [[nodiscard]] std::string AddKey(const SItem& item, const std::u16string& key);
    [[nodiscard]] std::string DropKey(const SItem& item, const std::u16string& key);
    [[nodiscard]] std::string AddValue(const SItem& item, const std::u16string& key);
    [[nodiscard]] std::string DropValue(const SItem& item, const std::u16string& key);
    [[nodiscard]] std::string ReadName(const SItem& item, std::u16string& name);
    [[nodiscard]] bool ResolveData(RegistryData& data);
    void TellLeftOut(const SItem& item, const std::string& reason);
    void TellTokens() const;
    void TellSummary() const;

    const SCommand& m_command;
    CPortableText m_texts;
    CRegFile m_registry;
    CResultFile m_file{".reg file", "nothing was exported"};
    std::u16string m_architecture;  // of the package
    std::uint64_t m_keys = 0;
    std::uint64_t m_values = 0;
    std::uint64_t m_deletions = 0;
    std::uint64_t m_others = 0;  // items of other collections
    std::uint64_t m_leftOut = 0;
};

const CExport::SCollection CExport::kCollections[] = {
    {u"CreateKeys", &CExport::AddKey, &CExport::m_keys},
    {u"DeleteKeys", &CExport::DropKey, &CExport::m_deletions},
    {u"CreateValues", &CExport::AddValue, &CExport::m_values},
    {u"DeleteValues", &CExport::DropValue, &CExport::m_deletions},
};

int CExport::Run() {
    CInterruption interruption([this] { m_file.RemoveOwn(); });
    if (!OpenFile()) {
        return kExitFailed;
    }
    interruption.Allow();
    const std::string problem =
        ReadItems(platform::LocalPath(m_command.manifest), [this](const SItem& item) {
            CInterruption::Step();
            TakeItem(item);
            return true;
        });
    if (!problem.empty()) {
        Complain("nothing was exported from " + Quote(platform::LocalPath(m_command.manifest)) +
                 ": " + problem);
        return kExitFailed;
    }
    if (!SaveFile()) {
        return kExitFailed;
    }
    TellTokens();
    TellSummary();
    return m_leftOut == 0 && m_texts.GetMissing().empty() ? kExitDone : kExitNotWhole;
}

bool CExport::OpenFile() {
    for (const auto& [what, file] : {std::pair("manifest", &m_command.manifest),
                                     std::pair("machine description", &m_command.machine)}) {
        std::error_code error;  // means that they are not one file
        if (std::filesystem::equivalent(platform::LocalPath(*file),
                                        platform::LocalPath(m_command.output), error)) {
            Complain(std::string("the .reg file would replace the ") + what +
                     "; name another file");
            return false;
        }
    }
    return m_file.OpenOwn(m_command.output);
}

bool CExport::SaveFile() {
    std::ofstream file(m_file.GetTemporary(), std::ios::binary | std::ios::trunc);
    m_registry.Write(file, CInterruption::Step);
    file.close();
    if (file.fail()) {
        Complain("the .reg file " + Quote(platform::LocalPath(m_command.output)) +
                 " cannot be written: " + std::strerror(errno));
        return false;
    }
    return m_file.Publish();
}

void CExport::TakeItem(const SItem& item) {
    if (item.collection == u"Properties") {
        m_architecture = item.element == u"Architecture" ? item.text : Text(m_architecture);
        return;
    }
    const auto* const collection =
        std::ranges::find(kCollections, item.collection, &SCollection::name);
    if (collection == std::end(kCollections)) {
        ++m_others;
        return;
    }
    const std::string reason = AddItem(item, collection->add);
    if (reason.empty()) {
        ++(this->*collection->count);
    } else {
        TellLeftOut(item, reason);
    }
}

std::string CExport::AddItem(const SItem& item, Add add) {
    if (item.hasBadEscape) {
        return "a tilde in it begins no escape";
    }
    const std::optional<std::u16string> key =
        m_texts.Resolve(GetAttribute(item, u"Target"), EForm::Key);
    if (!key) {
        return "the key is no portable text";
    }
    std::string fault = FindKeyFault(*key);
    if (fault.empty()) {
        fault = CheckView(item, *key);
    }
    return fault.empty() ? (this->*add)(item, *key) : fault;
}

// Which keys of another view are below Wow6432Node depends on the version of Windows, and a file is
// imported into one view. So only a key that is the same in both is exported.
std::string CExport::CheckView(const SItem& item, const std::u16string& key) const {
    const Text* const view = FindAttribute(item, u"Architecture");
    if (view == nullptr || *view == m_architecture || !HasViews(key)) {
        return "";
    }
    return "it is for the registry of another architecture, '" +
           Printable(CutMiddle(*view, kMostShown)) + "'";
}

std::string CExport::AddKey(const SItem& /*item*/, const std::u16string& key) {
    m_registry.CreateKey(key);
    return "";
}

std::string CExport::DropKey(const SItem& item, const std::u16string& key) {
    if (key.find(u'\\') == Text::npos) {
        return "a hive cannot be deleted";
    }
    if (GetAttribute(item, u"Recursive") == u"0") {
        return "a .reg file deletes a key only with all keys below it, which this item does not";
    }
    m_registry.DeleteKey(key);
    return "";
}

std::string CExport::AddValue(const SItem& item, const std::u16string& key) {
    std::u16string name;
    std::string fault = ReadName(item, name);
    if (!fault.empty()) {
        return fault;
    }
    const Text typeName = GetAttribute(item, u"Type");
    const std::optional<std::uint32_t> type = FindRegistryType(typeName);
    if (!type) {
        return typeName.empty() ? "the manifest has neither type nor data of the value"
                                : "the type of the value is not known";
    }
    std::optional<RegistryData> data = DecodeRegistryData(typeName, item.text);
    if (!data || !ResolveData(*data)) {
        return "the text has not the form of " + Printable(typeName);
    }
    m_registry.SetValue(key, name, *type, *data);
    return "";
}

std::string CExport::DropValue(const SItem& item, const std::u16string& key) {
    std::u16string name;
    std::string fault = ReadName(item, name);
    if (fault.empty()) {
        m_registry.DeleteValue(key, name);
    }
    return fault;
}

std::string CExport::ReadName(const SItem& item, std::u16string& name) {
    std::optional<std::u16string> resolved =
        m_texts.Resolve(GetAttribute(item, u"Value"), EForm::Path);
    if (!resolved) {
        return "the name of the value is no portable text";
    }
    name = std::move(*resolved);
    return CRegFile::CanName(name) ? "" : "a .reg file has no form for a line break in a name";
}

// The strings of the data are portable texts. False when one is not.
bool CExport::ResolveData(RegistryData& data) {
    const auto resolve = [this](std::u16string& text) {
        std::optional<std::u16string> resolved = m_texts.Resolve(text, EForm::Path);
        text = resolved.value_or(u"");
        return resolved.has_value();
    };
    if (auto* const text = std::get_if<std::u16string>(&data)) {
        return resolve(*text);
    }
    auto* const list = std::get_if<std::vector<std::u16string>>(&data);
    return list == nullptr || std::ranges::all_of(*list, resolve);
}

void CExport::TellLeftOut(const SItem& item, const std::string& reason) {
    if (++m_leftOut > kMostTold) {
        return;
    }
    const Text key = GetAttribute(item, u"Target");
    const std::u16string name = item.collection.ends_with(u"Values")
                                    ? ValuePath(key, GetAttribute(item, u"Value"))
                                    : std::u16string(key);
    Tell({.level = "loss", .text = reason, .path = name},
         "not exported: line " + std::to_string(item.line) + ": '" +
             Printable(CutMiddle(name, kMostShown)) + "': " + reason);
}

void CExport::TellTokens() const {
    for (const auto& [token, count] : m_texts.GetMissing()) {
        const std::string text = "the machine has no " + Printable(token) +
                                 ", which stays in the file, in " + Count(count, "place");
        Tell({.level = "warning", .text = text}, "cas2orv: " + text);
    }
}

void CExport::TellSummary() const {
    std::string lines;
    if (m_leftOut > kMostTold) {
        lines += "not exported: " + std::to_string(m_leftOut - kMostTold) + " more\n";
    }
    if (m_command.machine.empty() && m_texts.GetKept() != 0) {
        lines += Count(m_texts.GetKept(), "token") +
                 " of folders and the user in the file; --machine replaces them\n";
    }
    lines += Count(m_keys, "key") + ", " + Count(m_values, "value") + ", " +
             Count(m_deletions, "deletion") + ", " + std::to_string(m_leftOut) + " not exported; " +
             Count(m_others, "other item") + (m_others == 1 ? " is" : " are") +
             " not in the registry\n";
    WriteTerminal(lines);
}

void CExport::WriteJson(CJsonWriter& json) const {
    const std::pair<std::string_view, std::uint64_t> kCounts[] = {
        {"keys", m_keys},     {"values", m_values},       {"deletions", m_deletions},
        {"others", m_others}, {"notExported", m_leftOut},
    };
    for (const auto& [name, count] : kCounts) {
        json.Key(name);
        json.Number(static_cast<std::int64_t>(count));
    }
}

}  // namespace

int RunExport(const SCommand& command, CJsonWriter& json) {
    CExport run(command);
    const int status = run.Run();
    if (command.isJson && status != kExitFailed) {
        run.WriteJson(json);
    }
    return status;
}

}  // namespace host
