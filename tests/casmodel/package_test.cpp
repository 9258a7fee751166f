#include "casmodel/package.h"

#include <gtest/gtest.h>

#include "platform/status.h"
#include "reporting/logger.h"
#include "support/package_builder.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

TEST(PackageTest, IsNamedByItsProfileAndFindsItsTargetsBesideIt) {
    const CTempFolder folder;
    CTestTarget target("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", "3");
    target.Script("a&~b.cmd", "exit").DeletedFile("C/old.txt");
    CTestPackage().Target(target).Write(folder.Path(), "My.App.profile");

    CCasPackage package;
    ASSERT_EQ(package.Open(CStrW(folder.Name("My.App.profile"))), 0);
    EXPECT_EQ(package.GetName(), CStrW(u"My.App"));
    EXPECT_EQ(package.GetFolder().ToString(), CStrW(folder.Name()));
    ASSERT_EQ(package.GetProfile().Targets.size(), 1U);
    const CCasTarget& read = *package.GetProfile().Targets[0];
    ASSERT_EQ(read.Scripts.size(), 1U);
    const std::string name = Utf8(read.GetFolderName());
    EXPECT_TRUE(folder.Exists(name + "/Scripts/" + Utf8(read.Scripts[0]->Filename)));
    EXPECT_TRUE(folder.Exists(name + "/Device/C/old.txt"));
}

TEST(PackageTest, AFailureIsLoggedOnceWithTheFileAndCannotBeRetried) {
    const CTempFolder folder;
    folder.WriteFile("Other.profile", "<Other/>");
    const std::size_t lines = GetLogger().GetLines().size();
    CCasPackage package;
    EXPECT_EQ(package.Open(CStrW(folder.Name("Other.profile"))), ERROR_NOT_FOUND);
    EXPECT_EQ(package.GetName(), CStrW(u"Other"));
    EXPECT_EQ(package.Open(CStrW(folder.Name("Other.profile"))), ERROR_ALREADY_ASSIGNED);
    ASSERT_EQ(GetLogger().GetLines().size(), lines + 1);
    const std::string line = Utf8(GetLogger().GetLines().back());
    EXPECT_NE(line.find("Failed to read the file '" + Utf8(folder.Name("Other.profile"))),
              std::string::npos)
        << line;
}

}  // namespace
