// host/losses.h - what a conversion has lost, from its record.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/record_pattern.h"
#include "host/record_reader.h"

namespace host {

// What the record of one conversion has for its user. Its memory grows with the losses, not with
// the record.
class CLosses {
public:
    // Reads a record. False when it does not tell whether the result is whole; Show has the reason.
    // `profile` is the place of lines that name none.
    [[nodiscard]] bool Read(const std::filesystem::path& record,
                            const std::filesystem::path& profile);

    // How many things were captured and are not in the result, and how many were not captured. Both
    // are right even if the disk had no room for their lines.
    [[nodiscard]] std::uint64_t GetLosses() const { return m_head.losses; }
    [[nodiscard]] std::uint64_t GetMissing() const { return m_head.missing; }
    // Those of a target, by its number in the profile, as far as they have lines.
    [[nodiscard]] std::uint64_t GetLosses(std::uint64_t target) { return m_lossesOf[target]; }
    // Whether a loss tells what an entry of the log tells; the first entry has the number 1.
    [[nodiscard]] bool TellsLogEntry(std::uint64_t number) const {
        return m_logEntries.contains(number);
    }

    // Whether all losses have lines.
    [[nodiscard]] bool IsComplete() const { return m_problem.empty(); }
    // How many losses a full disk has caused, as far as they have lines.
    [[nodiscard]] std::size_t CountUnwritten() const;
    // Shows what is wrong with the record, each loss with its path, and for each reason what to do,
    // on stderr. What a full disk has caused is left out if that is told already.
    void Show(bool isFullDiskTold = false) const;

    // How many things of a target were left out for which reason. Only from a full record.
    using Counts = std::map<std::string, std::uint64_t>;
    [[nodiscard]] const Counts& GetLeftOut(std::uint64_t target) { return m_leftOut[target]; }
    // How many items the manifest in a folder has, by collection.
    [[nodiscard]] const Counts& GetItems(const std::u16string& guid) { return m_items[guid]; }

private:
    void Take(const SRecordEntry& entry, const std::filesystem::path& profile);

    struct SLoss {
        std::string reason;
        std::string subject;  // as shown
        std::u16string path;  // of this system, or of the registry
        std::int64_t status = 0;
    };

    SRecordHead m_head;
    std::string m_problem;  // of the record; empty for none
    CLocalNames m_localNames;
    std::vector<SLoss> m_losses;
    std::set<std::uint64_t> m_logEntries;
    std::map<std::uint64_t, Counts> m_leftOut;
    std::map<std::uint64_t, std::uint64_t> m_lossesOf;
    std::map<std::u16string, Counts> m_items;  // by the GUID of the target
};

}  // namespace host
