#include "host/inquiry_commands.h"

#include "host/console.h"
#include "host/exit_status.h"
#include "host/json.h"
#include "host/target_list.h"
#include "platform/machine_report.h"

namespace host {

namespace {

std::string FormatLines(const std::vector<STarget>& targets) {
    std::string lines;
    for (const STarget& target : targets) {
        // Printable, so that a line break or tab in a name does not look like a separator.
        lines += Printable(target.guid) + '\t' + Printable(target.name.value_or(u"")) + '\n';
    }
    return lines;
}

void WriteJson(const std::vector<STarget>& targets, CJsonWriter& json) {
    json.Key("targets");
    json.BeginArray();
    for (const STarget& target : targets) {
        json.BeginObject();
        // Names need no Printable here, because JSON escapes control characters.
        WriteTarget(json, target.guid, target.name);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

int RunTargets(const SCommand& command, CJsonWriter& json) {
    std::u16string profile;
    std::vector<STarget> targets;
    if (!ReadTargets(command.profile, "list the targets of", profile, targets)) {
        return kExitFailed;
    }
    if (command.isJson) {
        WriteJson(targets, json);
        return kExitDone;
    }
    return PrintResult(FormatLines(targets)) ? kExitDone : kExitFailed;
}

int RunMachine(const SCommand& command, CJsonWriter& json) {
    const std::string description = platform::DescribeMachine();
    if (command.isJson) {
        // As one text, so that it can be saved to a file and given back by --machine.
        json.Key("description");
        json.Utf8(description);
        return kExitDone;
    }
    return PrintResult(description) ? kExitDone : kExitFailed;
}

}  // namespace host
