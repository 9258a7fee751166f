#include "host/command_texts.h"

namespace host {

const char* const kProgramDescription =
    "Converts an application package of CAS to ORV packages, one for each target: a manifest\n"
    "with its payload beside it.";

const char* const kProgramFooter =
    "'cas2orv help COMMAND' tells more of a command.\n"
    "\n"
    "Exit status: 0 done; 1 failed, the message says why; 2 wrong arguments;\n"
    "3 not whole: something is lost, or the log has errors.";

const char* const kHelpFooter = "Example: cas2orv help convert";
const char* const kHelpUsage = "cas2orv help [COMMAND]";

namespace {

constexpr SVerbTexts kConvert = {
    EVerb::Convert,
    "convert",
    "Convert a package",
    "For an OUT.orv of FOLDER/NAME, the manifest of a target becomes FOLDER/{GUID}/NAME,\n"
    "with its payload beside it. All of them are moved there at the end, or none is. stdout\n"
    "has a line for each target: GUID, tab, path of the manifest. Paths are those of this\n"
    "system; a Windows path (X:\\... or \\\\server\\share\\...) is taken as it is.\n"
    "\n"
    "Example: cas2orv convert capture/App.profile out/app.orv --log out/log.html\n"
    "\n"
    "Exit status: 0 done; 1 failed, the message says why; 2 wrong arguments;\n"
    "3 not whole: something is lost, or the log has errors.",
    "cas2orv convert PROFILE OUT.orv [--replace] [--log FILE] [--machine FILE] "
    "[--record FILE] [--progress auto|plain|none] [--sums] [--strict] [--json]",
    "needs two paths: the package's profile file and that of the output",
};

constexpr SVerbTexts kCheck = {
    EVerb::Check,
    "check",
    "Read all that convert would, and write nothing",
    "Tells on stderr what cannot be read and what would be lost. stdout has a line for each\n"
    "target: GUID, tab, name, tab, number of losses.\n"
    "\n"
    "Example: cas2orv check capture/App.profile\n"
    "\n"
    "Exit status: 0 all would arrive; 1 failed, the message says why; 2 wrong arguments;\n"
    "3 something would be lost.",
    "cas2orv check PROFILE [--machine FILE] [--progress auto|plain|none] [--strict] [--json]",
    "needs a path: the package's profile file",
};

constexpr SVerbTexts kTargets = {
    EVerb::Targets,
    "targets",
    "List the targets of a package",
    "stdout has a line for each target: GUID, tab, name.\n"
    "\n"
    "Example: cas2orv targets capture/App.profile",
    "cas2orv targets PROFILE [--machine FILE] [--json]",
    "needs a path: the package's profile file",
};

constexpr SVerbTexts kMachine = {
    EVerb::Machine,
    "machine",
    "Print the machine description in effect",
    "The text is TOML and can be given back as --machine FILE, here or elsewhere.\n"
    "\n"
    "Example: cas2orv machine > reference.toml",
    "cas2orv machine [--machine FILE] [--json]",
    "",
};

constexpr SVerbTexts kVerify = {
    EVerb::Verify,
    "verify",
    "Check manifests and their payload",
    "A FOLDER is that of a target, or one with folders of targets. Tells on stderr what of a\n"
    "manifest is not allowed, which payload is not there and which nobody names, and, where there\n"
    "is a file SHA256SUMS, what has other bytes.\n"
    "\n"
    "Example: cas2orv verify out\n"
    "\n"
    "Exit status: 0 all is good; 1 there are problems; 2 wrong arguments.",
    "cas2orv verify MANIFEST|FOLDER... [--json]",
    "needs a path: a manifest, or a folder with some",
};

constexpr SVerbTexts kExplain = {
    EVerb::Explain,
    "explain",
    "Tell from a record what became of things",
    "A PATTERN names keys, values, files and other things of the package, or the places of\n"
    "their items: '*' is any text, '?' one character; without both it is found anywhere in a\n"
    "name. Letter case does not count. HKLM, HKCU, HKCR and HKU may begin it. Files\n"
    "are also found by their paths on this system.\n"
    "\n"
    "Example: cas2orv explain app.jsonl 'HKLM\\SOFTWARE\\*'\n"
    "\n"
    "Exit status: 0 done; 1 nothing has such a name, or the record is not whole;\n"
    "2 wrong arguments.",
    "cas2orv explain RECORD [PATTERN] [--json]",
    "needs a path: the record that convert --record has written",
};

constexpr SVerbTexts kShow = {
    EVerb::Show,
    "show",
    "List the items of a manifest",
    "stdout has a line for each item, with columns that its collection has: places, types, data.\n"
    "A PATTERN is compared with the places and names of items: '*' is any text, '?' one\n"
    "character; without both it is found anywhere. Letter case does not count. HKLM, HKCU,\n"
    "HKCR and HKU may begin it. With --json each item is an object on a line of its own; the last\n"
    "line has the status and the messages.\n"
    "\n"
    "Example: cas2orv show out/{GUID}/app.orv --collection CreateValues --match 'HKLM\\*'\n"
    "\n"
    "Exit status: 0 done; 1 failed, or no item matches; 2 wrong arguments.",
    "cas2orv show MANIFEST [--collection NAME]... [--match PATTERN] [--json]",
    "needs a path: a manifest",
};

constexpr SVerbTexts kDiff = {
    EVerb::Diff,
    "diff",
    "Tell what two results differ in",
    "OLD and NEW are manifests, folders of targets, or folders with some. Items are compared by\n"
    "what they are about: their order does not count, nor the names of payload files, which\n"
    "are compared by their content. With --json each difference is an object on a line of its "
    "own.\n"
    "\n"
    "Example: cas2orv diff out-2025 out\n"
    "\n"
    "Exit status: 0 equal; 1 different; 2 trouble, or wrong arguments.",
    "cas2orv diff OLD NEW [--json]",
    "needs two paths: the older and the newer manifest or folder",
};

constexpr SVerbTexts kExport = {
    EVerb::Export,
    "export",
    "Write the registry of a manifest as a .reg file",
    "FILE gets the keys and values of the manifest, and what it deletes, in the form that\n"
    "registry editors read. Tokens of folders stay as they are, unless --machine names the\n"
    "machine whose paths replace them.\n"
    "\n"
    "Example: cas2orv export out/{GUID}/app.orv --reg app.reg\n"
    "\n"
    "Exit status: 0 done; 1 failed, the message says why; 2 wrong arguments; 3 something has no\n"
    "form in a .reg file, or the machine lacks a token.",
    "cas2orv export MANIFEST --reg FILE [--machine FILE] [--json]",
    "needs a manifest, and --reg with the file to write",
};

constexpr SVerbTexts kReport = {
    EVerb::Report,
    "report",
    "Make a page to look at of what came and what did not",
    "A RESULT is a manifest, the folder of a target, a folder with some, such as the output of\n"
    "batch, or a record or log of a conversion. The page needs nothing else to be opened in a\n"
    "browser: what came, what was left out and why, what is lost and what to do, the largest\n"
    "files, and a search.\n"
    "\n"
    "Example: cas2orv report out app.jsonl -o report.html\n"
    "\n"
    "Exit status: 0 done; 1 failed, the message says why; 2 wrong arguments.",
    "cas2orv report RESULT... --output FILE [--json]",
    "needs what to report on, and --output with the page to write",
};

constexpr SVerbTexts kBatch = {
    EVerb::Batch,
    "batch",
    "Convert many packages into one folder",
    "A SOURCE is a profile, a folder with profiles at any depth, or - for a list on stdin, in\n"
    "which a line is a profile, or a name, a tab and a profile. FOLDER/NAME gets the result of\n"
    "a package: its targets, result.json, log, record and messages. NAME is the path of the\n"
    "profile from the folder on, without its extension. FOLDER/summary.json and summary.csv\n"
    "tell of all packages.\n"
    "\n"
    "The same command goes on where it was ended, and converts only what is new, what has\n"
    "another profile, hive or machine description, and with --retry what has failed. It may\n"
    "run several times at once, also on several machines. With --engine slurm the packages\n"
    "are converted on the nodes of a cluster.\n"
    "\n"
    "Example: cas2orv batch captures --output converted\n"
    "\n"
    "Exit status: 0 all are whole; 1 some failed, or have no result; 2 wrong arguments;\n"
    "3 some are not whole.",
    "cas2orv batch SOURCE... --output FOLDER [--jobs N] [--timeout SECONDS] [--memory MIB] "
    "[--retry] [--only K/N] [--no-summary] [--engine local|slurm] [--slurm-option OPTION]... "
    "[--packages-per-task N] [--detach] [--machine FILE] [--progress auto|plain|none] [--sums] "
    "[--strict] "
    "[--json]",
    "needs packages, and --output with the folder for the results",
};

constexpr SVerbTexts kVerbs[] = {kConvert, kCheck, kTargets, kMachine, kVerify, kExplain,
                                 kShow,    kDiff,  kExport,  kReport,  kBatch};

}  // namespace

std::span<const SVerbTexts> GetVerbs() { return kVerbs; }

std::string ListCommands() {
    std::string names;
    for (const SVerbTexts& verb : kVerbs) {
        names.append(names.empty() ? "" : ", ").append(verb.name);
    }
    return names + " or help";
}

}  // namespace host
