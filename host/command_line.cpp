#include "host/command_line.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

#include "host/batch/slurm_commands.h"
#include "host/command_faults.h"
#include "host/command_texts.h"

namespace host {

namespace {

constexpr std::uint64_t kMaxNumber = 1'000'000'000;  // more is surely a slip

// Reads digits; false for anything else.
bool ReadNumber(std::string_view text, std::uint64_t& number) {
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && last == end;
}

// The parser of one command line. It fills the command while it reads.
class CParser {
public:
    CParser();
    std::variant<SCommand, SReply> Parse(const std::vector<std::string>& arguments);

private:
    CLI::App* AddVerb(EVerb verb);
    void AddProfile(CLI::App& app);
    void AddMachine(CLI::App& app);
    void AddJson(CLI::App& app, const char* words =
                                    "Print one JSON object, also when the command\n"
                                    "fails; orvcasconv/json.schema.json describes it");
    void AddRun(CLI::App& app);
    void AddConvert();
    void AddCheck();
    void AddPaths(CLI::App& app, const char* type, const char* words);
    void AddManifest(CLI::App& app);
    void AddExplain();
    void AddShow();
    void AddDiff();
    void AddExport();
    void AddReport();
    void AddBatch();
    void AddEngine(CLI::App& app);
    void AddSums(CLI::App& app);
    void AddHelp();

    [[nodiscard]] std::variant<SCommand, SReply> Help() const;
    [[nodiscard]] std::string GetPath() const;
    [[nodiscard]] std::string GetUsage() const;
    [[nodiscard]] std::optional<std::string> ReadNumbers();
    [[nodiscard]] std::optional<std::string> ReadShare();
    [[nodiscard]] std::optional<std::string> ReadEngine();
    [[nodiscard]] SReply Complain(const std::string& problem) const;

    SCommand m_command;
    std::string m_progress = "auto";
    // Of batch; they are read when all is parsed.
    std::string m_jobs;
    std::string m_timeout;
    std::string m_memory;
    std::string m_share;
    std::string m_engine = "local";
    std::string m_packagesPerTask;
    std::string m_topic;  // of help
    CLI::App m_app{kProgramDescription, "cas2orv"};
    const CLI::App* m_help = nullptr;
    const CLI::App* m_verb = nullptr;     // the command that was given; null before it is read
    const SVerbTexts* m_texts = nullptr;  // of that command; null for help
};

CParser::CParser() {
    // On Windows CLI11 takes "/x" for an option unless it is told otherwise. Arguments mean the
    // same on every system, and a slash may begin a path.
    m_app.allow_windows_style_options(false);
    m_app.set_help_flag("-h,--help", "Print this help");
    m_app.set_version_flag("--version", "cas2orv " CAS2ORV_VERSION, "Print the version");
    // CLI11 would put this word after each required argument in the help.
    m_app.get_formatter()->label("REQUIRED", "");
    m_app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_app.require_subcommand(1);
    m_app.footer(kProgramFooter);
    AddConvert();
    AddCheck();
    CLI::App& targets = *AddVerb(EVerb::Targets);
    AddProfile(targets);
    AddMachine(targets);
    AddJson(targets);
    CLI::App& machine = *AddVerb(EVerb::Machine);
    AddMachine(machine);
    AddJson(machine);
    CLI::App& verify = *AddVerb(EVerb::Verify);
    AddPaths(verify, "MANIFEST|FOLDER", "Manifests, and folders with some");
    AddJson(verify);
    AddExplain();
    AddShow();
    AddDiff();
    AddExport();
    AddReport();
    AddBatch();
    AddHelp();
}

CLI::App* CParser::AddVerb(EVerb verb) {
    const SVerbTexts& texts = *std::ranges::find(GetVerbs(), verb, &SVerbTexts::verb);
    CLI::App* const app = m_app.add_subcommand(texts.name, texts.description);
    app->group("Commands");
    app->footer(texts.footer);
    // Called before the command's own arguments are read, so that a fault in them is told with the
    // usage of this command.
    app->preparse_callback([this, app, &texts](std::size_t) {
        m_verb = app;
        m_texts = &texts;
        m_command.verb = texts.verb;
        m_command.name = texts.name;
    });
    return app;
}

void CParser::AddProfile(CLI::App& app) {
    app.add_option("PROFILE", m_command.profile, "The package's profile file")
        ->required()
        ->type_name("");
}

void CParser::AddMachine(CLI::App& app) {
    app.add_option("--machine", m_command.machine,
                   "The machine description to use, in place of the\n"
                   "one that ORVCASCONV_MACHINE names in the\n"
                   "environment; built-in names the one that needs\n"
                   "no file. On Windows the running machine answers\n"
                   "unless one is named, elsewhere the built-in one")
        ->type_name("FILE");
}

// As with every flag here, "--json=false" is an error: a flag takes no value.
void CParser::AddJson(CLI::App& app, const char* words) {
    app.add_flag("--json", m_command.isJson, words)->disable_flag_override();
}

void CParser::AddConvert() {
    CLI::App& app = *AddVerb(EVerb::Convert);
    AddProfile(app);
    app.add_option("OUT.orv", m_command.output, "Folder and name for the manifests")
        ->required()
        ->type_name("");
    app.add_flag("--replace", m_command.mayReplace,
                 "Replace the folders of targets that are there\n"
                 "already; without, they are an error")
        ->disable_flag_override();
    app.add_option("--log", m_command.log,
                   "Save the log of this run in FILE, as lines of\n"
                   "HTML in UTF-16, and replace an older one;\n"
                   "without errors and warnings it is empty")
        ->type_name("FILE");
    app.add_option("--record", m_command.record,
                   "Save in FILE what became of each captured thing,\n"
                   "and why, for explain; JSON, one object a line")
        ->type_name("FILE");
    AddRun(app);
    AddSums(app);
}

void CParser::AddSums(CLI::App& app) {
    app.add_flag("--sums", m_command.hasSums,
                 "Write SHA256SUMS beside each manifest, for\n"
                 "verify and sha256sum -c")
        ->disable_flag_override();
}

void CParser::AddCheck() {
    CLI::App& app = *AddVerb(EVerb::Check);
    AddProfile(app);
    AddRun(app);
}

// The options of the commands that have the library convert.
void CParser::AddRun(CLI::App& app) {
    AddMachine(app);
    app.add_option("--progress", m_progress,
                   "auto: a display on a terminal, else as plain;\n"
                   "plain: a line for each target and stage; none")
        ->type_name("HOW")
        // The help would show the description of the check, a list of the three words, once more.
        ->check(CLI::IsMember({"auto", "plain", "none"}).description(""));
    app.add_flag("--strict", m_command.isStrict,
                 "Count as lost what was not captured at all: a\n"
                 "target without a hive, or without files")
        ->disable_flag_override();
    AddJson(app);
}

void CParser::AddExplain() {
    CLI::App& app = *AddVerb(EVerb::Explain);
    app.add_option("RECORD", m_command.record, "The record of a conversion")
        ->required()
        ->type_name("");
    app.add_option("PATTERN", m_command.pattern,
                   "What to tell of; without, how many things had\n"
                   "which outcome, and why")
        ->type_name("");
    AddJson(app);
}

void CParser::AddPaths(CLI::App& app, const char* type, const char* words) {
    app.add_option("PATH", m_command.paths, words)->required()->type_name(type);
}

void CParser::AddManifest(CLI::App& app) {
    app.add_option("MANIFEST", m_command.manifest, "The manifest to read")
        ->required()
        ->type_name("");
}

void CParser::AddShow() {
    CLI::App& app = *AddVerb(EVerb::Show);
    AddManifest(app);
    // One name each time, so that what follows is not taken for another one.
    app.add_option("--collection", m_command.collections,
                   "Show the items of this collection only, such as\n"
                   "CreateFiles; may be given more than once")
        ->type_name("NAME")
        ->allow_extra_args(false);
    app.add_option("--match", m_command.pattern, "Show the items with such a place or name only")
        ->type_name("PATTERN");
    AddJson(app,
            "Print a JSON object for each item, and one at\n"
            "the end that says how it went");
}

void CParser::AddDiff() {
    CLI::App& app = *AddVerb(EVerb::Diff);
    app.add_option("OLD", m_command.older, "The older manifest or folder")
        ->required()
        ->type_name("");
    app.add_option("NEW", m_command.newer, "The newer one")->required()->type_name("");
    AddJson(app,
            "Print a JSON object for each difference, and one at\n"
            "the end that says how it went");
}

void CParser::AddExport() {
    CLI::App& app = *AddVerb(EVerb::Export);
    AddManifest(app);
    app.add_option("--reg", m_command.output, "The file to write; an older one is replaced")
        ->required()
        ->type_name("FILE");
    AddMachine(app);
    AddJson(app);
}

void CParser::AddReport() {
    CLI::App& app = *AddVerb(EVerb::Report);
    AddPaths(app, "RESULT", "Manifests, folders, records and logs");
    app.add_option("-o,--output", m_command.output, "The page to write; an older one is replaced")
        ->required()
        ->type_name("FILE");
    AddJson(app);
}

void CParser::AddBatch() {
    CLI::App& app = *AddVerb(EVerb::Batch);
    app.add_option("SOURCE", m_command.paths, "Profiles, folders with some, or - for a list")
        ->required()
        ->type_name("");
    app.add_option("-o,--output", m_command.output, "The folder for the results")
        ->required()
        ->type_name("FOLDER");
    app.add_option("--jobs", m_jobs,
                   "How many packages are converted at a time;\n"
                   "without, as many as there are processors")
        ->type_name("N");
    app.add_option("--timeout", m_timeout, "End a conversion that takes longer; it has failed")
        ->type_name("SECONDS");
    app.add_option("--memory", m_memory, "End a conversion that wants more memory")
        ->type_name("MIB");
    app.add_flag("--retry", m_command.batch.isRetry, "Convert again what has failed before")
        ->disable_flag_override();
    app.add_option("--only", m_share,
                   "Convert share K of N, such as 2/10, so that\n"
                   "several machines can share the packages")
        ->type_name("K/N");
    app.add_flag("--no-summary", m_command.batch.isWithoutSummary,
                 "Write no summary.json and summary.csv, such as\n"
                 "for one of many shares")
        ->disable_flag_override();
    AddEngine(app);
    AddRun(app);
    AddSums(app);
}

// The options that tell where the conversions run.
void CParser::AddEngine(CLI::App& app) {
    app.add_option("--engine", m_engine,
                   "Where the conversions run: local, here; slurm, as\n"
                   "a job array of Slurm, over a folder that all of\n"
                   "its nodes share")
        ->type_name("NAME");
    app.add_option("--slurm-option", m_command.batch.slurmOptions,
                   "An option for sbatch in one word, such as\n"
                   "--slurm-option=--time=60; may be given more than\n"
                   "once")
        ->type_name("OPTION")
        ->allow_extra_args(false);
    app.add_option("--packages-per-task", m_packagesPerTask,
                   "How many packages a task of the array converts;\n"
                   "without, as many as take about three minutes")
        ->type_name("N");
    app.add_flag("--detach", m_command.batch.isDetached,
                 "Submit the array, and do not wait for it; the same\n"
                 "command without this option does")
        ->disable_flag_override();
}

void CParser::AddHelp() {
    CLI::App* const app = m_app.add_subcommand("help", "Print the help of a command, or this help");
    app->group("Commands");
    app->footer(kHelpFooter);
    app->add_option("COMMAND", m_topic, "The command")->type_name("");
    app->preparse_callback([this, app](std::size_t) { m_verb = app; });
    m_help = app;
}

std::variant<SCommand, SReply> CParser::Parse(const std::vector<std::string>& arguments) {
    // CLI11 takes the arguments in reverse order.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    // CLI11 throws help and version as kinds of ParseError, so they are caught first. Its help() is
    // that of the command that was read, if there is one.
    try {
        m_app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        return SReply{m_app.help()};
    } catch (const CLI::CallForVersion&) {
        return SReply{m_app.version() + '\n'};
    } catch (const CLI::ParseError& error) {
        return Complain(DescribeFault(error, m_app, m_verb, m_texts));
    }
    // From here on there is a command, because the parse fails without one.
    std::optional<std::string> problem = FindBadValue(*m_verb);
    problem = problem ? problem : ReadNumbers();
    problem = problem ? problem : ReadShare();
    problem = problem ? problem : ReadEngine();
    if (problem) {
        return Complain(*problem);
    }
    if (m_verb == m_help) {
        return Help();
    }
    m_command.progress = m_progress == "plain"  ? EProgressStyle::Plain
                         : m_progress == "none" ? EProgressStyle::None
                                                : EProgressStyle::Auto;
    return m_command;
}

// As the option prints it, which a parser that has read a command does only for that command.
std::variant<SCommand, SReply> CParser::Help() const {
    if (m_topic.empty()) {
        return CParser().Parse({"--help"});
    }
    const auto found =
        m_app.get_subcommands([this](const CLI::App* verb) { return verb->get_name() == m_topic; });
    return found.empty() ? Complain(DescribeUnknown(m_topic, m_app))
                         : CParser().Parse({m_topic, "--help"});
}

std::string CParser::GetPath() const {
    return m_verb == nullptr ? "cas2orv" : "cas2orv " + m_verb->get_name();
}

std::string CParser::GetUsage() const {
    if (m_verb == nullptr) {
        return "cas2orv COMMAND ...";
    }
    if (m_verb == m_help) {
        return kHelpUsage;
    }
    return m_texts->usage;
}

// The usage is that of the command, as far as one has been read.
SReply CParser::Complain(const std::string& problem) const {
    return {problem + "\nUsage: " + GetUsage() + "\nMore: " + GetPath() + " --help", true};
}

// Reads the numbers of batch, but for its share.
std::optional<std::string> CParser::ReadNumbers() {
    SBatchOptions& batch = m_command.batch;
    // With less the program would not even start.
    constexpr std::uint64_t kMinMemory = 64;
    constexpr std::uint64_t kMaxJobs = 512;
    std::uint64_t jobs = 0;
    std::uint64_t packagesPerTask = 0;
    const struct {
        const char* option;
        const std::string& text;
        std::uint64_t least;
        std::uint64_t most;
        std::uint64_t& number;
    } numbers[] = {{"--jobs", m_jobs, 1, kMaxJobs, jobs},
                   {"--timeout", m_timeout, 1, kMaxNumber, batch.timeout},
                   {"--memory", m_memory, kMinMemory, kMaxNumber, batch.memory},
                   {"--packages-per-task", m_packagesPerTask, 1, kMaxNumber, packagesPerTask}};
    for (const auto& row : numbers) {
        if (!row.text.empty() && (!ReadNumber(row.text, row.number) || row.number < row.least ||
                                  row.number > row.most)) {
            return std::string(row.option) + " takes a whole number from " +
                   std::to_string(row.least) + " to " + std::to_string(row.most);
        }
    }
    batch.jobs = static_cast<std::size_t>(jobs);
    batch.packagesPerTask = static_cast<std::size_t>(packagesPerTask);
    return std::nullopt;
}

std::optional<std::string> CParser::ReadShare() {
    if (m_share.empty()) {
        return std::nullopt;
    }
    const std::size_t slash = std::min(m_share.find('/'), m_share.size());
    std::uint64_t share = 0;
    std::uint64_t shares = 0;
    if (!ReadNumber(std::string_view(m_share).substr(0, slash), share) ||
        !ReadNumber(std::string_view(m_share).substr(std::min(slash + 1, m_share.size())),
                    shares) ||
        share < 1 || share > shares || shares > kMaxNumber) {
        return "--only takes a share and the number of shares, such as 2/10";
    }
    m_command.batch.share = static_cast<std::size_t>(share);
    m_command.batch.shares = static_cast<std::size_t>(shares);
    return std::nullopt;
}

std::optional<std::string> CParser::ReadEngine() {
    SBatchOptions& batch = m_command.batch;
    if (m_engine != "local" && m_engine != "slurm") {
        return "--engine takes local or slurm";
    }
    batch.usesSlurm = m_engine == "slurm";
    if (!batch.usesSlurm &&
        (batch.isDetached || batch.packagesPerTask != 0 || !batch.slurmOptions.empty())) {
        return "--slurm-option, --packages-per-task and --detach are for --engine slurm";
    }
    for (const std::string& option : batch.slurmOptions) {
        const std::string problem = CheckSlurmOption(option);
        if (!problem.empty()) {
            return std::string("--slurm-option=").append(option).append(" ").append(problem);
        }
    }
    return std::nullopt;
}

}  // namespace

std::variant<SCommand, SReply> ParseCommandLine(const std::vector<std::string>& arguments) {
    return CParser().Parse(arguments);
}

}  // namespace host
