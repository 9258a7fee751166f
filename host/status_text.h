// host/status_text.h - the status values of the library as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace host {

// "status 2: The system cannot find the file specified."; an HRESULT as "status 0x80070005: ...". A
// status without a known message is only the number.
[[nodiscard]] std::string DescribeStatus(std::uint32_t status);

// Whether a status of ScanXml says that the file is no good XML.
[[nodiscard]] bool IsXmlFault(int status);

// What a status of ScanXml, which is not 0, says of the file.
[[nodiscard]] std::string DescribeXmlFailure(int status);

// The words for an error of this system.
[[nodiscard]] std::string DescribeError(const std::error_code& error);

// Whether a status, a Windows error number or an HRESULT, says that a disk is full.
[[nodiscard]] bool IsFullDisk(std::int64_t status);

// Whether an entry of the log, which ends in the words for a status, is about a full disk.
[[nodiscard]] bool TellsFullDisk(std::u16string_view entry);

// "cannot convert 'a.profile': status 2: ...", and what to do if that is known. `action` is the
// verb, and `profile` the argument that names the profile.
[[nodiscard]] std::string DescribeFailure(const std::string& action, const std::string& profile,
                                          std::uint32_t status);

// What to do about an entry of the log, after a line end: when it says that this account may not
// load a captured hive. Empty for any other entry. Only for a machine that loads hives itself.
[[nodiscard]] std::string AdviseOnEntry(std::u16string_view entry);

}  // namespace host
