// What the command "verify" finds in a manifest, in a payload and in check sums.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "host/check_sums.h"
#include "host/manifest_check.h"
#include "host/payload_check.h"
#include "support/system.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class VerifyTest : public testing::Test {
protected:
    // What is told of a manifest, each with its line in front.
    std::vector<std::string> Check(const std::string& text) {
        const std::u16string path = m_folder.WriteFile("app.orv", Utf16Bytes(text));
        std::vector<std::string> told;
        m_payload.clear();
        m_items = host::CheckManifest(
                      path, {[&](std::uint32_t line, const std::string& words) {
                                 told.push_back(std::to_string(line) + ": " + words);
                             },
                             [&](const std::u16string& file) { m_payload.push_back(file); }})
                      .items;
        return told;
    }
    // The same of a manifest with these collections, the first in line 6.
    std::vector<std::string> CheckCollections(const std::string& collections) {
        return Check(
            "<?xml version=\"1.0\" encoding=\"utf-16\"?>\r\n<Package Version=\"1\">\r\n"
            "<Properties>\r\n<PerUserInstall>1</PerUserInstall>\r\n</Properties>\r\n" +
            collections + "</Package>\r\n");
    }

    // The names of files, with what is told of them.
    host::TellProblem Note() {
        return [this](const std::filesystem::path& place, const std::string& words) {
            m_told.push_back(place.filename().string() + ": " + words);
        };
    }
    [[nodiscard]] std::vector<host::SFoundFile> Files() {
        return host::ListFiles(m_folder.Path(), Note());
    }

    CTempFolder m_folder;
    std::size_t m_items = 0;
    std::vector<std::u16string> m_payload;
    std::vector<std::string> m_told;
};

TEST_F(VerifyTest, ManifestGivesItsItemsAndThePayloadThatTheyName) {
    EXPECT_THAT(
        CheckCollections(
            "<CreateFiles>\r\n"
            R"(<File Target="%CSIDL_WINDOWS%\a" RelativeSource="CSIDL_WINDOWS\||~~~00e9|%\%SID%" />)"
            "\r\n</CreateFiles>\r\n<CreateKeys>\r\n</CreateKeys>\r\n<CreateAssemblies>\r\n"
            R"(<Assembly Id="a" AssemblyType="0" ManifestRelativeSource="m">)"
            "<File RelativeSource=\"f\" /></Assembly>\r\n</CreateAssemblies>\r\n"),
        IsEmpty());
    EXPECT_EQ(m_items, 2U);
    EXPECT_THAT(
        m_payload,
        ElementsAre(std::u16string(u"CSIDL_WINDOWS\\|~\u00E9%\\") + host::kSidMark, u"m", u"f"));
}

TEST_F(VerifyTest, ManifestIsToldLineByLineWhatIsWrong) {
    const std::pair<const char*, const char*> kCases[] = {
        {"<CreateFiles>\r\n<File Target=\"a\" />\r\n</CreateFiles>\r\n",
         "7: 'File' lacks the attribute 'RelativeSource'"},
        {"<CreateKeys>\r\n</CreateKeys>\r\n<CreateFiles>\r\n</CreateFiles>\r\n",
         "8: the element 'CreateFiles' is not allowed here"},
        {"<Files>\r\n<b><c /></b>\r\n</Files>\r\n", "6: the element 'Files' is not allowed here"},
        {"<DeleteFiles>\r\nx</DeleteFiles>\r\n",
         "6: 'DeleteFiles' may have no text: '\xEF\xBF\xBD"},
        {"<DeleteFiles>\r\n<File Target=\"%Temp\"/>\r\n</DeleteFiles>\r\n",
         "7: the attribute 'Target' of 'File' is no portable text with known tokens: '%Temp'"},
        {"<DeleteFiles>\r\n<File Target=\"a\"/>", "not well-formed"},
        {"<!DOCTYPE a>", "not well-formed"},
    };
    for (const auto& [collections, words] : kCases) {
        EXPECT_THAT(CheckCollections(collections), ElementsAre(HasSubstr(words))) << words;
    }
    EXPECT_THAT(Check("<Package Version=\"1\" />"),
                ElementsAre("1: 'Package' lacks the element 'Properties'"));
    std::string faults;
    for (int i = 0; i < 300; ++i) {
        faults += "<x/>\r\n";
    }
    const std::vector<std::string> many = CheckCollections(faults);
    EXPECT_EQ(many.size(), 101U);
    EXPECT_EQ(many.back(), "0: there are 200 more faults");
}

TEST_F(VerifyTest, PayloadIsFoundUnderTheConvertersSid) {
    for (const char* const file :
         {"Users/S-1-5-18/a", "Users/S-1-5-21-7/a", "Users/S-1-5-21-7/b", "Users/S-1-x/a"}) {
        m_folder.WriteFile(file);
    }
    const std::vector<host::SFoundFile> files = Files();
    host::CPayloadCheck payload(m_folder.Path(), files);
    const std::u16string user = uR"(Users\)" + std::u16string(1, host::kSidMark);
    for (const std::u16string& file :
         {user + uR"(\a)", user + uR"(\b)", user + uR"(\c)",
          std::u16string(uR"(\Users\S-1-5-18\a)"), std::u16string(uR"(Users\..\..\x)"),
          std::u16string(u"C:x"), std::u16string(u"gone")}) {
        payload.Name(file, true, Note());
    }
    payload.FinishNames(Note());
    payload.TellStrays({}, Note());
    EXPECT_THAT(m_told, ElementsAre(HasSubstr(R"('Users\..\..\x' is no path below the folder)"),
                                    HasSubstr("'C:x' is no path below the folder"),
                                    ": the payload file 'gone' is not there",
                                    R"(: the payload file 'Users\%SID%\c' is not there)",
                                    "a: no item of the manifest names this file"));
}

TEST_F(VerifyTest, CheckSumsAreThoseOfTheBytes) {
    // A name with all that is escaped, where files can have it.
    const std::string odd = RunsOnWindows() ? "d/odd" : "d/odd\\\n\r";
    m_folder.WriteFile("abc", "abc");
    m_folder.WriteFile(odd, std::string(3'000'000, 'x'));
    EXPECT_EQ(host::WriteCheckSums(m_folder.Path()), "");
    EXPECT_EQ(host::WriteCheckSums(m_folder.Path()), "");  // in place of the first
    const std::string sums = m_folder.ReadFile(host::kSumsName);
    EXPECT_THAT(
        sums, HasSubstr("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  abc\n"));
    host::VerifyCheckSums(m_folder.Path(), Files(), Note());
    EXPECT_THAT(m_told, IsEmpty());

    m_folder.WriteFile(odd, std::string(2'999'999, 'x') + 'y');
    std::filesystem::remove(m_folder.Path("abc"));
    m_folder.WriteFile("new");
    m_folder.WriteFile(host::kSumsName, sums + "no sum\n");
    host::VerifyCheckSums(m_folder.Path(), Files(), Note());
    EXPECT_THAT(m_told, ElementsAre("SHA256SUMS: line 3 is no line of sha256sum",
                                    HasSubstr(": the file has other bytes than in SHA256SUMS"),
                                    "new: the file is not in SHA256SUMS",
                                    "SHA256SUMS: a file of the list is not there: 'abc'"));
    // A file of the package that has the name.
    EXPECT_THAT(host::WriteCheckSums(m_folder.Path()), HasSubstr("is not replaced"));
    EXPECT_THAT(m_folder.ReadFile(host::kSumsName), HasSubstr("no sum"));
}

}  // namespace
