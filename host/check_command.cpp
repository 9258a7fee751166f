#include "host/check_command.h"

#include <filesystem>
#include <string>
#include <vector>

#include "host/console.h"
#include "host/exit_status.h"
#include "host/interruption.h"
#include "host/json.h"
#include "host/library_run.h"
#include "host/losses.h"
#include "host/run_log.h"
#include "host/status_text.h"
#include "host/system.h"
#include "host/target_list.h"
#include "platform/com.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace {

// A folder for log and record, which only this user can enter. It is removed with the object.
class CWorkFolder {
public:
    CWorkFolder() = default;
    ~CWorkFolder() { Remove(); }
    CWorkFolder(const CWorkFolder&) = delete;
    CWorkFolder& operator=(const CWorkFolder&) = delete;

    // False, with the reason on stderr, when it cannot be made.
    [[nodiscard]] bool Make() {
        std::error_code error;
        const std::filesystem::path place = std::filesystem::temp_directory_path(error);
        // A new GUID makes a name that nobody has made before. MakeFolder refuses one that exists.
        GUID guid{};
        if (!error && platform::CreateGuid(guid)) {
            m_folder = place / ("cas2orv-" + platform::Utf16ToUtf8(platform::GuidToText(guid)));
            error = MakeFolder(m_folder, true);
        }
        if (error || m_folder.empty()) {
            Complain("no temporary folder can be made: " + DescribeError(error));
            // Remove must leave alone what this object has not made.
            m_folder.clear();
        }
        return !m_folder.empty();
    }
    void Remove() {
        if (!m_folder.empty()) {
            RemoveTree(m_folder);
        }
    }
    [[nodiscard]] std::filesystem::path File(const char* name) const { return m_folder / name; }

private:
    std::filesystem::path m_folder;
};

std::u16string LibraryName(const std::filesystem::path& path) {
    return platform::LibraryPath(platform::PathBytes(path)).value_or(u"");
}

std::string FormatLines(const std::vector<STarget>& targets, CLosses& losses) {
    std::string lines;
    // The record numbers targets from 1, in the order of this list.
    std::uint64_t number = 0;
    for (const STarget& target : targets) {
        lines += Printable(target.guid) + '\t' + Printable(target.name.value_or(u"")) + '\t' +
                 std::to_string(losses.GetLosses(++number)) + '\n';
    }
    return lines;
}

void WriteJson(const std::vector<STarget>& targets, CLosses& losses, CJsonWriter& json) {
    json.Key("targets");
    json.BeginArray();
    std::uint64_t number = 0;
    for (const STarget& target : targets) {
        ++number;
        json.BeginObject();
        WriteTarget(json, target.guid, target.name);
        json.Key("losses");
        json.Number(static_cast<std::int64_t>(losses.GetLosses(number)));
        WriteCounts(json, "leftOut", losses.GetLeftOut(number));
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

int RunCheck(const SCommand& command, CJsonWriter& json) {
    std::u16string profile;
    std::vector<STarget> targets;
    if (!ReadTargets(command.profile, "check", profile, targets)) {
        return kExitFailed;
    }
    CWorkFolder folder;
    // Before the folder is made, so that a signal removes it too. It waits until Allow.
    CInterruption interruption([&folder] { folder.Remove(); });
    CRunLog log;
    // The user gets no file of the log, only its entries on stderr.
    if (!folder.Make() || !log.Open("", folder.File("log"))) {
        return kExitFailed;
    }
    interruption.Allow();
    SLibraryCall call;
    call.profile = profile;
    // Nothing is written there, but the library needs a name for its output.
    call.pattern = LibraryName(folder.File("check.orv"));
    call.log = LibraryName(folder.File("log"));
    call.record = folder.File("record");
    // Only the JSON tells what would be left out.
    call.isFullRecord = command.isJson;
    call.isCheck = true;
    call.progress = command.progress;
    const SLibraryResult result = RunLibrary(call);
    CLosses losses;
    bool isKnown = losses.Read(call.record, platform::LocalPath(command.profile));
    // After the record, because what a loss tells too is shown only once.
    const SLogSummary summary = log.Count();
    if (!log.Show([&losses](std::uint64_t number, std::u16string_view /*text*/) {
            return losses.TellsLogEntry(number);
        })) {
        Complain("errors and warnings may be missing, since the log cannot be read to its end");
        isKnown = false;
    }
    losses.Show();
    if (result.status != 0) {
        Complain(DescribeFailure("check", command.profile, result.status));
        isKnown = false;
    }
    if (command.isJson) {
        WriteJson(targets, losses, json);
    } else {
        isKnown = PrintResult(FormatLines(targets, losses)) && isKnown;
    }
    const bool isWhole = summary.errors == 0 && losses.GetLosses() == 0 &&
                         (losses.GetMissing() == 0 || !command.isStrict);
    // What is not known counts more than what would be lost.
    return !isKnown ? kExitFailed : isWhole ? kExitDone : kExitNotWhole;
}

}  // namespace host
