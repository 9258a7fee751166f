// host/report/report_data.h - reads packages for the page of a report.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "foundation/json_writer.h"
#include "host/report/report_packages.h"
#include "host/report/report_page.h"
#include "host/report/report_payload.h"
#include "host/report/report_slices.h"
#include "host/report/report_summary.h"
#include "host/target_folder.h"

namespace host {

struct SReportCounts {
    std::uint64_t packages = 0;
    std::uint64_t targets = 0;  // also those that only a record tells of
    std::uint64_t manifests = 0;
    std::uint64_t items = 0;
    std::uint64_t files = 0;  // of the payload
    std::uint64_t problems = 0;
};

// Gives what packages have to a page: the rows at once, and in the end the summary. The memory
// grows with the summary, the files of the largest target and the largest item. One thread at a
// time.
class CReportData {
public:
    // `tell` receives what cannot be read, besides the page.
    CReportData(CReportPage& page, TellProblem tell)
        : m_page(page), m_slices(page), m_tell(std::move(tell)) {}

    // Reads a package. What of it cannot be read is a problem, and the rest goes on.
    void Add(const SReportPackage& package);

    // The summary of all packages, as JSON. Nothing can be added any more.
    [[nodiscard]] std::string Finish();

    [[nodiscard]] const SReportCounts& GetCounts() const { return m_counts; }

private:
    void ReadResultOf(const SReportPackage& package, SReportedPackage& data);
    void ReadRecordOf(const SReportPackage& package, SReportedPackage& data);
    [[nodiscard]] std::string ReadRecordLines(const std::filesystem::path& record,
                                              SRecordHead& head, SReportedPackage& data);
    void NoteReasons(const SReportedTarget& target);
    void ReadTarget(SReportedTarget& target, SReportedPackage& data);
    void ReadManifestOf(SReportedTarget& target, CReportPayload& payload, SReportedPackage& data);
    void ReadLogOf(const std::filesystem::path& log, SReportedPackage& data);
    void Tell(SReportedPackage& data, const std::filesystem::path& place, const std::string& words);
    void WriteReasons();

    CReportPage& m_page;
    CReportSlices m_slices;
    TellProblem m_tell;
    SReportCounts m_counts;
    CJsonWriter m_json;
    std::string m_packages;                        // as JSON, with commas in between
    std::map<std::string, std::string> m_reasons;  // outcome of the first thing by the reason
};

}  // namespace host
