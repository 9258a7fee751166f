// host/report/report_packages.h - which results, records and logs are of one conversion.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/report/report_search.h"

namespace host {

// What one conversion has left.
struct SReportPackage {
    struct STarget : SReportTarget {
        std::uint64_t in = 0;  // its number in the record; 0 when none tells of it
    };

    // The folder with the targets or the result file; without any, the record or log.
    std::filesystem::path place;
    std::filesystem::path record;  // empty without one
    std::filesystem::path result;  // the result file of a batch; empty without one
    std::vector<STarget> targets;
    std::vector<std::filesystem::path> logs;
    std::vector<std::string> problems;  // why something is not with what it belongs to
};

// Puts together what belongs together, in the order of the places.
//
// A record belongs to the targets that it names. They are sought in its own folder, then in the
// folder that is nearest to it. Of several records of one target, one of a conversion that came to
// its end counts first, then the newest. A result file of a batch makes one package of what is in
// its folder. Other targets without a record are one package for each folder
// and name of a manifest. A log belongs to the only package of its folder, or to the one whose
// record has the same name but for the extension. What belongs nowhere is a package by itself.
[[nodiscard]] std::vector<SReportPackage> MakeReportPackages(const SReportSources& sources);

}  // namespace host
