// The program as a process: what it prints, where, and with which exit status.

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

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

TEST_F(CliTest, DiffComparesTwoConversions) {
    const std::string profile = WriteSample();
    for (const std::string out : {"out/app.orv", "other/app.orv"}) {
        Run({"convert", profile, out});
    }
    const SRun equal = Run({"diff", "out", "other"});
    EXPECT_EQ(equal.status, 0);
    EXPECT_EQ(equal.out, "");
    EXPECT_EQ(equal.err, "0 added, 0 removed, 0 changed, 2 files compared\n");
    m_folder.WriteFile("other/" + std::string(kGuid) + "/SystemDrive/App/a.txt", "new");
    std::filesystem::remove_all(m_folder.Path("other/" + std::string(kOtherGuid)));
    const SRun different = Run({"diff", "out", "other"});
    EXPECT_EQ(different.status, 1);
    EXPECT_EQ(different.out, "Target " + std::string(kGuid) + ", app.orv:\n" +
                                 "~ CreateFiles %SystemDrive%\\App\\a.txt\n"
                                 "    payload: 0 bytes -> 3 bytes\n- target " +
                                 kOtherGuid + '\n');
    EXPECT_THAT(Run({"diff", "out", "other", "--json"}).out,
                EndsWith("\n{\"change\":\"removed\",\"target\":\"" + std::string(kOtherGuid) +
                         "\"}\n{\"schema\":1,\"command\":\"diff\",\"added\":0,\"removed\":1,"
                         "\"changed\":1,\"files\":1,\"status\":1,\"messages\":[]}\n"));
    // Whatever goes wrong has a status of its own.
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"diff", "out", "nowhere"}, {"diff", "out"}, {"diff", "out", "package"}}) {
        EXPECT_EQ(Run(arguments).status, 2);
    }
    const SRun full = Run({"diff", "out", "other", "--json"}, "/dev/full");
    EXPECT_EQ(full.status, 2);
    EXPECT_THAT(full.err, StartsWith("cas2orv: the result cannot be written to stdout: No space"));
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

TEST_F(CliTest, ShowListsTheItemsThatAreAskedFor) {
    ASSERT_EQ(Run({"convert", WriteSample(), "out/app.orv"}).status, 0);
    const SRun all = Run({"show", Manifest(kGuid)});
    EXPECT_EQ(all.status, 0);
    EXPECT_THAT(all.out, StartsWith("Collection\tName\tText\nProperties\tName\tSample_{"));
    EXPECT_THAT(all.out,
                EndsWith("\nCollection\tTarget\tRelativeSource\n"
                         "CreateFiles\t%SystemDrive%\\App\\a.txt\tSystemDrive\\App\\a.txt\n"
                         "Collection\tTarget\nDeleteFiles\t%SystemDrive%\\App\\b.txt\n"));
    EXPECT_EQ(Run({"show", Manifest(kGuid), "--collection", "deletefiles"}).out,
              "Collection\tTarget\nDeleteFiles\t%SystemDrive%\\App\\b.txt\n");
    const SRun json = Run({"show", Manifest(kGuid), "--match", "*\\?.TXT", "--json"});
    EXPECT_EQ(json.out,
              R"({"collection":"CreateFiles","element":"File","line":10,)"
              R"("Target":"%SystemDrive%\\App\\a.txt","RelativeSource":"SystemDrive\\App\\a.txt"})"
              "\n"
              R"({"collection":"DeleteFiles","element":"File","line":13,)"
              R"("Target":"%SystemDrive%\\App\\b.txt"})"
              "\n"
              R"({"schema":1,"command":"show","items":2,"status":0,"messages":[]})"
              "\n");

    // Two things of the registry that have their names in HKEY_CLASSES_ROOT.
    m_folder.WriteFile(
        "keys.orv", R"(<Package Version="1"><CreateValues><Value Target="HKEY_LOCAL_MACHINE\A\b"/>)"
                    R"(<Value Target="HKEY_LOCAL_MACHINE\SOFTWARE\Classes\C" Value="d"/>)"
                    R"(</CreateValues></Package)");
    const std::pair<std::vector<std::string>, std::pair<int, const char*>> kRuns[] = {
        {{"keys.orv", "--match", R"(hklm\a\*\(default))"}, {1, "HKLM\\A\\b\t(default)\t"}},
        {{"keys.orv", "--match", R"(HKCR\?\D)"}, {1, "HKLM\\SOFTWARE\\Classes\\C\td\t"}},
        {{"keys.orv", "--match", "none"}, {1, "line 1: the file is not well-formed"}},
        {{Manifest(kGuid), "--match", "none"}, {1, "no item has a name like 'none'"}},
        {{"out"}, {1, "is a folder; name a manifest in it"}},
        {{"gone"}, {1, "there is no manifest"}},
        {{"gone", "--collection", "Createfile"}, {2, "did you mean 'CreateFiles'?"}},
        {{"gone", "--collection", "a~\x1B"},
         {2, "'a~\xEF\xBF\xBD' is no collection of a manifest"}},
    };
    for (const auto& [arguments, expected] : kRuns) {
        std::vector<std::string> words = {"show"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const SRun run = Run(words);
        EXPECT_EQ(run.status, expected.first) << expected.second;
        EXPECT_THAT(run.out + run.err, HasSubstr(expected.second));
    }
    const SRun full = Run({"show", Manifest(kGuid), "--json"}, "/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, EndsWith("cannot be written to stdout: No space left on device\n"));
    EXPECT_EQ(full.err.find("cannot"), full.err.rfind("cannot"));
}

// What the program writes to a terminal of 60 columns, with a variable of the environment.
std::string ShowOnTerminal(const std::string& manifest, const char* name, const char* value) {
    winsize size = {.ws_row = 20, .ws_col = 60, .ws_xpixel = 0, .ws_ypixel = 0};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        setenv("TERM", "xterm", 1);
        unsetenv("NO_COLOR");
        setenv(name, value, 1);
        execl(CAS2ORV_PROGRAM, "cas2orv", "show", manifest.c_str(), nullptr);
        _exit(127);
    }
    std::string text;
    char piece[4096];
    // The read fails when the program has ended.
    for (ssize_t count = 0; (count = read(terminal, piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<std::size_t>(count));
    }
    close(terminal);
    waitpid(child, nullptr, 0);
    std::erase(text, '\r');
    return text;
}

TEST_F(CliTest, ShowKnowsTheTerminal) {
    const std::string path = Repeat("long ", 20);
    m_folder.WriteFile("a.orv", "<Package Version=\"1\"><DeleteFiles><File Target=\"" + path +
                                    "end\"/></DeleteFiles></Package>");
    const std::string manifest = m_folder.Path("a.orv").native();
    const std::string plain = "DeleteFiles\n  Target\n  " + path.substr(0, 27) + "..." +
                              path.substr(path.size() - 24) + "end\n";
    const std::string colored = ShowOnTerminal(manifest, "NO_COLOR", "");
    EXPECT_THAT(colored, StartsWith("\x1B[1;31mDeleteFiles\x1B[0m\n"));
    EXPECT_THAT(colored, EndsWith(plain.substr(plain.find("  long"))));
    EXPECT_EQ(ShowOnTerminal(manifest, "NO_COLOR", "0"), plain);
    EXPECT_EQ(ShowOnTerminal(manifest, "TERM", "dumb"), plain);
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
