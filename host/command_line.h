// host/command_line.h - reads the program's arguments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace host {

enum class EVerb {
    Convert,
    Check,
    Targets,
    Machine,
    Verify,
    Explain,
    Show,
    Diff,
    Export,
    Report,
    Batch
};

enum class EProgressStyle { Auto, Plain, None };

// The options that only batch has. A number of 0 was not given.
struct SBatchOptions {
    std::size_t jobs = 0;
    std::uint64_t timeout = 0;  // seconds
    std::uint64_t memory = 0;   // MiB
    bool isRetry = false;
    std::size_t share = 1;  // of so many shares
    std::size_t shares = 1;
    bool isWithoutSummary = false;
    bool usesSlurm = false;
    std::vector<std::string> slurmOptions;
    std::size_t packagesPerTask = 0;
    bool isDetached = false;
};

// A command with its arguments as they were written. A text option that was not given is empty.
struct SCommand {
    EVerb verb = EVerb::Convert;
    std::string name;  // of the command
    std::string profile;
    std::string output;  // of convert, export, report and batch
    std::string log;
    std::string record;  // that convert saves or explain reads
    std::string machine;
    EProgressStyle progress = EProgressStyle::Auto;
    bool mayReplace = false;
    bool isJson = false;
    bool isStrict = false;
    bool hasSums = false;                  // of convert and batch
    std::vector<std::string> paths;        // of verify, report and batch
    std::string pattern;                   // of explain and show
    std::string manifest;                  // of show and export
    std::vector<std::string> collections;  // of show; empty for all
    std::string older;                     // of diff
    std::string newer;
    SBatchOptions batch;
};

// A text to print instead of running a command: help or the version, or what is wrong with the
// arguments and what to write instead.
struct SReply {
    std::string text;
    bool isError = false;
};

// Reads the arguments after the program's name.
[[nodiscard]] std::variant<SCommand, SReply> ParseCommandLine(
    const std::vector<std::string>& arguments);

}  // namespace host
