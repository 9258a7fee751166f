#include "host/command_faults.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "host/suggestion.h"

namespace host {

namespace {

// The long names of the options, with their dashes. The short ones are too short to be misspelt.
std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

// Whether a word is an option, perhaps with its value.
bool IsOption(std::string_view word, const CLI::App& app) {
    const std::vector<std::string> names = OptionNames(app);
    return std::ranges::find(names, word.substr(0, word.find('='))) != names.end();
}

std::string DescribeMissing(const CLI::App& app, const CLI::App* verb, const SVerbTexts* texts) {
    if (verb != nullptr) {
        return verb->get_name() + ' ' + texts->missing;
    }
    // The first word that nobody has taken is probably a misspelt command.
    const std::vector<std::string> words = app.remaining();
    return words.empty() ? "a command is missing; begin with " + ListCommands()
                         : DescribeUnknown(words.front(), app);
}

std::string DescribeExtra(const CLI::App& app, const CLI::App* verb) {
    // Words that no command has taken come before the command.
    const std::vector<std::string> early = app.remaining();
    const std::vector<std::string> words = early.empty() ? verb->remaining() : early;
    // An unknown option is told before an extra argument, because its value may be what makes one
    // argument too many. A single dash is no option.
    const auto option = std::ranges::find_if(
        words, [](const std::string& word) { return word.size() > 1 && word.front() == '-'; });
    if (option == words.end()) {
        return "'" + words.front() +
               "' is one argument too many; a path with blanks needs quotes around it";
    }
    if (!early.empty()) {
        return "'" + *option + "' comes before the command; write it after";
    }
    const std::string similar =
        FindSimilar(option->substr(0, option->find('=')), OptionNames(*verb));
    return "'" + *option + "' is no option of " + verb->get_name() + "; " +
           (similar.empty() ? "write ./" + *option + " if it is a file"
                            : "did you mean '" + similar + "'?");
}

std::string DescribeCount(const CLI::ParseError& error, const CLI::App& verb) {
    // CLI11 names the option only in this text, up to a colon.
    const std::string text = error.what();
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option* const option = verb.get_option_no_throw(name);
    if (option == nullptr) {
        // A flag, which the text begins with by its bare name.
        return "--" + text.substr(0, text.find(' ')) + " takes no value; write it alone";
    }
    return name + (option->count() > 1 ? " is given more than once; give it once"
                                       : " needs a value after it");
}

// What is wrong with one value; empty when nothing is.
std::string CheckValue(const std::string& value, const CLI::Option& option, const CLI::App& verb) {
    const std::string name = option.get_name();
    const std::string type = option.get_type_name();
    // All positional arguments are paths, but for those that can be left out.
    const bool isPath =
        option.get_positional() ? option.get_required() : type == "FILE" || type == "FOLDER";
    if (value.empty()) {
        return name + (isPath ? " is empty; write a path" : " is empty; leave it out");
    }
    // A positional one begins with a dash only after "--", and options for sbatch always do.
    if (option.get_positional() || type == "OPTION" || value.front() != '-') {
        return "";
    }
    // Probably the value was forgotten, and the next option was taken as the value.
    if (isPath) {
        return name + " needs a value after it; write ./" + value + " if that is its file";
    }
    return IsOption(value, verb) ? name + " needs a value after it, and " + value + " is an option"
                                 : "";
}

}  // namespace

std::string DescribeFault(const CLI::ParseError& error, const CLI::App& app, const CLI::App* verb,
                          const SVerbTexts* texts) {
    // CLI11 tells the kinds of errors apart by their types. Its own messages do not say what to
    // write instead.
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return DescribeMissing(app, verb, texts);
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return DescribeExtra(app, verb);
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return DescribeCount(error, *verb);
    }
    // Only --progress has words that are checked.
    if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) {
        return "--progress takes auto, plain or none";
    }
    return std::string("an option cannot be read (") + error.what() +
           "); write it as the line below has it";
}

std::string DescribeUnknown(const std::string& word, const CLI::App& app) {
    const bool isOption = word.starts_with('-');
    std::vector<std::string> words = isOption ? OptionNames(app) : std::vector<std::string>();
    // Commands are candidates even for an option, such as "--convert".
    for (const CLI::App* const verb : app.get_subcommands({})) {
        words.push_back(verb->get_name());
    }
    const std::string similar = FindSimilar(word, words);
    return "'" + word + "' is no " + (isOption ? "option" : "command") + " of cas2orv; " +
           (similar.empty() ? "begin with " + ListCommands() : "did you mean '" + similar + "'?");
}

std::optional<std::string> FindBadValue(const CLI::App& verb) {
    for (const CLI::Option* const option : verb.get_options()) {
        // A flag has no value.
        if (option->get_expected_max() == 0) {
            continue;
        }
        for (const std::string& value : option->results()) {
            std::string problem = CheckValue(value, *option, verb);
            if (!problem.empty()) {
                return problem;
            }
        }
    }
    return std::nullopt;
}

}  // namespace host
