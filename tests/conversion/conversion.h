// conversion/conversion.h - a whole conversion in a test: a package on disk, converted through the
// exported functions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvcasconv/orvcasconv.h"
#include "support/package_builder.h"
#include "support/temp_folder.h"

// A text as the exported functions take it, and one that they give, in UTF-8.
std::basic_string<OrvChar> HostText(const std::u16string& text);
std::string TextOfHost(const OrvChar* text);

class CTestConversion {
public:
    CTestConversion() = default;
    ~CTestConversion();
    CTestConversion(const CTestConversion&) = delete;
    CTestConversion& operator=(const CTestConversion&) = delete;

    // Has the library convert on the machine of a description, which it reads from a file, as a
    // host's user would name one.
    void UseMachine(std::string_view toml);

    // Writes the package to the folder "package" and converts it to "out/app.orv".
    std::uint32_t Convert(const CTestPackage& package);
    // Converts the file at `profile`, a path below the folder.
    std::uint32_t ConvertFile(std::string_view profile);

    // What the last conversion left. Log lines are its own alone, without HTML.
    [[nodiscard]] const std::vector<std::string>& Guids() const { return m_guids; }
    [[nodiscard]] const std::vector<std::string>& LogLines() const { return m_logLines; }
    [[nodiscard]] std::string Manifest(std::string_view guid) const;
    // The element of one collection in the manifest; empty when it is not there.
    [[nodiscard]] std::string Collection(std::string_view guid, const std::string& name) const;
    // Every file below the target's folder but the manifest, sorted, with slashes.
    [[nodiscard]] std::vector<std::string> Payload(std::string_view guid) const;
    // What the host saw at each notification.
    [[nodiscard]] const std::vector<std::string>& Progress() const;

    CTempFolder& Folder() { return m_folder; }

private:
    void ReadLog();

    CTempFolder m_folder;
    std::vector<std::string> m_guids;
    std::vector<std::string> m_logLines;
};
