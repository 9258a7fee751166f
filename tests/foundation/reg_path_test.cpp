#include "foundation/reg_path.h"

#include <gtest/gtest.h>

#include "platform/status.h"
#include "support/text.h"

namespace {

CRegPathW Path(std::u16string_view text) { return CRegPathW(text); }

TEST(RegPathTest, ParsesEverySpellingOfARoot) {
    const struct {
        const char16_t* text;
        const char16_t* printed;
        std::size_t count;
        bool hasHive;
    } rows[] = {
        {uR"(hklm\Software)", uR"(hklm\Software)", 2, true},
        {uR"(\REGISTRY\USER\S-1-5-18\a)", uR"(HKEY_USERS\S-1-5-18\a)", 3, true},
        {uR"(\registry\machine)", u"HKEY_LOCAL_MACHINE", 1, true},
        {uR"(\REGISTRY\MACHINEX)", uR"(HKEY_LOCAL_MACHINE\X)", 2, true},
        {uR"(\REGISTRY\MACHINE\HKCU)", uR"(HKEY_LOCAL_MACHINE\HKCU)", 2, true},
        {uR"(\REGISTRY\A)", uR"(REGISTRY\A)", 2, false},
        {uR"(Software\HKLM)", uR"(Software\HKLM)", 2, false},
        {uR"(\\\SOFTWARE)", u"SOFTWARE", 1, false},
        {uR"(HKCU\)", u"HKCU", 1, true},
        {uR"(\\HKcc\.\..)", uR"(HKcc\.\..)", 3, true},
        {uR"(\)", u"", 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.text));
        CRegPathW path;
        EXPECT_EQ(path.Parse(row.text), ERROR_SUCCESS);
        EXPECT_EQ(path.ToString(), CStrW(row.printed));
        EXPECT_EQ(path.GetSegmentCount(), row.count);
        EXPECT_EQ(path.HasHive(), row.hasHive);
    }
    EXPECT_EQ(Path(uR"(hklm\a)").ToLongString(), CStrW(uR"(HKEY_LOCAL_MACHINE\a)"));
    EXPECT_EQ(Path(uR"(a\hklm)").ToLongString(), CStrW(uR"(a\hklm)"));
}

TEST(RegPathTest, RefusedTextLeavesNoHalfBuiltPath) {
    for (const char16_t* text : {uR"(HKLM\A\\B)", uR"(\REGISTRY\MACHINE\A\\)", uR"(A\\)"}) {
        SCOPED_TRACE(Utf8(text));
        CRegPathW path(uR"(HKCU\old)");
        EXPECT_EQ(path.Parse(text), ERROR_INVALID_DATA);
        EXPECT_TRUE(path.IsEmpty());
        EXPECT_FALSE(path.HasHive());
    }
    CRegPathSegmentW segment(u"a");
    EXPECT_EQ(segment.Assign(uR"(a\b)"), ERROR_INVALID_DATA);
    EXPECT_TRUE(segment.IsEmpty());
    EXPECT_EQ(segment.Assign(u""), ERROR_INVALID_DATA);
}

TEST(RegPathTest, HivesAreTheSameByEitherName) {
    CHiveNameW hive;
    EXPECT_EQ(hive.AssignHandle(0x80000003U), ERROR_SUCCESS);
    EXPECT_EQ(hive.Compare(CHiveNameW(u"hku")), 0);
    EXPECT_NE(hive.Compare(CHiveNameW(u"HKCU")), 0);
    EXPECT_EQ(CHiveNameW(u"hkcc").GetHandle(), 0x80000005U);
    EXPECT_EQ(hive.AssignHandle(0x80000004U), ERROR_INVALID_DATA);
    EXPECT_TRUE(hive.IsEmpty());
    EXPECT_EQ(hive.GetLongName(), nullptr);
    EXPECT_EQ(hive.GetHandle(), 0U);
    EXPECT_NE(hive.Compare(CHiveNameW()), 0);
    EXPECT_TRUE(CHiveNameW(u"HKEY_USER").IsEmpty());
}

TEST(RegPathTest, TheFirstNameOfARelativePathIsNotCompared) {
    EXPECT_TRUE(Path(uR"(HKU\.DEFAULT)").Equals(Path(uR"(HKEY_USERS\.default)")));
    EXPECT_FALSE(Path(uR"(HKU\X)").Equals(Path(uR"(HKLM\X)")));
    EXPECT_TRUE(Path(uR"(A\B)").Equals(Path(uR"(X\B)")));
    EXPECT_FALSE(Path(uR"(A\B)").Equals(Path(uR"(A\C)")));
    EXPECT_FALSE(Path(uR"(HKLM\B)").Equals(Path(uR"(A\B)")));
    EXPECT_FALSE(Path(uR"(HKLM\B)").Equals(Path(uR"(HKLM\B\C)")));
    const CRegPathW path(uR"(HKLM\A\B\C)");
    EXPECT_TRUE(path.EqualsFirstN(Path(uR"(HKEY_LOCAL_MACHINE\a\b)"), 3));
    EXPECT_TRUE(path.EqualsFirstN(Path(uR"(HKLM\A\X\Y\Z)"), 2));
    EXPECT_FALSE(path.EqualsFirstN(Path(uR"(HKLM\A\X)"), 3));
    EXPECT_FALSE(path.EqualsFirstN(Path(uR"(HKLM\A\B)"), 4));
    EXPECT_TRUE(path.EqualsFirstN(path, 9));
    EXPECT_FALSE(path.EqualsFirstN(path, 0));
}

TEST(RegPathTest, FindsARunOfNamesAnywhere) {
    EXPECT_TRUE(Path(uR"(HKLM\A\B\C\D)").Contains(Path(uR"(b\c)")));
    EXPECT_FALSE(Path(uR"(HKLM\A\B)").Contains(Path(uR"(B\C)")));
    EXPECT_TRUE(Path(uR"(HKLM\A\B\C)").Contains(Path(uR"(X\C)")));
    EXPECT_TRUE(Path(uR"(HKLM\A\B)").Contains(Path(uR"(HKEY_LOCAL_MACHINE\A)")));
    // The hive is a run of its own, which no relative path equals.
    EXPECT_FALSE(Path(uR"(HKLM\A)").Contains(Path(uR"(X\A)")));
    EXPECT_FALSE(Path(u"A").Contains(Path(uR"(A\B)")));
    EXPECT_FALSE(Path(u"A").Contains(CRegPathW()));
}

TEST(RegPathTest, OnlyAnEmptyPathTakesInAHive) {
    CRegPathW path(u"B");
    EXPECT_EQ(path.Append(Path(uR"(HKLM\A)")), ERROR_INVALID_DATA);
    EXPECT_EQ(path.Append(path), ERROR_SUCCESS);
    EXPECT_EQ(path.ToString(), CStrW(uR"(B\B)"));
    path.Clear();
    EXPECT_EQ(path.Append(Path(uR"(HKLM\A)")), ERROR_SUCCESS);
    EXPECT_TRUE(path.HasHive());
    path.AppendSegment(CRegPathSegmentW());
    EXPECT_EQ(path.GetSegmentCount(), 2U);

    const CHiveNameW hive(u"hku");
    EXPECT_EQ(CRegPathW(hive, Path(uR"(A\B)")).ToString(), CStrW(uR"(hku\A\B)"));
    EXPECT_TRUE(CRegPathW(hive, CRegPathSegmentW(u"A")).HasHive());
    EXPECT_FALSE(CRegPathW(CRegPathSegmentW(u"HKU"), CRegPathSegmentW(u"A")).HasHive());
    EXPECT_EQ(CRegPathW(Path(u"A"), Path(u"HKU")).ToString(), CStrW(u"A"));
}

TEST(RegPathTest, PartsKeepTheHiveOnlyFromTheStart) {
    const CRegPathW path(uR"(HKLM\A\B)");
    EXPECT_EQ(path.GetSubKeyPath().ToString(), CStrW(uR"(A\B)"));
    EXPECT_TRUE(Path(u"HKLM").GetSubKeyPath().IsEmpty());
    EXPECT_EQ(Path(uR"(A\B)").ViewSubKey(), uR"(A\B)");
    EXPECT_TRUE(path.SubPath(0, 2).HasHive());
    EXPECT_FALSE(path.SubPath(1, 9).HasHive());
    EXPECT_EQ(path.SubPath(1, 9).ToString(), CStrW(uR"(A\B)"));
    EXPECT_FALSE(path.SubPath(0, 0).HasHive());
    EXPECT_TRUE(path.SubPath(3, 1).IsEmpty());
    EXPECT_EQ(path.GetLastSegment().View(), u"B");
    EXPECT_TRUE(path.GetSegmentText(3).empty());

    CRegPathW rest = path;
    rest.RemoveLast(1);
    EXPECT_EQ(rest.ToLongString(), CStrW(uR"(HKEY_LOCAL_MACHINE\A)"));
    rest.RemoveFirst(0);
    EXPECT_EQ(rest.ToLongString(), CStrW(uR"(HKLM\A)"));
    rest = path;
    rest.RemoveLast(3);
    EXPECT_FALSE(rest.HasHive());
    EXPECT_TRUE(rest.GetHive().IsEmpty());
}

}  // namespace
