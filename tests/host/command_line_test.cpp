#include "host/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using host::ParseCommandLine;
using testing::HasSubstr;

TEST(CommandLineTest, ConvertTakesItsOptionsInAnyPlace) {
    const auto parsed = ParseCommandLine({"convert", "--log=l.html", "a b.profile", "--json",
                                          "--progress", "plain", "--machine", "m.toml", "o.orv"});
    const auto* const command = std::get_if<host::SCommand>(&parsed);
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(command->verb, host::EVerb::Convert);
    EXPECT_EQ(command->profile, "a b.profile");
    EXPECT_EQ(command->output, "o.orv");
    EXPECT_EQ(command->log, "l.html");
    EXPECT_EQ(command->machine, "m.toml");
    EXPECT_EQ(command->progress, host::EProgressStyle::Plain);
    EXPECT_TRUE(command->isJson);
}

TEST(CommandLineTest, PathsMayLookLikeOptionsAndCommands) {
    const auto dashed = ParseCommandLine({"convert", "--", "-a.profile", "--log"});
    ASSERT_TRUE(std::holds_alternative<host::SCommand>(dashed));
    EXPECT_EQ(std::get<host::SCommand>(dashed).profile, "-a.profile");
    EXPECT_EQ(std::get<host::SCommand>(dashed).output, "--log");
    const auto command = ParseCommandLine({"targets", "machine"});
    ASSERT_TRUE(std::holds_alternative<host::SCommand>(command));
    EXPECT_EQ(std::get<host::SCommand>(command).verb, host::EVerb::Targets);
    EXPECT_EQ(std::get<host::SCommand>(command).profile, "machine");
}

TEST(CommandLineTest, WrongArgumentsAreToldWhatToWriteInstead) {
    const struct {
        std::vector<std::string> arguments;
        const char* reply;
    } kCases[] = {
        {{}, "a command is missing; begin with convert, targets or machine"},
        {{"conv", "a"}, "'conv' is no command of cas2orv; begin with"},
        {{"convert", "a"}, "needs two paths"},
        {{"targets"}, "needs a path"},
        {{"convert", "a", "b", "c"}, "'c' is one argument too many"},
        {{"machine", "a"}, "'a' is one argument too many"},
        {{"targets", "a", "--log", "b"}, "'--log' is no option of targets"},
        {{"--json", "targets", "a"}, "'--json' stands before the command; write it behind"},
        {{"convert", "a", "b", "--log"}, "--log needs a value behind it"},
        {{"convert", "a", "--log", "--json", "b"}, "--log needs a value behind it"},
        {{"convert", "a", "b", "--log", "x", "--log", "y"}, "--log is given more than once"},
        {{"convert", "a", "b", "--progress", "fast"}, "--progress takes auto, plain or none"},
        {{"convert", "a", "b", "--json=yes"}, "--json takes no value"},
        {{"convert", "a", ""}, "OUT.orv is empty"},
        {{"convert", "a", "b", "--machine="}, "--machine needs a value behind it"},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.reply);
        const auto parsed = ParseCommandLine(row.arguments);
        const auto* const reply = std::get_if<host::SReply>(&parsed);
        ASSERT_NE(reply, nullptr);
        EXPECT_TRUE(reply->isError);
        EXPECT_THAT(reply->text, HasSubstr(row.reply));
        EXPECT_THAT(reply->text, HasSubstr("\nUsage: cas2orv "));
    }
}

TEST(CommandLineTest, HelpIsThatOfTheCommandAndFitsATerminal) {
    const struct {
        std::vector<std::string> arguments;
        const char* reply;
    } kCases[] = {
        {{"--help"}, "targets "},
        {{"convert", "a", "--help"}, "--progress "},
        {{"targets", "-h"}, "name"},
        {{"machine", "--help"}, "TOML"},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.reply);
        const auto parsed = ParseCommandLine(row.arguments);
        ASSERT_TRUE(std::holds_alternative<host::SReply>(parsed));
        const auto& reply = std::get<host::SReply>(parsed);
        EXPECT_FALSE(reply.isError);
        EXPECT_THAT(reply.text, HasSubstr(row.reply));
        std::istringstream lines(reply.text);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 100U) << line;
        }
    }
}

}  // namespace
