// host/status_text.h - the library's status values in words.
#pragma once

#include <cstdint>
#include <string>

namespace host {

// "status 2: The system cannot find the file specified."; HRESULTs as "status 0x80070005: ...". A
// status without known words is the number alone.
[[nodiscard]] std::string DescribeStatus(std::uint32_t status);

// "cannot convert 'a.profile': status 2: ...", and what to do where that is known. `action` is what
// was to be done with the profile that an argument names.
[[nodiscard]] std::string DescribeFailure(const std::string& action, const std::string& profile,
                                          std::uint32_t status);

}  // namespace host
