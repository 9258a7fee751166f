#include "host/command_line.h"

#include "support/test.h"

namespace {

using host::ParseCommandLine;
using testing::HasSubstr;

TEST(CommandLineTest, ConvertTakesItsOptionsInAnyPlace) {
    const auto command = std::get<host::SCommand>(
        ParseCommandLine({"convert", "--log=l.html", "a b.profile", "--json", "--progress", "plain",
                          "--machine", "m.toml", "o.orv"}));
    EXPECT_EQ(command.verb, host::EVerb::Convert);
    EXPECT_EQ(command.profile, "a b.profile");
    EXPECT_EQ(command.output, "o.orv");
    EXPECT_EQ(command.log, "l.html");
    EXPECT_EQ(command.machine, "m.toml");
    EXPECT_EQ(command.progress, host::EProgressStyle::Plain);
    EXPECT_TRUE(command.isJson);
    // Paths may look like options and commands.
    const auto dashed =
        std::get<host::SCommand>(ParseCommandLine({"convert", "--", "-a.profile", "--log"}));
    EXPECT_EQ(dashed.profile, "-a.profile");
    EXPECT_EQ(dashed.output, "--log");
    const auto targets = std::get<host::SCommand>(ParseCommandLine({"targets", "machine"}));
    EXPECT_EQ(targets.verb, host::EVerb::Targets);
    EXPECT_EQ(targets.profile, "machine");
}

TEST(CommandLineTest, PatternMayBeginWithADash) {
    const auto command = std::get<host::SCommand>(
        ParseCommandLine({"show", "a", "--match=-x", "--collection", "-"}));
    EXPECT_EQ(command.pattern, "-x");
    EXPECT_EQ(command.collections, std::vector<std::string>{"-"});
}

TEST(CommandLineTest, BatchTakesItsNumbers) {
    const auto command = std::get<host::SCommand>(
        ParseCommandLine({"batch", "a", "-", "--only", "2/10", "--memory=512", "--timeout", "60",
                          "--jobs", "3", "-o", "out", "--retry", "--strict"}));
    EXPECT_EQ(command.paths, (std::vector<std::string>{"a", "-"}));
    EXPECT_EQ(command.output, "out");
    EXPECT_EQ(std::tuple(command.batch.share, command.batch.shares), std::tuple(2U, 10U));
    EXPECT_EQ(std::tuple(command.batch.memory, command.batch.timeout, command.batch.jobs),
              std::tuple(512U, 60U, 3U));
    EXPECT_TRUE(command.batch.isRetry && command.isStrict && !command.hasSums);
}

TEST(CommandLineTest, WrongArgumentsAreToldWhatToWriteInstead) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{},
         "a command is missing; begin with convert, check, targets, machine, verify, explain, "
         "show, diff, export, report, batch or help"},
        {{"pack", "a"}, "'pack' is no command of cas2orv; begin with"},
        {{"conv", "a"}, "'conv' is no command of cas2orv; did you mean 'convert'?"},
        {{"hlep", "a"}, "did you mean 'help'?"},
        {{"--versoin"}, "'--versoin' is no option of cas2orv; did you mean '--version'?"},
        {{"help", "verfy"}, "'verfy' is no command of cas2orv; did you mean 'verify'?"},
        {{"targets", "a", "-json"}, "'-json' is no option of targets; did you mean '--json'?"},
        {{"convert", "a", "b", "--progres=none"}, "did you mean '--progress'?"},
        {{"explain"}, "explain needs a path"},
        {{"explain", "a", ""}, "PATTERN is empty"},
        {{"convert", "a"}, "needs two paths"},
        {{"targets"}, "needs a path"},
        {{"convert", "a", "b", "c"}, "'c' is one argument too many"},
        {{"targets", "a", "--log", "b"}, "'--log' is no option of targets"},
        {{"--json", "targets", "a"}, "'--json' comes before the command; write it after"},
        {{"convert", "a", "--log", "--json", "b"}, "--log needs a value after it"},
        {{"convert", "a", "b", "--log", "x", "--log", "y"}, "--log is given more than once"},
        {{"convert", "a", "b", "--progress", "fast"}, "--progress takes auto, plain or none"},
        {{"convert", "a", "b", "--json=yes"}, "--json takes no value"},
        {{"convert", "a", "b", "--sums=yes"}, "--sums takes no value"},
        {{"verify"}, "verify needs a path"},
        {{"verify", "a", ""}, "PATH is empty; write a path"},
        {{"show", "a", "--collection", "A", "b"}, "'b' is one argument too many"},
        {{"show", "a", "--match", "--json"}, "--match needs a value after it, and --json is"},
        {{"show", "a", "--match", ""}, "--match is empty; leave it out"},
        {{"diff", "a"}, "diff needs two paths"},
        {{"export", "a"}, "--reg with the file to write"},
        {{"report", "a"}, "--output with the page to write"},
        {{"batch", "a"}, "--output with the folder for the results"},
        {{"batch", "a", "-o", "b", "--jobs", "-1"}, "--jobs takes a whole number"},
        {{"batch", "a", "-o", "b", "--jobs", "0"}, "--jobs takes a whole number from 1 to 512"},
        {{"batch", "a", "-o", "b", "--timeout", "1s"}, "--timeout takes a whole number from 1"},
        {{"batch", "a", "-o", "b", "--memory", "63"}, "--memory takes a whole number from 64"},
        {{"batch", "a", "-o", "b", "--only", "3/2"}, "--only takes a share"},
        {{"batch", "a", "-o", "b", "--only", "0/2"}, "--only takes a share"},
        {{"batch", "a", "-o", "b", "--only", "1/"}, "--only takes a share"},
        {{"batch", "a", "-o", "b", "--engine", "x"}, "--engine takes local or slurm"},
        {{"batch", "a", "-o", "b", "--detach"}, "are for --engine slurm"},
        {{"batch", "a", "-o", "b", "--engine=slurm", "--slurm-option=--arr=0-9"},
         "is an option that the array needs for itself"},
        {{"batch", "a", "-o", "b", "--engine=slurm", "--slurm-option=5"},
         "is no option of sbatch in one word"},
        {{"convert", "a", ""}, "OUT.orv is empty"},
        {{"convert", "a", "b", "--machine="}, "--machine needs a value after it"},
    };
    for (const auto& [arguments, words] : cases) {
        const auto reply = std::get<host::SReply>(ParseCommandLine(arguments));
        EXPECT_TRUE(reply.isError) << words;
        EXPECT_THAT(reply.text, HasSubstr(words));
        EXPECT_THAT(reply.text, HasSubstr("\nUsage: cas2orv "));
    }
}

TEST(CommandLineTest, HelpIsThatOfTheCommand) {
    const std::pair<std::vector<std::string>, const char*> kCases[] = {
        {{"--help"}, "targets "},
        {{"convert", "a", "--help"}, "--progress "},
        {{"targets", "-h"}, "name"},
        {{"help"}, "\nCommands:"},
        {{"help", "convert"}, "Usage: cas2orv convert"}};
    for (const auto& [arguments, words] : kCases) {
        const auto reply = std::get<host::SReply>(ParseCommandLine(arguments));
        EXPECT_FALSE(reply.isError);
        EXPECT_THAT(reply.text, HasSubstr(words));
    }
}

}  // namespace
