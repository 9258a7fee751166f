// host/run_log.h - the log of one conversion.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "host/log_reader.h"
#include "host/result_file.h"

namespace host {

// The library saves its log to a temporary file. From there the entries are shown on stderr, and
// the file that the user named gets it.
class CRunLog {
public:
    // Makes the temporary file. `argument` names the user's file, which is not changed yet; empty
    // for none. False, with the reason on stderr, when one of the files cannot be written.
    [[nodiscard]] bool Open(const std::string& argument, const std::filesystem::path& temporary);

    // Counts the entries. Comes before Show and Publish.
    [[nodiscard]] SLogSummary Count();
    // The first entry has the number 1.
    using IsTold = std::function<bool(std::uint64_t number, std::u16string_view text)>;
    // Shows the entries on stderr, without those of which `isTold` says that they are told already.
    // False when the log cannot be read to its end.
    [[nodiscard]] bool Show(const IsTold& isTold) const;

    // Has the user's file hold the log. Its missing folders are made. False, with the reason on
    // stderr, when it cannot be written.
    [[nodiscard]] bool Publish();

private:
    CResultFile m_file{"log"};
    bool m_hasEntries = true;
};

}  // namespace host
