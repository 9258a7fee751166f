#include "host/report/report_slices.h"

#include <string>

namespace host {

namespace {

constexpr std::size_t kMostRows = 4096;
constexpr std::size_t kEnoughBytes = std::size_t{1} << 20;

}  // namespace

void CReportSlices::BeginList(std::vector<std::uint32_t>* slices) {
    if (m_rows != 0) {
        EndSlice();
    }
    m_slices = slices;
}

CJsonWriter& CReportSlices::BeginRow() {
    if (m_rows == 0) {
        m_json.BeginArray();
    }
    m_json.BeginArray();
    return m_json;
}

void CReportSlices::EndRow() {
    m_json.EndArray();
    if (++m_rows == kMostRows || m_json.GetBytes().size() >= kEnoughBytes) {
        EndSlice();
    }
}

void CReportSlices::EndSlice() {
    m_json.EndArray();
    m_slices->push_back(m_page.AddSlice(std::string(m_json.GetBytes())));
    m_json.Clear();
    m_rows = 0;
}

}  // namespace host
