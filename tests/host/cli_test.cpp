// The program as a process: what it prints, where, and with which exit status.

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "support/hive_builder.h"
#include "support/package_builder.h"
#include "support/test.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kPlainGuid = "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9";
constexpr const char* kGuid = "{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}";
constexpr const char* kOtherGuid = "{11111111-2222-3333-4444-555555555555}";

struct SRun {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs the program in a folder of the test's own, and looks there for what it has left.
class CliTest : public testing::Test {
protected:
    // `out` is what takes stdout, a file of the folder or a device.
    SRun Run(const std::vector<std::string>& arguments, const std::string& out = "stdout") {
        std::string command = "cd '" + m_folder.Path().native() + "' && TMPDIR=\"$PWD\" " +
                              "env -u ORVCASCONV_MACHINE '" CAS2ORV_PROGRAM "'";
        for (const std::string& argument : arguments) {
            command += " '" + argument + "'";
        }
        const int status = std::system((command + " >" + out + " 2>stderr").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                out.starts_with('/') ? "" : m_folder.ReadFile(out), m_folder.ReadFile("stderr")};
    }

    // All of its files can be read, so that nothing is logged.
    static CTestTarget Target(std::string_view guid = kPlainGuid) {
        return CTestTarget(guid)
            .Sandbox()
            .Hive(CTestHive().LoadableBytes())
            .Elements("<Name>A&#9;\"B\"</Name>");
    }
    std::string Write(const CTestPackage& package) {
        return package.Write(m_folder.Path("package")).native();
    }
    // A package of two targets with two files and one that is deleted.
    std::string WriteSample() {
        return Write(
            CTestPackage()
                .Target(Target().File("C/App/a.txt").DeletedFile("C/App/b.txt"))
                .Target(Target("11111111-2222-3333-4444-555555555555").File("C/App/c.txt")));
    }
    [[nodiscard]] std::string Manifest(std::string_view guid) const {
        return m_folder.Path("out/" + std::string(guid) + "/app.orv").native();
    }

    CTempFolder m_folder;
};

TEST_F(CliTest, ConvertListsManifestsAndCountsItems) {
    const SRun run = Run({"convert", WriteSample(), "out/app.orv", "--log", "logs/log.html"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, std::string(kGuid) + '\t' + Manifest(kGuid) + '\n' + kOtherGuid + '\t' +
                           Manifest(kOtherGuid) + '\n');
    EXPECT_THAT(run.err, StartsWith(std::string("CAS Target:  ") + kGuid + " (1 of 2)\n"));
    EXPECT_THAT(run.err, HasSubstr("\n  Processing files.\n"));
    EXPECT_THAT(run.err, HasSubstr("\n2 targets, 3 items, 0 errors, 0 warnings, 0 losses\n"));
    EXPECT_TRUE(m_folder.Exists("out/" + std::string(kGuid) + "/app.orv"));
    EXPECT_EQ(m_folder.ReadFile("logs/log.html"), "");
}

TEST_F(CliTest, ErrorsOfTheLogAreShownAndSavedAndTold) {
    const std::string profile =
        Write(CTestPackage().Target(CTestTarget(kPlainGuid).File("C/App/a.txt")));
    m_folder.WriteFile("log.html", "older");
    const SRun run = Run({"convert", profile, "out/app.orv", "--log=log.html", "--progress=none"});
    EXPECT_EQ(run.status, 3);
    const std::string target =
        "'" + m_folder.Path("package/" + CTestTarget(kPlainGuid).FolderName()).native();
    EXPECT_THAT(run.err, StartsWith("lost: " + target + "/SandboxData.xml': The isolation rules "));
    EXPECT_THAT(run.err, HasSubstr("\nmissing: " + target + "/InstallRoot.dat': "));
    EXPECT_THAT(run.err, HasSubstr("\n1 target, 1 item, 1 error, 1 warning, 1 loss\n"));
    EXPECT_THAT(m_folder.ReadFile("log.html"), StartsWith(std::string("\xFF\xFE<\0f\0", 6)));

    const SRun full = Run({"convert", profile, "out/app.orv", "--replace", "--log", "/dev/full"});
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("the log '/dev/full' cannot be written: No space left"));
}

TEST_F(CliTest, JsonTellsTargetsAndMessages) {
    const std::string profile = WriteSample();
    const std::string start = R"({"schema":1,"command":"COMMAND","targets":[{"guid":")" +
                              std::string(kGuid) + R"(","name":"A\u0009\"B\"")";
    const auto startOf = [&start](const std::string& command) {
        return std::string(start).replace(start.find("COMMAND"), 7, command);
    };
    EXPECT_THAT(Run({"targets", profile, "--json"}).out, StartsWith(startOf("targets") + "},"));
    EXPECT_THAT(Run({"convert", profile, "out/app.orv", "--json"}).out,
                StartsWith(startOf("convert") + R"(,"manifest":")" + Manifest(kGuid) +
                           R"(","items":{"CreateFiles":1,"DeleteFiles":1},"leftOut":{)"));
    EXPECT_THAT(Run({"check", profile, "--json"}).out,
                StartsWith(startOf("check") + R"(,"losses":0,"leftOut":{)"));
    const SRun failed = Run({"check", "missing", "--json", "--strict"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.out, StartsWith(R"({"schema":1,"command":"check","status":1,"messages":[)"
                                       R"({"level":"error","text":"cannot check 'missing': )"));
    EXPECT_THAT(Run({"targets", profile}).out, StartsWith(std::string(kGuid) + "\tA"));
}

TEST_F(CliTest, FailuresSayWhatIsWrong) {
    m_folder.WriteFile("file", "<Other/>");
    m_folder.WriteFile("bad.toml", "[system]\nspeed = 1\n");
    const std::string profile = WriteSample();
    const std::string inTarget = "full/" + std::string(kGuid) + "/log.html";
    const std::string capture = "package/" + Target().FolderName();
    m_folder.MakeFolder("full/" + std::string(kGuid));
    const std::tuple<std::vector<std::string>, int, const char*> kCases[] = {
        {{"convert", "missing", "out/app.orv"}, 1, "status 2: The system cannot find the file"},
        {{"targets", "package"}, 1, "This is a folder; name the profile file"},
        {{"convert", "file", "out/app.orv"}, 1, "status 1168: Element not found."},
        {{"convert", profile, "file/app.orv"}, 1, "/file' cannot be written: Not a directory"},
        {{"convert", profile, "full/app.orv"}, 1, "is there already; name another output, or"},
        {{"convert", profile, "full/app.orv", "--replace", "--log", inTarget},
         1,
         "would be in the folder of target"},
        {{"convert", profile, capture + "/Out/app.orv"}, 1, "is in the captured folder of target"},
        {{"convert", profile, "out/app.orv", "--log", "file/log"}, 1, "nothing was converted"},
        {{"convert", profile, "out/app.orv", "--machine", "bad.toml"}, 1, "speed"},
        {{"convert", profile, "package"}, 2, "is a folder; add a name"},
        {{"convert", profile, R"(Q:\app.orv)"}, 2, "does not map"},
        {{"convert", profile, "out/app.orv", "--record", profile}, 2, "names the profile itself"},
        {{"convert", profile, "out/app.orv", "--log", "x", "--record", "x"}, 2, "name two"},
        {{"convert", profile}, 2, "Usage: cas2orv convert PROFILE OUT.orv"},
    };
    for (const auto& [arguments, status, message] : kCases) {
        SCOPED_TRACE(message);
        const SRun run = Run(arguments);
        EXPECT_EQ(run.status, status);
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(run.out, "");
    }
    EXPECT_FALSE(m_folder.Exists("out") || m_folder.Exists(capture + "/Out"));
}

TEST_F(CliTest, WhatCannotBeWrittenToStdoutIsAFailure) {
    const SRun full = Run({"targets", WriteSample()}, "/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("cannot be written to stdout"));
}

TEST_F(CliTest, VerifyTellsWhatIsNotAsItWasConverted) {
    ASSERT_EQ(Run({"convert", WriteSample(), "out/app.orv", "--sums"}).status, 0);
    const SRun good = Run({"verify", "out"});
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(good.err, "2 manifests, 3 items, 6 files, 0 problems\n");
    const std::string folder = m_folder.Path("out/" + std::string(kGuid)).native();
    EXPECT_EQ(std::system(("cd '" + folder + "' && sha256sum -c --quiet SHA256SUMS").c_str()), 0);

    m_folder.WriteFile("out/" + std::string(kGuid) + "/SystemDrive/App/a.txt", "other");
    m_folder.WriteFile("out/" + std::string(kGuid) + "/odd\ncas2orv: x");
    std::filesystem::remove(m_folder.Path("out/" + std::string(kOtherGuid) + "/app.orv"));
    const SRun bad = Run({"verify", Manifest(kGuid), "out/" + std::string(kOtherGuid), "gone"});
    EXPECT_EQ(bad.status, 1);
    for (const char* const words : {"/App/a.txt': the file has other bytes than in SHA256SUMS\n",
                                    "odd\xEF\xBF\xBD"
                                    "cas2orv: x': no item of the manifest names this file\n",
                                    "': there is no manifest in this folder of a target\n",
                                    "/gone': there is no such manifest or folder\n"}) {
        EXPECT_THAT(bad.err, HasSubstr(words));
    }
    EXPECT_EQ(Run({"verify"}).status, 2);
}

TEST_F(CliTest, ExplainTellsWhatTheRecordOfAConversionSays) {
    const std::string profile = WriteSample();
    EXPECT_EQ(Run({"convert", profile, "out/app.orv", "--record", "r.jsonl"}).status, 0);
    const SRun summary = Run({"explain", "r.jsonl"});
    EXPECT_EQ(summary.status, 0) << summary.err;
    EXPECT_THAT(summary.out, HasSubstr("lines of 2 targets"));
    const std::string file = m_folder.Path("package").native() + "/*/Device/C/?pp/A.TXT";
    const SRun found = Run({"explain", "r.jsonl", file});
    EXPECT_EQ(found.status, 0) << found.err;
    EXPECT_THAT(found.out, StartsWith("Target 1:\nfile " + m_folder.Path("package").native()));
    EXPECT_THAT(found.out, EndsWith("/a.txt: created: in CreateFiles as C:\\App\\a.txt\n"));

    m_folder.WriteFile("killed", R"({"record":1,"state":"running","status":0,"losses":0})");
    m_folder.WriteFile("cut off", R"({"record":1,"state":"cut off","status":0,"losses":2})");
    const std::pair<std::vector<std::string>, const char*> kFailures[] = {
        {{"explain", "r.jsonl", "nothing"}, "nothing in the record has a name like 'nothing'"},
        {{"explain", "no such file"}, "the record 'no such file' cannot be read"},
        {{"explain", profile}, "is no record of a conversion"},
        {{"explain", "killed"}, "the record ends early"},
        {{"explain", "cut off"}, "the record has not all of its lines"}};
    for (const auto& [arguments, words] : kFailures) {
        const SRun run = Run(arguments);
        EXPECT_EQ(run.status, 1) << words;
        EXPECT_THAT(run.err, HasSubstr(words));
    }
    EXPECT_EQ(Run({"explain", "r.jsonl"}, "/dev/full").status, 1);
}

TEST_F(CliTest, TargetsOfOneGuidAreALoss) {
    const SRun run = Run({"convert", Write(CTestPackage().Target(Target()).Target(Target())),
                          "out/app.orv", "--progress=none"});
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.err,
                HasSubstr("_1': Another target has the same GUID, and so the same folder.\n"));
}

TEST_F(CliTest, MachineDescriptionCanBeGivenBack) {
    const SRun first = Run({"machine"});
    EXPECT_EQ(first.status, 0);
    EXPECT_THAT(first.out, StartsWith("[system]\n"));
    m_folder.WriteFile("changed.toml", "[user]\nsid = 'S-1-5-21-7'\n");
    const SRun changed = Run({"machine", "--machine", "changed.toml"});
    EXPECT_NE(changed.out, first.out);
    m_folder.WriteFile("again.toml", changed.out);
    EXPECT_EQ(Run({"machine", "--machine", "again.toml"}).out, changed.out);
}

}  // namespace
