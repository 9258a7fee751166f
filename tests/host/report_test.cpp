// What the command "report" finds, and which of it belongs together.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "host/report/gzip.h"
#include "host/report/report_packages.h"
#include "host/report/report_search.h"
#include "support/system.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kFirst = "{41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401}";
constexpr const char* kThird = "{41B7A0C2-5E0D-4F6A-8D3B-0C9E7A129999}";  // has no manifest
constexpr const char* kSecond = "{41B7A0C2-5E0D-4F6A-8D3B-0C9E7A123202}";

class ReportTest : public testing::Test {
protected:
    void WriteTarget(const std::string& folder, const std::string& guid) const {
        m_folder.WriteFile(folder + '/' + guid + "/app.orv");
    }
    // A record of targets; those of more minutes are newer.
    void WriteRecord(const std::string& name, const std::vector<std::string>& guids,
                     const std::string& head, int minutes = 0) const {
        std::string bytes = "{\"record\":1," + head + "}\n";
        for (std::size_t i = 0; i < guids.size(); ++i) {
            bytes += "{\"in\":" + std::to_string(i + 1) +
                     R"(,"thing":"target","outcome":"created","target":")" + guids[i] +
                     R"(\\app.orv"})" + "\n";
        }
        m_folder.WriteFile(name, bytes);
        const auto before = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
        std::filesystem::last_write_time(m_folder.Path(name),
                                         before + std::chrono::minutes(minutes));
    }
    void WriteLog(const std::string& name) const {
        m_folder.WriteFile(name, Utf16Bytes("<font color=\"#C0C000\"><span style=\"font-weight: "
                                            "bold\">Warning:</span></font> w<br>\r\n"));
    }

    host::SReportSources Find(const std::vector<std::string>& names) {
        host::CReportSearch search([this](const auto& place, const std::string& words) {
            m_told.push_back(place.filename().string() + ": " + words);
        });
        for (const std::string& name : names) {
            // As the command gives paths, with the separators of the system.
            search.Add(m_folder.Path(name).make_preferred());
        }
        return search.GetSources();
    }
    [[nodiscard]] std::string Short(const std::filesystem::path& path) const {
        return path.lexically_relative(m_folder.Path()).generic_string();
    }
    // "PLACE: record RECORD, NUMBER=TARGET, ..., log LOG, PROBLEM" of each package.
    std::vector<std::string> Group(const std::vector<std::string>& names) {
        std::vector<std::string> told;
        for (const host::SReportPackage& package : host::MakeReportPackages(Find(names))) {
            std::string text = Short(package.place) + ':';
            text += package.record.empty() ? "" : " record " + Short(package.record);
            for (const auto& target : package.targets) {
                text += ' ' + std::to_string(target.in) + '=' +
                        target.folder.filename().string().substr(31, 6);
            }
            for (const auto& log : package.logs) {
                text += " log " + Short(log);
            }
            for (const std::string& problem : package.problems) {
                text += " (" + problem.substr(0, 20) + ')';
            }
            told.push_back(text);
        }
        return told;
    }

    CTempFolder m_folder;
    std::vector<std::string> m_told;
};

constexpr const char* kWhole = R"("state":"whole","status":0)";

TEST_F(ReportTest, FindsEachThingOnceAtAnyDepthButNotInPayload) {
    WriteTarget("a/b/c", kFirst);
    WriteRecord("a/b/c/r.jsonl", {}, kWhole);
    WriteLog("a/x.html");
    m_folder.WriteFile("a/note.txt", "{}");
    m_folder.WriteFile("a/b/c/" + std::string(kFirst) + "/D/r.jsonl", "{\"record\":1}\n");
    WriteTarget("a/.cas2orv-41B7A0C2/x", kSecond);
    const std::string manifest = "a/b/c/" + std::string(kFirst) + "/app.orv";
    const host::SReportSources sources = Find({"a", manifest, "a/b/c/r.jsonl", "a"});
    ASSERT_EQ(sources.targets.size(), 1U);
    EXPECT_EQ(Short(sources.targets[0].folder / sources.targets[0].manifest), manifest);
    ASSERT_EQ(sources.records.size(), 1U);
    EXPECT_TRUE(sources.records[0].isWanted);
    EXPECT_EQ(sources.logs.size(), 1U);
    EXPECT_THAT(m_told, IsEmpty());

    m_folder.MakeFolder("empty/below");
    EXPECT_THAT(Find({"empty", "gone"}).targets, IsEmpty());
    EXPECT_THAT(m_told, ElementsAre(HasSubstr("empty: there is no manifest"),
                                    HasSubstr("gone: there is no such file")));
}

TEST_F(ReportTest, LinksAreFollowedOnlyWhereTheyAreNamed) {
    if (RunsOnWindows()) {
        GTEST_SKIP() << "only POSIX lets everyone make links";
    }
    WriteTarget("real", kFirst);
    m_folder.MakeFolder("in");
    std::filesystem::create_directory_symlink(m_folder.Path("real"), m_folder.Path("in/link"));
    EXPECT_EQ(Find({"in/link"}).targets.size(), 1U);
    EXPECT_THAT(Find({"in"}).targets, IsEmpty());
}

TEST_F(ReportTest, RecordsBelongToTheTargetsThatTheyName) {
    WriteTarget("out", kFirst);
    WriteTarget("out", kSecond);
    WriteRecord("out/one.jsonl", {kSecond}, kWhole, 1);
    WriteRecord("out/older.jsonl", {kSecond}, kWhole);
    WriteRecord("out/killed.jsonl", {kSecond}, R"("state":"running","status":0)", 2);
    WriteLog("out/one.html");
    WriteLog("out/other.html");
    EXPECT_THAT(Group({"out"}),
                ElementsAre("out: 0=126401 (there is no record o)",
                            "out: record out/one.jsonl 1=123202 log out/one.html",
                            "out/killed.jsonl: record out/killed.jsonl (the folders of its t)",
                            "out/older.jsonl: record out/older.jsonl (the folders of its t)",
                            "out/other.html: log out/other.html (it is not known whic)"));
    // What lies beside a target that is named counts only if it belongs to it.
    EXPECT_THAT(Group({"out/" + std::string(kSecond)}),
                ElementsAre("out: record out/one.jsonl 1=123202 log out/one.html"));
}

TEST_F(ReportTest, RecordIsMatchedWithTheNearestFolderOrWithNone) {
    for (const char* const folder : {"a/out", "b/out", "c/x/out", "c/y/out"}) {
        WriteTarget(folder, kFirst);
    }
    WriteTarget("b/out", kSecond);
    WriteRecord("b/r.jsonl", {kSecond, kFirst, kThird}, kWhole);
    WriteRecord("c/r.jsonl", {kFirst}, kWhole);
    m_folder.MakeFolder("b/out/" + std::string(kThird));
    WriteRecord("failed.jsonl", {}, R"("state":"whole","status":2)");
    EXPECT_THAT(Group({"a", "b", "c", "failed.jsonl"}),
                ElementsAre("a/out: 0=126401 (there is no record o)",
                            "b/out: record b/r.jsonl 1=123202 2=126401 3=129999",
                            "c/r.jsonl: record c/r.jsonl (the folders of its t)",
                            "c/x/out: 0=126401 (there is no record o)",
                            "c/y/out: 0=126401 (there is no record o)",
                            "failed.jsonl: record failed.jsonl"));
}

TEST(GzipTest, GivesTheTextBackAndSaysNothingOfTimeAndSystem) {
    host::CGzip gzip;
    for (const std::size_t size : {0U, 1U, 70000U}) {
        std::string text(size, 'a');
        for (std::size_t i = 0; i < size; i += 3) {
            text[i] = static_cast<char>(i * i >> 3);
        }
        std::string packed(gzip.Compress(text));
        EXPECT_EQ(packed.substr(0, 10), std::string("\x1F\x8B\x08\0\0\0\0\0\0\xFF", 10)) << size;
        z_stream stream{};
        ASSERT_EQ(inflateInit2(&stream, 15 + 16), Z_OK);
        std::string unpacked(size + 1, '\0');
        stream.next_in = reinterpret_cast<Bytef*>(packed.data());
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = reinterpret_cast<Bytef*>(unpacked.data());
        stream.avail_out = static_cast<uInt>(unpacked.size());
        EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
        EXPECT_EQ(unpacked.substr(0, stream.total_out), text);
        EXPECT_EQ(inflateEnd(&stream), Z_OK);
    }
    EXPECT_EQ(host::Base64(""), "");
    EXPECT_EQ(host::Base64("f"), "Zg==");
    EXPECT_EQ(host::Base64("fo"), "Zm8=");
    EXPECT_EQ(host::Base64("\xFF\xEF\xBE"), "/+++");
}

}  // namespace
