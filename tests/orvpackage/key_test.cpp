#include "orvpackage/key_collections.h"

#include "orvpackage/package_fixture.h"
#include "orvpackage/value_collections.h"
#include "support/text.h"

namespace {

class KeyTest : public PackageTest {
protected:
    COrvCreateKey* Create(const char16_t* target, std::uint32_t architecture = 0) {
        return m_package.Get<COrvCreateKeysCollection>().AddItem(target, architecture);
    }
};

TEST_F(KeyTest, OneItemForAKeyInAllItsSpellingsButOneForEachArchitecture) {
    EXPECT_NE(Create(uR"(HKEY_CURRENT_USER\Software\App)", 1), nullptr);
    EXPECT_EQ(Create(uR"(hkey_users\s-1-5-21-7\SOFTWARE\app)", 1), nullptr);
    EXPECT_NE(Create(uR"(HKEY_CURRENT_USER\Software\App)", 2), nullptr);
    EXPECT_NE(Create(uR"(HKEY_CURRENT_USER\Software\App)"), nullptr);
    // "App" and architecture 1, with nothing behind, is not "App1" and architecture 0.
    EXPECT_NE(Create(uR"(HKEY_CURRENT_USER\Software\App1)"), nullptr);
}

TEST_F(KeyTest, WritesAPortablePathWithTheLongName) {
    const struct {
        const char16_t* target;
        const char* written;
    } kTargets[] = {
        {uR"(hklm\Software\50%|)", R"(HKEY_LOCAL_MACHINE\Software\50|%||)"},
        {uR"(\REGISTRY\MACHINE\x\)", R"(HKEY_LOCAL_MACHINE\x)"},
        {uR"(HKEY_CLASSES_ROOT\.txt)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.txt)"},
        {uR"(HKEY_USERS\S-1-5-21-7\x)", R"(HKEY_CURRENT_USER\x)"},
        {uR"(HKLM\S-1-5-21-7)", R"(HKEY_LOCAL_MACHINE\%SID%)"},
        {uR"(HKLM\C:\Program Files\x)", R"(HKEY_LOCAL_MACHINE\C:\Program Files\x)"},
    };
    for (const auto& test : kTargets) {
        SCOPED_TRACE(Utf8(test.target));
        m_package.Get<COrvCreateKeysCollection>().Clear();
        Create(test.target);
        const std::string element = std::string("<Key Target=\"") + test.written + "\" />\n";
        EXPECT_EQ(SavedItems(), "<CreateKeys>\n" + element + "</CreateKeys>\n");
        EXPECT_EQ(SavedItemsAgain(), SavedItems());
    }
}

TEST_F(KeyTest, StatesTheArchitectureOfExceptionsOnlyAndReadsNoOther) {
    m_package.GetProperties().Architecture = OrvArchitectureX64;
    Create(uR"(HKLM\a)", OrvArchitectureX64);
    EXPECT_EQ(SavedItems(),
              "<CreateKeys>\n<Key Target=\"HKEY_LOCAL_MACHINE\\a\" />\n</CreateKeys>\n");
    m_package.Get<COrvCreateKeysCollection>().Clear();
    Create(uR"(HKLM\b)", OrvArchitectureX86);
    EXPECT_EQ(SavedItems(),
              "<CreateKeys>\n<Key Target=\"HKEY_LOCAL_MACHINE\\b\" Architecture=\"x86\" />\n"
              "</CreateKeys>\n");

    auto& keys = m_package.Get<COrvCreateKeysCollection>();
    keys.Clear();
    Read(R"(<CreateKeys><Key Target="HKEY_LOCAL_MACHINE\a"/>)"
         R"(<Key Target="HKEY_LOCAL_MACHINE\b" Architecture="X86"/>)"
         R"(<Key Target="HKEY_LOCAL_MACHINE\c" Architecture="arm"/></CreateKeys>)");
    EXPECT_NE(keys.Find(COrvCreateKey(uR"(HKEY_LOCAL_MACHINE\a)", 0)), nullptr);
    EXPECT_NE(keys.Find(COrvCreateKey(uR"(HKEY_LOCAL_MACHINE\b)", 1)), nullptr);
    EXPECT_NE(keys.Find(COrvCreateKey(uR"(HKEY_LOCAL_MACHINE\c)", 0)), nullptr);
}

TEST_F(KeyTest, DeletionIsRecursiveUnlessItSaysZero) {
    m_package.Get<COrvDeleteKeysCollection>().AddItem(uR"(HKLM\x)", 2);
    EXPECT_EQ(SavedItems(),
              "<DeleteKeys>\n<Key Target=\"HKEY_LOCAL_MACHINE\\x\" Architecture=\"x64\" "
              "Recursive=\"1\" />\n</DeleteKeys>\n");
    m_package.Get<COrvDeleteKeysCollection>().Clear();
    Read(R"(<DeleteKeys><Key Target="HKLM\a" Recursive="0"/><Key Target="HKLM\b"/></DeleteKeys>)");
    EXPECT_NE(SavedItems().find(R"(\a" Recursive="0")"), std::string::npos);
    EXPECT_NE(SavedItems().find(R"(\b" Recursive="1")"), std::string::npos);
}

TEST_F(KeyTest, ValueToDeleteIsNamedUnlessItIsTheDefaultValue) {
    auto& values = m_package.Get<COrvDeleteValuesCollection>();
    values.AddItem(uR"(HKLM\a)", u"50%", 0);
    EXPECT_EQ(SavedItems(),
              "<DeleteValues>\n<Value Target=\"HKEY_LOCAL_MACHINE\\a\" Value=\"50|%\" />\n"
              "</DeleteValues>\n");
    values.Clear();
    EXPECT_EQ(Utf8(values.AddItem(uR"(HKLM\a)", u"", 0)->GetName()), R"(HKLM\a/)");
    EXPECT_EQ(SavedItems(),
              "<DeleteValues>\n<Value Target=\"HKEY_LOCAL_MACHINE\\a\" />\n</DeleteValues>\n");
}

}  // namespace
