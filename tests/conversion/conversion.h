// conversion/conversion.h - a whole conversion in a test: a package on disk, converted through the
// exported functions.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "orvcasconv/orvcasconv.h"
#include "support/hive_builder.h"
#include "support/machine.h"
#include "support/manifest.h"
#include "support/package_builder.h"
#include "support/test.h"

inline const std::string kGuid = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
inline const std::string kOtherGuid = "{11111111-2222-3333-4444-555555555555}";

// The targets of these. All files of the first can be read, so that nothing is logged of it; the
// other one has none.
CTestTarget TestTarget(const CTestHive& hive = {});
CTestTarget OtherTarget();

// A text as the exported functions take it, and one that they give, in UTF-8.
inline std::basic_string<OrvChar> HostText(const std::u16string& text) {
    return {text.begin(), text.end()};
}
inline std::string TextOfHost(const OrvChar* text) {
    return Utf8(reinterpret_cast<const char16_t*>(text));
}

// Matches a line of the log that begins so and holds that, such as a file's name and the reason.
inline auto Line(const std::string& start, const std::string& part) {
    return testing::AllOf(testing::StartsWith(start), testing::HasSubstr(part));
}

// Conversions on a machine so small that every token of a manifest can be seen in its test.
class ConversionTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Has the library convert on the machine of another description, which it reads from a file, as
    // a host's user would name one.
    void UseMachine(std::string_view toml);
    // Has the machine of a description's file answer; without a file, the one that does so by
    // itself.
    static void UseMachineFile(const std::string& file);

    // Writes the package to the folder "package".
    void Write(const CTestPackage& package) const {
        package.Write(m_folder.Path("package"), "App.profile");
    }
    // Writes the package, or one with this target alone, and converts it to "out/app.orv".
    std::uint32_t Convert(const CTestPackage& package) {
        Write(package);
        return ConvertFile();
    }
    std::uint32_t Convert(CTestTarget target) {
        return Convert(CTestPackage().Target(std::move(target)));
    }
    // Converts the file at `profile`, a path below the folder.
    std::uint32_t ConvertFile(std::string_view profile = "package/App.profile") {
        return ConvertNamed(m_folder.Name(profile));
    }
    // The same by its name for the library, which may be one that the described machine has.
    std::uint32_t ConvertNamed(const std::u16string& profile);

    [[nodiscard]] std::string Manifest(const std::string& guid = kGuid) const {
        return ReadManifestFile(m_folder.ReadFile("out/" + guid + "/app.orv"));
    }
    // The element of one collection in the manifest; empty when it is not there.
    [[nodiscard]] std::string Collection(const std::string& name,
                                         const std::string& guid = kGuid) const;
    // Whether that element holds an item with these attributes and text.
    [[nodiscard]] bool Holds(const std::string& collection, const std::string& item) const {
        return Collection(collection).find(item) != std::string::npos;
    }
    // Every file below the target's folder but the manifest, sorted, with slashes.
    [[nodiscard]] std::vector<std::string> Payload(const std::string& guid = kGuid) const;
    // Whether a notification that the host got had this in its chain, "1/2 message|" a level.
    [[nodiscard]] bool WasSeen(const std::string& text) const {
        return std::ranges::any_of(m_progress, [&text](const std::string& line) {
            return line.find(text) != std::string::npos;
        });
    }

    CTempFolder m_folder;
    // What the last conversion left: GUIDs, its own lines of the log without HTML, and each
    // notification.
    std::vector<std::string> m_guids;
    std::vector<std::string> m_logLines;
    std::vector<std::string> m_progress;
    // Called with each notification while the next conversion goes on.
    std::function<void(const std::string& line)> m_onProgress;

private:
    void ReadLog();
};
