#include "host/report/report_page.h"

#include <cerrno>
#include <new>
#include <span>

#include "platform/crypto.h"

namespace host {

namespace {

// What the policy of the page knows a script or a style by.
std::string HashSource(std::string_view text) {
    platform::CSha256 hash;
    platform::Sha256 result{};
    if (hash.Add(std::as_bytes(std::span(text))) != 0 || hash.Finish(result) != 0) {
        throw std::bad_alloc();
    }
    return "'sha256-" + Base64({reinterpret_cast<const char*>(result.data()), result.size()}) + "'";
}

// The error of the call that has just failed. Streams do not tell it, and may not set `errno`.
std::error_code LastError() { return {errno == 0 ? EIO : errno, std::generic_category()}; }

std::string MakeStart() {
    std::string start =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src ";
    start += HashSource(kReportAssets.script) + "; style-src " + HashSource(kReportAssets.css);
    start +=
        "; img-src data:; base-uri 'none'; form-action 'none'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<title>Conversion report</title>\n<style>";
    start.append(kReportAssets.css).append("</style></head>\n<body>\n").append(kReportAssets.html);
    return start;
}

}  // namespace

void CReportPage::Begin(const std::filesystem::path& file) {
    errno = 0;
    m_file.open(file, std::ios::binary | std::ios::trunc);
    Write(MakeStart());
}

void CReportPage::Write(std::string_view bytes) {
    if (m_hasFailed) {
        return;
    }
    m_file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    m_size += bytes.size();
    if (m_file.fail()) {
        m_error = LastError();
        m_hasFailed = true;
    }
}

std::uint32_t CReportPage::AddSlice(std::string json) {
    const std::uint32_t number = m_count++;
    m_jobs.Add([this, number, text = std::move(json)] {
        errno = 0;
        Write("<script type=\"text/plain\" id=\"d" + std::to_string(number) + "\">");
        Write(Base64(m_gzip.Compress(text)));
        Write("</script>\n");
    });
    return number;
}

std::error_code CReportPage::Finish(std::string_view summary) {
    m_jobs.Finish();
    errno = 0;
    Write("<script type=\"application/json\" id=\"summary\">");
    // A bracket is only ever in texts, where an escape says the same. So nothing of a package ends
    // the element.
    for (std::size_t end = 0; !summary.empty(); summary.remove_prefix(end)) {
        if (summary.front() == '<') {
            Write("\\u003c");
            end = 1;
        } else {
            end = std::min(summary.find('<'), summary.size());
            Write(summary.substr(0, end));
        }
    }
    Write("</script>\n<script>");
    Write(kReportAssets.script);
    Write("</script>\n</body></html>\n");
    m_file.close();
    if (m_file.fail() && !m_error) {
        m_error = LastError();
    }
    return m_error;
}

}  // namespace host
