#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/batch/batch_digests.h"
#include "host/batch/batch_display.h"
#include "host/batch/batch_result.h"
#include "host/batch/batch_sources.h"
#include "host/batch/result_watch.h"
#include "support/test.h"

namespace {

namespace fs = std::filesystem;
using host::SPackage;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kGuid = "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9";

class BatchTest : public testing::Test {
protected:
    [[nodiscard]] host::SSources Find(const std::vector<std::string>& names,
                                      const std::string& lines = "") const {
        std::vector<std::string> arguments;
        for (const std::string& name : names) {
            arguments.push_back(name == "-" ? name : m_folder.Path(name).string());
        }
        std::istringstream list(lines);
        return host::FindSources(arguments, m_folder.Path("out"), list);
    }
    fs::path Write(const std::string& name, const std::string& bytes = "") const {
        m_folder.WriteFile(name, bytes);
        return m_folder.Path(name).make_preferred();
    }
    static std::vector<std::string> Names(const host::SSources& sources) {
        std::vector<std::string> names;
        for (const SPackage& package : sources.packages) {
            names.push_back(package.name);
        }
        return names;
    }

    CTempFolder m_folder;
};

TEST_F(BatchTest, AFolderHasThePackagesOfItsProfiles) {
    for (const char* const file : {"in/b.profile", "in/a/C.D.PROFILE", "in/a/other.xml",
                                   "in/.cas2orv-batch/x.profile", "out/in/y.profile"}) {
        Write(file);
    }
    Write(std::string("in/") + kGuid + "_1/Device/C/captured.profile");
    EXPECT_THAT(Names(Find({"in"})), ElementsAre("a/C.D", "b"));
    EXPECT_THAT(Names(Find({"in/b.profile", "in"})), ElementsAre("a/C.D", "b"));
    EXPECT_EQ(Find({"in", "missing"}).problems, 1U);
    EXPECT_TRUE(Find({"out/in"}).isWrong);
    EXPECT_TRUE(Find({"."}).problems == 0 && !Find({"."}).isWrong);
    // The output within what is searched is passed over.
    EXPECT_THAT(Names(Find({"."})), ElementsAre("in/a/C.D", "in/b"));
}

TEST_F(BatchTest, AListHasNamesOfItsOwn) {
    const std::string profile = Write("in/b.profile").string();
    const host::SSources sources =
        Find({"-"}, profile + "\r\n\n" + "x/y\t" + profile + "\n" + "../z\t" + profile + "\nz\t\n");
    EXPECT_THAT(Names(sources), ElementsAre("b", "x/y"));
    EXPECT_EQ(sources.packages[1].profile, fs::path(profile));
    EXPECT_EQ(sources.packages[1].place, fs::path("x") / "y");
    EXPECT_EQ(sources.problems, 2U);
}

TEST_F(BatchTest, NamesThatShareAPlaceAreRefused) {
    // A blank and an exclamation mark sort ahead of the slash.
    host::SSources sources;
    for (const char* const name : {"a", "A!", "A/b", "a /c", "ab", "X", "x", "y/z", "y"}) {
        sources.packages.push_back({name, name, fs::path("in") / name});
    }
    host::RefuseClashes(sources);
    EXPECT_THAT(Names(sources), ElementsAre("A!", "a /c", "ab"));
    EXPECT_EQ(sources.problems, 6U);
}

TEST_F(BatchTest, DigestsAreOfThePackageAlone) {
    const std::string other = "11111111-2222-3333-4444-555555555555";
    const auto text = [](const std::string& guid) { return "<Guid>" + guid + "</Guid>"; };
    const SPackage package{"a", "a", Write("in/a.profile", text(kGuid))};
    Write("in/b.profile", text(other));
    const auto take = [&] { return host::CDigests("m", "o").Take(package, {}); };
    Write("in/" + other + "_1/InstallRoot.dat", "1");
    const host::SDigests none = take();
    Write(std::string("in/") + kGuid + "_2/InstallRoot.dat", "1");
    const host::SDigests one = take();
    EXPECT_NE(one.hives, none.hives);
    EXPECT_EQ(one.profile, none.profile);
    Write("in/" + other + "_1/InstallRoot.dat", "2");
    EXPECT_TRUE(host::HasSameInput(take(), one));
    Write(std::string("in/") + kGuid + "_2/InstallRoot.dat", "2");
    EXPECT_FALSE(host::HasSameInput(take(), one));
    // What is so young proves nothing by its times.
    EXPECT_EQ(one.state, "");
    // In UTF-16, after hexadecimal digits that belong to no GUID, and in small letters.
    Write("in/a.profile", Utf16Bytes("ab-0123-4567 \xC3\xA9"
                                     "abc0a1b2c3d" +
                                     std::string(kGuid).substr(8)));
    EXPECT_NE(take().hives, none.hives);
}

TEST_F(BatchTest, AResultIsReadAsItWasWritten) {
    host::SPackageResult result;
    result.program = "1.0.0";
    result.digests = {"p", "h", "m", "--strict", "s"};
    result.end = host::EEnd::Signal;
    result.signal = 9;
    result.seconds = 1.25;
    result.peakMemory = 1 << 20;
    result.reason = "a\nb";
    const std::string json =
        R"({"targets":[{"items":{"A":2,"B":3},"leftOut":{"rule":4}},{"items":{"A":1}}],)"
        R"("messages":[{"level":"loss","text":"\ud800 \udc80","reason":"x"},)"
        R"({"level":"missing","text":"no"},{"level":"error","text":"E"}],"status":3})";
    const std::string text = host::FormatResult(result, u"n\u202E", "p", json);
    EXPECT_THAT(text, HasSubstr(R"("name":"n\u202e")"));
    const fs::path file = Write("result.json", text);
    host::SPackageResult read;
    std::string problem;
    ASSERT_EQ(host::ReadResult(file, read, problem), host::EResultState::Good) << problem;
    EXPECT_TRUE(host::HasSameInput(read.digests, result.digests));
    EXPECT_EQ(std::tuple(read.end, read.signal, read.seconds, read.peakMemory, read.status),
              std::tuple(result.end, 9, 1.25, result.peakMemory, 1));
    EXPECT_EQ(read.reason, "a b");
    EXPECT_EQ(read.conversion.items, 6U);
    EXPECT_EQ(read.conversion.losses, 1U);
    EXPECT_EQ(read.conversion.lost["x"], 1U);
    EXPECT_EQ(read.conversion.leftOut["rule"], 4U);
    EXPECT_EQ(read.conversion.problem, "E");
    // Cut off anywhere, it is no result, and the one that was read stays.
    for (std::size_t size = 0; size + 1 < text.size(); size += 7) {
        Write("result.json", text.substr(0, size));
        EXPECT_EQ(host::ReadResult(file, read, problem), host::EResultState::Unusable) << size;
    }
    EXPECT_EQ(read.signal, 9);
    // Both readers take the same for damaged.
    Write("result.json", "\xEF\xBB\xBF" + text);
    EXPECT_EQ(host::ReadResult(file, read, problem), host::EResultState::Unusable);
    EXPECT_EQ(host::ReadResultHead(file, read, problem), host::EResultState::Unusable);
    for (const char* const other : {"[]", R"({"schema":2})", R"({"schema":1,"status":0})",
                                    R"({"schema":1,"digests":[],"end":"x","status":0})"}) {
        Write("result.json", other);
        EXPECT_EQ(host::ReadResult(file, read, problem), host::EResultState::Unusable) << other;
    }
    Write("result.json", std::string(2'000'000, '['));
    EXPECT_EQ(host::ReadResult(file, read, problem), host::EResultState::Unusable);
    EXPECT_EQ(host::ReadResult(m_folder.Path("none"), read, problem), host::EResultState::Missing);
}

TEST_F(BatchTest, AResultIsSeenOnceAndOnlyWhenItIsNew) {
    const auto text = [](const std::string& reason) {
        host::SPackageResult result;
        result.reason = reason;
        return host::FormatResult(result, u"n", "p", "");
    };
    const host::SBatchRules rules{.folder = m_folder.Path(), .options = {}};
    const std::vector<SPackage> packages = {{"a", "a", "a"}, {"b", "b", "b"}, {"c", "c", "c"}};
    std::vector<std::string> seen;
    host::CResultWatch watch(rules, packages, [&](const auto& awaited, const auto& result) {
        seen.push_back(packages[awaited.index].name + " of " + std::to_string(awaited.array) +
                       ": " + result.reason);
    });
    const fs::path former = Write("b/result.json", text("old"));
    watch.Add({.index = 0, .array = 7, .before = {}});
    watch.Add({.index = 1, .array = 8, .before = host::GetFileState(former)});
    watch.Add({.index = 2, .array = 9, .before = {}});
    Write("a/result.json", text("x").substr(0, 20));  // not whole yet
    Write("c/result.json", text("y"));
    watch.Look();
    EXPECT_THAT(seen, ElementsAre("c of 9: y"));
    ASSERT_EQ(watch.GetAwaited().size(), 2U);
    Write("a/result.json", text("x"));
    Write("b/result.json", text("another"));
    watch.LookForAll();
    watch.LookForAll();
    EXPECT_THAT(seen, ElementsAre("c of 9: y", "a of 7: x", "b of 8: another"));
    EXPECT_TRUE(watch.GetAwaited().empty());
}

TEST_F(BatchTest, TheLineOfTheDisplayFitsTheTerminal) {
    const host::SBatchCounts counts{.whole = 100, .notWhole = 3, .failed = 2, .kept = 45};
    EXPECT_EQ(host::FormatBatchLine(counts, 210, std::chrono::seconds(60), 200),
              "[##########----------] 105/210, 2 failed, 3 not whole, 60 a minute, 1:45 left");
    for (const std::size_t columns : {0U, 1U, 10U, 40U, 60U}) {
        EXPECT_LT(host::FormatBatchLine(counts, 210, std::chrono::seconds(60), columns).size(),
                  std::max<std::size_t>(columns, 1));
    }
}

}  // namespace
