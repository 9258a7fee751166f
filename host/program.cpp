#include "host/program.h"

#include <exception>

#include "host/command_line.h"
#include "host/console.h"
#include "host/convert_command.h"
#include "host/exit_status.h"
#include "host/inquiry_commands.h"
#include "host/system.h"
#include "host/verify_command.h"
#include "platform/machine.h"

namespace host {

namespace {

// Loads the machine description first, so that a bad one is reported before any work.
bool PrepareMachine(const SCommand& command) {
    if (!command.machine.empty() && !UseMachineFile(command.machine)) {
        Complain("--machine is of no use here: the answers are those of this machine itself");
        return false;
    }
    std::u16string problem;
    if (platform::LoadMachine(problem) != 0) {
        Complain("the machine description cannot be used: " + Printable(problem));
        return false;
    }
    return true;
}

int RunCommand(const SCommand& command) {
    if (!PrepareMachine(command)) {
        return kExitFailed;
    }
    switch (command.verb) {
        case EVerb::Convert:
            return RunConvert(command);
        case EVerb::Targets:
            return RunTargets(command);
        case EVerb::Machine:
            return RunMachine();
        case EVerb::Verify:
            return RunVerify(command);
    }
    return kExitUsage;
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments) {
    try {
        const std::variant<SCommand, SReply> parsed = ParseCommandLine(arguments);
        if (const auto* const command = std::get_if<SCommand>(&parsed)) {
            return RunCommand(*command);
        }
        const auto& reply = std::get<SReply>(parsed);
        if (reply.isError) {
            Complain(reply.text);
            return kExitUsage;
        }
        return PrintResult(reply.text) ? kExitDone : kExitFailed;
    } catch (const std::exception& exception) {
        Complain(exception.what());
        return kExitFailed;
    }
}

}  // namespace host
