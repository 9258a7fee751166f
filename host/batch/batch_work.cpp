#include "host/batch/batch_work.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include "foundation/json_writer.h"
#include "host/batch/batch_folder.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kNewFolder = "out";  // in the folder for the work
constexpr const char* kOutputFile = "stdout";
constexpr const char* kNewFile = "new";  // takes the place of another one

// The files of a run that are kept when it fails.
constexpr const char* kToldFiles[] = {kLogFile, kRecordFile, kMessagesFile};

// Removes all else from the new folder. False when something stays.
bool KeepOnlyFiles(const fs::path& folder) {
    std::vector<SFolderEntry> entries;
    bool isClean = !ListFolder(DeepPath(folder), entries);
    for (const SFolderEntry& entry : entries) {
        const bool isKept = std::find(std::begin(kToldFiles), std::end(kToldFiles), entry.name) !=
                            std::end(kToldFiles);
        isClean = (isKept || RemoveTree(folder / entry.name)) && isClean;
    }
    return isClean;
}

std::string ReadFile(const fs::path& file) {
    std::ifstream stream(DeepPath(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    std::string replaced;
    std::size_t begin = 0;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, begin)) {
        replaced.append(text, begin, at - begin).append(to);
        begin = at + from.size();
    }
    text = replaced.append(text, begin, std::string::npos);
}

// Whether the last words of a program that has not come to its end say that it had no memory: those
// of the library of C++, and of the loader of programs.
bool TellsLackOfMemory(std::string_view last) {
    constexpr std::string_view kWords[] = {"std::bad_alloc", "annot allocate memory",
                                           "failed to map segment"};
    return std::ranges::any_of(
        kWords, [last](std::string_view words) { return last.find(words) != last.npos; });
}

// A path as it is written in JSON, without the quotes.
std::string JsonText(const fs::path& path) {
    CJsonWriter json;
    json.Text(platform::PathText(path));
    const std::string_view bytes = json.GetBytes();
    return std::string(bytes.substr(1, bytes.size() - 2));
}

// As a conversion writes the path of its output.
fs::path AsWritten(const fs::path& path) {
    return platform::LocalPath(platform::LibraryPath(platform::PathBytes(path)).value_or(u""));
}

// Makes a folder and all above it.
std::error_code MakeFolders(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(DeepPath(folder), error);
    return error;
}

}  // namespace

fs::path ResultFolder(const SBatchRules& rules, const SPackage& package) {
    return rules.folder / package.place;
}

bool CBatchWork::Fail(const std::string& problem) {
    m_problem = problem;
    return false;
}

EBegin CBatchWork::Begin(CDigests& digests, CChildren& children) {
    // Without the claim first, because most packages of a repeated run are done.
    if (IsDone(digests)) {
        RemoveFormer();
        return EBegin::Kept;
    }
    const EBegin claim = Claim();
    if (claim != EBegin::Started) {
        return claim;
    }
    // Once more, because another process may have done it meanwhile.
    const bool isGood = PutBack();
    const bool isKept = isGood && IsDone(digests);
    if (isGood && !isKept && CheckPlace() && MakeWork()) {
        // Before the conversion, so that what changes meanwhile is converted again by the next run.
        TakeDigests(digests);
        if (Start(children)) {
            return EBegin::Started;
        }
    }
    Abandon();
    return isKept ? EBegin::Kept : EBegin::Failed;
}

// Where a process was killed right after it has put a result into its place, the one before that is
// still there.
void CBatchWork::RemoveFormer() {
    const fs::path work = m_rules.folder / kWorkFolder / WorkName(m_package.name);
    if (Exists(work / kFormerFolder) && Claim() == EBegin::Started) {
        if (Exists(m_place / kResultFile)) {
            RemoveTree(work);
        }
        m_claim.Release();
    }
}

bool CBatchWork::IsDone(CDigests& digests) {
    std::string problem;
    const EResultState state = ReadResult(m_place / kResultFile, m_result, problem);
    m_warning = state == EResultState::Unusable
                    ? "the former result " + problem + ", and is made anew"
                    : "";
    if (state != EResultState::Good || m_result.program != CAS2ORV_VERSION ||
        (m_rules.isRetry && OutcomeOf(m_result) == EPackageOutcome::Failed)) {
        return false;
    }
    TakeDigests(digests);
    return HasSameInput(m_result.digests, m_digests);
}

// Those of the result tell which files need not be read again.
void CBatchWork::TakeDigests(CDigests& digests) {
    if (!m_hasDigests) {
        m_digests = digests.Take(m_package, m_result.digests);
        m_hasDigests = true;
    }
}

EBegin CBatchWork::Claim() {
    const fs::path folder = m_rules.folder / kWorkFolder;
    m_work = folder / WorkName(m_package.name);
    const std::error_code error =
        HoldWorkFile(m_claim, folder, platform::PathBytes(m_work.filename()));
    if (!error) {
        return EBegin::Started;
    }
    if (error == std::errc::resource_unavailable_try_again) {
        return EBegin::Taken;
    }
    m_problem = "no file in " + Quote(folder) + " can be locked: " + DescribeError(error);
    return error == std::errc::no_lock_available ? EBegin::NoLocks : EBegin::Failed;
}

// Moves a former result back to its place, if a process was killed between the two steps of a
// replacement.
bool CBatchWork::PutBack() {
    const fs::path former = m_work / kFormerFolder;
    if (!Exists(former) || Exists(m_place)) {
        return true;
    }
    const std::error_code error = MoveFolder(former, m_place);
    return !error || Fail("its former result " + Quote(former) +
                          " cannot be moved back: " + DescribeError(error));
}

// Nothing may be replaced but a result of a batch, nor may a result get into another one.
bool CBatchWork::CheckPlace() {
    for (fs::path above = m_package.place.parent_path(); !above.empty();
         above = above.parent_path()) {
        if (Exists(m_rules.folder / above / kResultFile)) {
            return Fail(Quote(m_rules.folder / above) +
                        " is the result of another package; give this one another name");
        }
    }
    std::vector<SFolderEntry> entries;
    // Users remove result.json to have a package converted again; the other files stay.
    const bool isResult = IsResult(m_place / kResultFile) ||
                          std::ranges::all_of(kToldFiles, [this](const char* name) {
                              return Exists(m_place / name);
                          });
    if (Exists(m_place) && !isResult &&
        (ListFolder(DeepPath(m_place), entries) || !entries.empty())) {
        return Fail(Quote(m_place) +
                    " is there already, and is no result of a batch; move it away, or name another "
                    "output");
    }
    return true;
}

bool CBatchWork::MakeWork() {
    // What a process that was killed has left. It has no other copy of anything that is needed.
    if (Exists(m_work) && !RemoveTree(m_work)) {
        return Fail(Quote(m_work) +
                    " is left from a batch that was killed, and cannot be removed; remove it by "
                    "hand");
    }
    std::error_code error = MakeFolder(m_work, true);
    error = error ? error : MakeFolder(m_work / kNewFolder, false);
    return !error || Fail(Quote(m_work) + " cannot be made: " + DescribeError(error));
}

bool CBatchWork::Start(CChildren& children) {
    const fs::path folder = m_work / kNewFolder;
    fs::path manifest = folder / m_package.profile.stem();
    manifest += ".orv";
    SChildRequest request;
    request.arguments = {"convert",    "--json",
                         "--progress", "none",
                         "--log",      platform::PathBytes(folder / kLogFile),
                         "--record",   platform::PathBytes(folder / kRecordFile)};
    request.arguments.insert(request.arguments.end(), m_rules.options.begin(),
                             m_rules.options.end());
    request.arguments.insert(request.arguments.end(), {"--", platform::PathBytes(m_package.profile),
                                                       platform::PathBytes(manifest)});
    request.output = DeepPath(m_work / kOutputFile);
    request.errors = DeepPath(folder / kMessagesFile);
    request.maxMemory = m_rules.maxMemory;
    request.held = &m_claim;
    m_begin = std::chrono::steady_clock::now();
    const std::error_code error = children.Start(request, m_child);
    return !error || Fail("the conversion cannot be started: " + DescribeError(error));
}

bool CBatchWork::Finish(const SChildEnd& child, EEnd end) {
    const std::string messages = ReadFile(m_work / kNewFolder / kMessagesFile);
    ReadOutput(child, end, LastLine(messages));
    CorrectPaths(messages);
    const bool isPublished =
        OutcomeOf(m_result) == EPackageOutcome::Failed ? PublishFailure() : Publish();
    Abandon();
    return isPublished;
}

// Makes the result of what the child has left. `last` is the last line of its messages.
void CBatchWork::ReadOutput(const SChildEnd& child, EEnd end, const std::string& last) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - m_begin;
    m_json = ReadFile(m_work / kOutputFile);
    m_json.erase(m_json.find_last_not_of('\n') + 1);
    m_result = {.name = {},
                .profile = platform::Utf16ToUtf8(platform::PathText(m_package.profile)),
                .program = CAS2ORV_VERSION,
                .digests = m_digests,
                .end = end == EEnd::Exit && child.signal != 0 ? EEnd::Signal : end,
                .signal = child.signal,
                .seconds = time.count(),
                .peakMemory = child.peakMemory,
                .status = kExitFailed,
                .reason = {},
                .conversion = {}};
    const bool isRead = ReadConversion(m_json, m_result.conversion);
    // It may have come to its end just before it was told to end.
    if (isRead && child.signal == 0 &&
        (child.status == kExitDone || child.status == kExitNotWhole)) {
        m_result.end = EEnd::Exit;
        m_result.status = child.status;
    }
    const bool lacksMemory =
        m_result.conversion.lacksMemory || (!isRead && TellsLackOfMemory(last));
    // With a limit, what lacks memory is not the result that its user wants, even if some came.
    if (m_rules.maxMemory != 0 && m_result.end != EEnd::Timeout && lacksMemory) {
        m_result.end = EEnd::Memory;
        m_result.status = kExitFailed;
    }
    if (!isRead || m_result.end == EEnd::Memory) {
        m_json.clear();  // it may name targets that are not kept
    }
    if (m_result.status == kExitFailed) {
        m_result.reason = DescribeEnd(last);
    }
}

// Why it has failed. `last` is the last line of its messages.
std::string CBatchWork::DescribeEnd(const std::string& last) const {
    constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;
    switch (m_result.end) {
        case EEnd::Exit:
            break;
        case EEnd::Signal:
            return "it was ended by signal " + std::to_string(m_result.signal);
        case EEnd::Timeout:
            return "it took longer than " + std::to_string(m_rules.timeout.count()) + " s";
        case EEnd::Memory:
            return "it wanted more memory than " + std::to_string(m_rules.maxMemory / kMebibyte) +
                   " MiB";
    }
    return !m_result.conversion.problem.empty() ? m_result.conversion.problem
           : !last.empty()                      ? last
                                                : "it ended without a result";
}

// The child has written the paths of the folder for the work, which will be gone.
void CBatchWork::CorrectPaths(const std::string& messages) {
    const fs::path folder = m_work / kNewFolder;
    const std::string separator = JsonText(fs::path({fs::path::preferred_separator}));
    std::string corrected = messages;
    // It has written them as the library knows them, and as it was given them.
    for (const fs::path& written : {AsWritten(folder), folder}) {
        const std::string json = JsonText(written);
        // A quote within a text has a backslash in front, so this is a member. Its path is that
        // from result.json on, so that the whole output can be moved.
        constexpr std::string_view kMember = "\"manifest\":\"";
        ReplaceAll(m_json, std::string(kMember).append(json).append(separator), kMember);
        ReplaceAll(m_json, json, JsonText(m_place));
        const std::string shown = Printable(platform::PathText(written));
        ReplaceAll(m_result.reason, shown, Printable(platform::PathText(m_place)));
        ReplaceAll(corrected, shown, Printable(platform::PathText(m_place)));
    }
    std::string reason;
    if (corrected != messages) {
        // A full disk leaves it as it was.
        static_cast<void>(
            ReplaceFile(folder / kMessagesFile, m_work / kNewFile, corrected, reason));
    }
}

// Exchanges the whole folder, so that the targets and their result.json always belong together.
bool CBatchWork::Publish() {
    const fs::path result = m_work / kNewFolder;
    std::string reason;
    if (!ReplaceFile(result / kResultFile, m_work / kNewFile,
                     FormatResult(m_result, NameText(m_package), m_package.profile, m_json),
                     reason)) {
        return Fail("its result cannot be written: " + reason);
    }
    if (const std::error_code error = MakeFolders(m_place.parent_path())) {
        return Fail(Quote(m_place.parent_path()) + " cannot be made: " + DescribeError(error));
    }
    if (Exists(m_place) && ExchangeFolders(result, m_place)) {
        return true;
    }
    const fs::path former = m_work / kFormerFolder;
    std::error_code error = Exists(m_place) ? MoveFolder(m_place, former) : std::error_code();
    if (!error) {
        error = MoveFolder(result, m_place);
        if (error && Exists(former)) {
            static_cast<void>(MoveFolder(former, m_place));  // else the next run does it
        }
    }
    return !error ||
           Fail("its result cannot be moved to " + Quote(m_place) + ": " + DescribeError(error));
}

// The targets of a former result stay. The files that tell of this run replace those of the former.
bool CBatchWork::PublishFailure() {
    const fs::path folder = m_work / kNewFolder;
    if (!Exists(m_place)) {
        // A child that was killed has left more than that.
        return KeepOnlyFiles(folder) ? Publish() : Fail(Quote(folder) + " cannot be cleaned up");
    }
    std::string reason;
    for (const char* const name : kToldFiles) {
        std::error_code error;
        const fs::path file = folder / name;
        if (Exists(file)) {
            fs::rename(DeepPath(file), DeepPath(m_place / name), error);
        } else {
            fs::remove(DeepPath(m_place / name), error);
        }
        reason = error ? DescribeError(error) : reason;
    }
    // Last, because a run that is killed before it converts the package again.
    static_cast<void>(reason.empty() && ReplaceFile(m_place / kResultFile, m_work / kNewFile,
                                                    FormatResult(m_result, NameText(m_package),
                                                                 m_package.profile, m_json),
                                                    reason));
    return reason.empty() || Fail("its result cannot be written: " + reason);
}

void CBatchWork::Abandon() {
    if (m_claim.GetHandle() == -1) {
        return;
    }
    const fs::path former = m_work / kFormerFolder;
    // The only copy of a former result is never removed.
    const bool mayRemove = !Exists(former) || Exists(m_place) || !MoveFolder(former, m_place);
    if (mayRemove) {
        RemoveTree(m_work);  // what stays is removed under the claim of the next run
    }
    m_claim.Release();
}

}  // namespace host
