// host/batch/batch_work.h - the conversion of one package of a batch.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/batch/batch_digests.h"
#include "host/batch/batch_result.h"
#include "host/batch/batch_sources.h"
#include "host/processes.h"
#include "host/system.h"

namespace host {

// What all conversions of a batch have in common.
struct SBatchRules {
    std::filesystem::path folder;      // for the results, in full
    std::vector<std::string> options;  // of each conversion, such as "--strict"
    std::uint64_t maxMemory = 0;       // bytes; 0 for no limit
    std::chrono::seconds timeout{0};   // 0 for no limit
    bool isRetry = false;              // whether to convert again what has failed
    bool hasSummary = true;            // whether to write the files that sum up all packages
};

// The folder of a package's result.
[[nodiscard]] std::filesystem::path ResultFolder(const SBatchRules& rules, const SPackage& package);

enum class EBegin {
    Started,
    Kept,     // the result that is there is that of this package; see GetResult
    Taken,    // another process converts it now
    Failed,   // see GetProblem
    NoLocks,  // the file system has no locks, so that nothing can be converted
};

// One package on its way. While it is converted this object holds FOLDER/.cas2orv-batch/HASH.lock,
// and so does the child; all that is not in its place is in FOLDER/.cas2orv-batch/HASH.
//
// INVARIANT: whoever holds the file may touch the folder of that name and the package's result. The
// result is replaced as a whole, result.json included. After a failure the targets of a former
// result stay, and result.json is the last file that is replaced.
class CBatchWork {
public:
    CBatchWork(const SBatchRules& rules, const SPackage& package)
        : m_rules(rules), m_package(package), m_place(ResultFolder(rules, package)) {}

    // Whether the result that is there is that of the present package: see GetResult. Claims
    // nothing.
    [[nodiscard]] bool IsDone(CDigests& digests);

    // Starts the conversion if there is no good result.
    [[nodiscard]] EBegin Begin(CDigests& digests, CChildren& children);

    // Takes what the child has left. `end` says why it was told to end, if it was. False when the
    // result cannot be put into its place: see GetProblem.
    [[nodiscard]] bool Finish(const SChildEnd& child, EEnd end);
    // Removes what the child has left; the package stays as it was.
    void Abandon();

    [[nodiscard]] const SPackage& GetPackage() const { return m_package; }
    [[nodiscard]] const SPackageResult& GetResult() const { return m_result; }
    [[nodiscard]] const std::string& GetProblem() const { return m_problem; }
    // What is wrong with a result that is not used; empty when there is nothing to tell.
    [[nodiscard]] const std::string& GetWarning() const { return m_warning; }
    [[nodiscard]] std::intptr_t GetChild() const { return m_child; }

private:
    void TakeDigests(CDigests& digests);
    void RemoveFormer();
    [[nodiscard]] EBegin Claim();
    [[nodiscard]] bool PutBack();
    [[nodiscard]] bool CheckPlace();
    [[nodiscard]] bool MakeWork();
    [[nodiscard]] bool Start(CChildren& children);
    void ReadOutput(const SChildEnd& child, EEnd end, const std::string& last);
    [[nodiscard]] std::string DescribeEnd(const std::string& last) const;
    void CorrectPaths(const std::string& messages);
    [[nodiscard]] bool Publish();
    [[nodiscard]] bool PublishFailure();
    [[nodiscard]] bool Fail(const std::string& problem);

    const SBatchRules& m_rules;
    const SPackage& m_package;
    std::filesystem::path m_place;  // of the result
    std::filesystem::path m_work;
    CHeldFile m_claim;
    SDigests m_digests;
    bool m_hasDigests = false;
    SPackageResult m_result;
    std::string m_json;  // what the child has printed, if it is whole
    std::string m_problem;
    std::string m_warning;
    std::intptr_t m_child = 0;
    std::chrono::steady_clock::time_point m_begin;
};

}  // namespace host
