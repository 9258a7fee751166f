#include "host/batch/slurm_commands.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string_view>

#include "host/console.h"
#include "platform/local_paths.h"

namespace host {

namespace {

// With these the job would be another one than the array that is waited for.
constexpr std::string_view kOwnOptions[] = {"--array", "--job-name",  "--wrap",
                                            "--wait",  "--test-only", "--parsable"};
constexpr std::string_view kOwnLetters = "aJW";

bool IsNever() { return false; }

// For a message. Commands of Slurm put the reason into the last line.
std::string ShowLastLine(const std::string& text) {
    return Printable(platform::PathText(LastLine(text)));
}

// Why a command has failed.
std::string DescribeEnd(const std::string& name, const SCommandEnd& end) {
    if (!end.isFound) {
        return name + " is not found; this engine is for systems with Slurm";
    }
    if (end.isLate) {
        return name + " does not answer";
    }
    std::string reason = ShowLastLine(end.errors);
    const std::string start = name + ": error: ";
    reason.erase(0, reason.starts_with(start) ? start.size() : 0);
    return !reason.empty()  ? name + " says: " + reason
           : end.status < 0 ? name + " was ended by a signal"
                            : name + " ends with status " + std::to_string(end.status);
}

bool IsNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// The number that follows `name`, blanks and an equals sign.
bool FindNumber(std::string_view text, std::string_view name, std::size_t& number) {
    const std::size_t found = text.find(name);
    if (found == std::string_view::npos) {
        return false;
    }
    const std::size_t begin = text.find_first_not_of(" =", found + name.size());
    return begin != std::string_view::npos &&
           std::from_chars(text.data() + begin, text.data() + text.size(), number).ec ==
               std::errc();
}

}  // namespace

std::string CheckSlurmOption(const std::string& option) {
    const std::string name = option.substr(0, option.find('='));
    if (option.size() < 2 || option.front() != '-' || name == "--") {
        return "is no option of sbatch in one word, such as --time=60";
    }
    // sbatch takes the beginning of an option for the whole one.
    const bool isOwn =
        name.starts_with("--")
            ? std::any_of(std::begin(kOwnOptions), std::end(kOwnOptions),
                          [&](std::string_view own) { return own.starts_with(name); })
            : kOwnLetters.find(name[1]) != std::string_view::npos;
    return isOwn ? "is an option that the array needs for itself" : "";
}

std::size_t ReadMaxTasks(const std::string& configuration) {
    std::size_t size = 0;
    std::size_t tasks = 0;
    if (!FindNumber(configuration, "MaxArraySize", size)) {
        return 0;
    }
    return FindNumber(configuration, "max_array_tasks", tasks) ? std::min(size, tasks) : size;
}

CSlurm::CSlurm(const std::vector<std::string>& options, std::function<bool()> isStopped)
    : m_isStopped(std::move(isStopped)) {
    // sbatch takes the variable where there is no option, and the beginning of an option for it.
    const char* const variable = std::getenv("SBATCH_CLUSTERS");
    std::string clusters = variable == nullptr ? "" : variable;
    for (const std::string& option : options) {
        const std::string name = option.substr(0, option.find('='));
        if (option.starts_with("-M")) {
            clusters = option.substr(2);
        } else if (name.size() < option.size() && name.starts_with("--cl") &&
                   std::string_view("--clusters").starts_with(name)) {
            clusters = option.substr(name.size() + 1);
        }
    }
    SetClusters(clusters);
}

void CSlurm::SetClusters(const std::string& names) {
    m_cluster.clear();
    if (!names.empty()) {
        m_cluster.push_back("--clusters=" + names);
    }
}

bool CSlurm::Run(SExternalCommand command, const std::function<bool()>& isStopped) {
    const std::string name = command.words.front();
    command.words.insert(command.words.begin() + 1, m_cluster.begin(), m_cluster.end());
    SCommandEnd end = RunExternal(command, isStopped);
    m_output = std::move(end.output);
    if (end.status == 0) {
        return true;
    }
    m_problem = DescribeEnd(name, end);
    return false;
}

std::size_t CSlurm::AskMaxTasks() {
    if (!Run({.words = {"scontrol", "show", "config"}}, m_isStopped)) {
        return 0;
    }
    const std::size_t tasks = ReadMaxTasks(m_output);
    if (tasks == 0) {
        m_problem = "this Slurm has no job arrays (MaxArraySize)";
    }
    return tasks;
}

bool CSlurm::Submit(const std::vector<std::string>& words, std::string& job) {
    SExternalCommand command{.words = {"sbatch", "--parsable"}};
    command.words.insert(command.words.end(), words.begin(), words.end());
    if (!Run(std::move(command), &IsNever)) {
        return false;
    }
    // With --clusters the name of the cluster follows.
    const std::string number = m_output.substr(0, m_output.find_first_of(";\n"));
    if (!IsNumber(number)) {
        m_problem = "sbatch has not said the number of the job, but: " + ShowLastLine(m_output);
        return false;
    }
    // Of several clusters it has chosen one, in which the other commands look for the array.
    if (m_output.size() > number.size() && m_output[number.size()] == ';') {
        const std::string rest = m_output.substr(number.size() + 1);
        SetClusters(rest.substr(0, rest.find('\n')));
    }
    job = number;
    return true;
}

bool CSlurm::AskQueue(const std::string& name, SQueueState& state) {
    // Variables such as SQUEUE_STATES would hide tasks.
    if (!Run({.words = {"squeue", "--noheader", "--name=" + name, "--format=%F|%T|%r"},
              .hiddenVariables = "SQUEUE_"},
             m_isStopped)) {
        return false;
    }
    state = {};
    std::istringstream lines(m_output);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t first = line.find('|');
        const std::size_t second = line.find('|', first + 1);
        // With --clusters there are also lines with the names of clusters.
        if (second == std::string::npos || !IsNumber(std::string_view(line).substr(0, first))) {
            continue;
        }
        state.isPresent = true;
        state.job = line.substr(0, first);
        if (line.substr(first + 1, second - first - 1) == "PENDING") {
            state.reason = Printable(platform::PathText(line.substr(second + 1)));
        } else {
            state.isRunning = true;
        }
    }
    return true;
}

bool CSlurm::Cancel(const std::string& job, bool onlyWaiting) {
    SExternalCommand command{.words = {"scancel"}, .hiddenVariables = "SCANCEL_"};
    if (onlyWaiting) {
        command.words.emplace_back("--state=PENDING");
    }
    command.words.push_back(job);
    return Run(std::move(command), &IsNever);
}

}  // namespace host
