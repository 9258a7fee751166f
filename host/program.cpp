#include "host/program.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>
#include <variant>

#include "foundation/json_writer.h"
#include "host/batch/batch_command.h"
#include "host/check_command.h"
#include "host/command_line.h"
#include "host/console.h"
#include "host/convert_command.h"
#include "host/diff/diff_command.h"
#include "host/exit_status.h"
#include "host/explain_command.h"
#include "host/export_command.h"
#include "host/inquiry_commands.h"
#include "host/json.h"
#include "host/report/report_command.h"
#include "host/show_command.h"
#include "host/system.h"
#include "host/verify_command.h"
#include "platform/machine.h"

namespace host {

namespace {

// Listing and removing folders are functions of the C++ library that throw nothing: without memory
// they end the process. Any other end of this kind is a fault of the program.
[[noreturn]] void OnTerminate() {
    bool isMemory = true;
    try {
        if (const std::exception_ptr thrown = std::current_exception()) {
            std::rethrow_exception(thrown);
        }
    } catch (const std::bad_alloc&) {
        // Told below, also where the C++ library does not say what was thrown.
    } catch (...) {
        isMemory = false;
    }
    if (isMemory) {
        TellNoMemory();
        EndProcess(kExitFailed);
    }
    std::abort();
}

// The exit status of a command that fails.
int FailureOf(const SCommand& command) {
    return command.verb == EVerb::Diff ? kExitTrouble : kExitFailed;
}

// Loads the machine description first, so that a bad one is reported before any work.
bool PrepareMachine(const SCommand& command) {
    // The option goes through the variable, because the library has answers of its own in this
    // process and reads the variable too. Both must use the same description.
    if (!command.machine.empty() && !SetVariable("ORVCASCONV_MACHINE", command.machine)) {
        throw std::bad_alloc();
    }
    std::u16string problem;
    if (platform::LoadMachine(problem) != 0) {
        Complain("the machine description cannot be used: " + Printable(problem));
        return false;
    }
    return true;
}

int RunCommand(const SCommand& command, CJsonWriter& json) {
    if (!PrepareMachine(command)) {
        return FailureOf(command);
    }
    switch (command.verb) {
        case EVerb::Convert:
            return RunConvert(command, json);
        case EVerb::Check:
            return RunCheck(command, json);
        case EVerb::Targets:
            return RunTargets(command, json);
        case EVerb::Machine:
            return RunMachine(command, json);
        case EVerb::Verify:
            return RunVerify(command, json);
        case EVerb::Explain:
            return RunExplain(command, json);
        case EVerb::Show:
            return RunShow(command, json);
        case EVerb::Diff:
            return RunDiff(command, json);
        case EVerb::Export:
            return RunExport(command, json);
        case EVerb::Report:
            return RunReport(command, json);
        case EVerb::Batch:
            return RunBatch(command, json);
    }
    return kExitUsage;
}

// An exception can come from anywhere, such as for want of memory.
int RunGuarded(const SCommand& command, CJsonWriter& json) {
    try {
        return RunCommand(command, json);
    } catch (const std::exception& exception) {
        Complain(exception.what());
        // What the command has begun may be half an object, so the JSON begins again.
        json.Clear();
        BeginJson(json, command.name);
        return FailureOf(command);
    }
}

// Help and the version are results, for stdout.
int Reply(const SReply& reply) {
    if (reply.isError) {
        Complain(reply.text);
        return kExitUsage;
    }
    return PrintResult(reply.text) ? kExitDone : kExitFailed;
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments) {
    std::set_terminate(&OnTerminate);
    // Known before the arguments are read, because what is wrong with them is told as JSON too.
    const bool isJson = std::ranges::find(arguments, "--json") != arguments.end();
    if (isJson) {
        KeepMessages();
    }
    const std::variant<SCommand, SReply> parsed = ParseCommandLine(arguments);
    const auto* const command = std::get_if<SCommand>(&parsed);
    CJsonWriter json;
    BeginJson(json, command == nullptr ? "" : command->name);
    const int status =
        command == nullptr ? Reply(std::get<SReply>(parsed)) : RunGuarded(*command, json);
    // Help and the version stay text even with --json; only wrong arguments become an object.
    const bool isObject = command == nullptr ? isJson && status != kExitDone : command->isJson;
    if (!isObject) {
        return status;
    }
    WriteEnd(json, status);
    json.EndObject();
    // A result that stdout does not take makes the run fail, whatever the command has returned.
    const int failure = command == nullptr ? kExitFailed : FailureOf(*command);
    return PrintResult(std::string(json.GetBytes()) + '\n') ? status : failure;
}

}  // namespace host
