// host/report/report_summary.h - what the summary of a report says of a package.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/json_writer.h"
#include "host/record_summary.h"
#include "host/report/report_packages.h"
#include "host/report/report_payload.h"

namespace host {

// What a manifest has of a collection.
struct SReportedItems {
    std::u16string collection;
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;  // of the payload that the items name
};

// What the summary says of a target, or of what is outside of targets.
struct SReportedTarget {
    std::filesystem::path folder;  // empty when only the record tells of it
    std::filesystem::path manifest;
    std::u16string name;
    std::u16string recorded;  // FOLDER\MANIFEST in the record; empty without
    bool isCreated = false;   // as the record says
    std::map<std::u16string, std::u16string> properties;
    std::vector<SReportedItems> items;
    std::optional<SRecordSummary> record;
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<SReportSize> largest;
    std::vector<SReportSize> folders;
    std::vector<std::uint32_t> itemSlices;
    std::vector<std::uint32_t> recordSlices;
    std::vector<std::uint32_t> fileSlices;

    // Adds an item with the size of its payload. `places` is empty at the first one, and kept by
    // the caller from item to item.
    void CountItem(std::u16string_view collection, std::uint64_t size,
                   std::map<std::u16string, std::size_t>& places);
    [[nodiscard]] std::u16string GetGuid() const;
};

// What the result file of a batch tells of a package.
struct SReportedResult {
    std::u16string name;  // in the batch
    bool isFailed = false;
};

// What it says of a package.
struct SReportedPackage {
    std::map<std::uint64_t, SReportedTarget> targets;  // by their numbers; 0 is outside of targets
    std::optional<SRecordHead> head;
    SReportedResult result;
    bool isDamaged = false;  // something of it cannot be read
    std::vector<std::string> problems;
    std::vector<std::uint32_t> logSlices;

    // "whole", "not whole", "failed" or "unknown".
    [[nodiscard]] std::string_view GetStatus() const;
    // The name in the batch, or that of the profile, if a manifest tells it.
    [[nodiscard]] std::u16string GetName(const SReportPackage& package) const;
};

// Writes an object with all that the summary says of a package.
void WriteReportedPackage(const SReportPackage& package, const SReportedPackage& data,
                          CJsonWriter& json);

}  // namespace host
