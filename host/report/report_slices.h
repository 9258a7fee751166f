// host/report/report_slices.h - the rows of a report, in slices of its page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/json_writer.h"
#include "host/report/report_page.h"

namespace host {

// Collects the rows of one list after the other, and gives them to the page when there are enough
// for a slice. One thread at a time.
class CReportSlices {
public:
    explicit CReportSlices(CReportPage& page) : m_page(page) {}

    // Ends the former list, if one is open. The rows that follow are of the list with these slices,
    // which outlives its end. Null ends the former one only.
    void BeginList(std::vector<std::uint32_t>* slices);

    // A row is an array, of which the caller writes the elements in between.
    [[nodiscard]] CJsonWriter& BeginRow();
    void EndRow();

private:
    void EndSlice();

    CReportPage& m_page;
    std::vector<std::uint32_t>* m_slices = nullptr;
    CJsonWriter m_json;
    std::size_t m_rows = 0;  // in the open slice
};

}  // namespace host
