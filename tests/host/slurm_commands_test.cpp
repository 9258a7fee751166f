#include "host/batch/slurm_commands.h"

#include <cstdlib>

#include "host/batch/task_size.h"
#include "support/test.h"

namespace {

TEST(SlurmCommandsTest, AnArrayStaysWithinBothLimits) {
    const std::string size = "MaxArraySize            = 1001\nMaxBatchRequeue         = 5\n";
    EXPECT_EQ(host::ReadMaxTasks(size), 1001U);
    const std::string parameters = "SchedulerParameters     = bf_interval=1,max_array_tasks=";
    EXPECT_EQ(host::ReadMaxTasks(size + parameters + "10,defer\n"), 10U);
    EXPECT_EQ(host::ReadMaxTasks(size + parameters + "5000\n"), 1001U);
    EXPECT_EQ(host::ReadMaxTasks("MaxArraySize            = 0\n"), 0U);
    EXPECT_EQ(host::ReadMaxTasks("MaxArraySize            = N/A\n"), 0U);
    EXPECT_EQ(host::ReadMaxTasks(""), 0U);
}

TEST(SlurmCommandsTest, ATaskTakesMinutesUnlessThatMakesTooManyTasks) {
    EXPECT_EQ(host::ChoosePackagesPerTask(100'000, 1, 100'000), 180U);
    EXPECT_EQ(host::ChoosePackagesPerTask(100'000, 1, 400), 250U);
    EXPECT_EQ(host::ChoosePackagesPerTask(1001, 1000, 1001), 1U);
    EXPECT_EQ(host::ChoosePackagesPerTask(1002, 1000, 1001), 2U);
    EXPECT_EQ(host::ChoosePackagesPerTask(60, 0.01, 1001), 60U);
    EXPECT_EQ(host::ChoosePackagesPerTask(60, 0, 1001), 60U);
}

TEST(SlurmCommandsTest, APackageTakesLongerTheMoreAndLargerFilesItHas) {
    const CTempFolder folder;
    const std::string files = "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1/Device/C/";
    const host::SPackage package{"a", "a", folder.Path("a.profile")};
    folder.WriteFile("a.profile");
    EXPECT_NEAR(host::EstimateTime({&package}).seconds, 0.01, 1e-6);
    // In one folder, and more than are looked at. A millisecond each, and 20 for each megabyte.
    for (int number = 0; number < 1200; ++number) {
        folder.WriteFile(files + std::to_string(number), std::string(1000, 'x'));
    }
    EXPECT_NEAR(host::EstimateTime({&package}).seconds, 0.01 + 1.2 + 0.024, 1e-6);
}

TEST(SlurmCommandsTest, OptionsThatWouldMakeAnotherJobAreRefused) {
    for (const char* const option : {"--partition=long", "-plong", "--exclusive", "-H", "-n4",
                                     "--wait-all-nodes=1", "--comment=--array=5", "--output=x"}) {
        EXPECT_EQ(host::CheckSlurmOption(option), "") << option;
    }
    for (const char* const option :
         {"--array=0-9", "--arr=0-9", "-a0-9", "--wait", "-W", "--wrap=x", "-Jx", "--test-only",
          "--parsable", "--", "-", "x", "5", ""}) {
        EXPECT_NE(host::CheckSlurmOption(option), "") << option;
    }
}

// Has sbatch print a line and gives the number that Submit has taken from it.
std::string SubmitTo(const CTempFolder& folder, const std::string& line) {
    folder.WriteFile("sbatch", "#!/bin/sh\necho '" + line + "'\n");
    std::filesystem::permissions(folder.Path("sbatch"), std::filesystem::perms::owner_all);
    host::CSlurm slurm({}, [] { return false; });
    std::string job = "none";
    const bool isSubmitted = slurm.Submit({"--array=0-1"}, job);
    EXPECT_EQ(isSubmitted, slurm.GetProblem().empty());
    return job;
}

TEST(SlurmCommandsTest, OnlyANumberIsTakenForThatOfAJob) {
    if (RunsOnWindows()) {
        GTEST_SKIP() << "no commands of Slurm are run there";
    }
    const CTempFolder folder;
    const char* const variable = std::getenv("PATH");
    ASSERT_NE(variable, nullptr);
    const std::string path = variable;
    SetEnvironment("PATH", folder.Path().string() + ":" + path);
    EXPECT_EQ(SubmitTo(folder, "12"), "12");
    EXPECT_EQ(SubmitTo(folder, "12;east"), "12");
    EXPECT_EQ(SubmitTo(folder, "submitted 12"), "none");
    EXPECT_EQ(SubmitTo(folder, ""), "none");
    SetEnvironment("PATH", path);
}

}  // namespace
