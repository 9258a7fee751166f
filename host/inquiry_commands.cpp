#include "host/inquiry_commands.h"

#include "host/console.h"
#include "host/exit_status.h"
#include "host/json.h"
#include "host/status_text.h"
#include "host/target_list.h"
#include "platform/local_paths.h"
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

std::string FormatJson(const std::vector<STarget>& targets) {
    CJsonRows rows;
    for (const STarget& target : targets) {
        rows.Add({{"guid", target.guid}, {"name", target.name}});
    }
    return rows.Finish();
}

}  // namespace

int RunTargets(const SCommand& command) {
    const std::optional<std::u16string> profile = platform::LibraryPath(command.profile);
    if (!profile) {
        Complain("the current folder is gone; name the profile by its full path");
        return kExitFailed;
    }
    std::vector<STarget> targets;
    if (const std::uint32_t status = ListTargets(*profile, targets)) {
        Complain(DescribeFailure("list the targets of", command.profile, status));
        return kExitFailed;
    }
    return PrintResult(command.isJson ? FormatJson(targets) : FormatLines(targets)) ? kExitDone
                                                                                    : kExitFailed;
}

int RunMachine() { return PrintResult(platform::DescribeMachine()) ? kExitDone : kExitFailed; }

}  // namespace host
