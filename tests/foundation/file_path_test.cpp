#include "foundation/file_path.h"

#include <random>

#include "foundation/file_path_converter.h"
#include "platform/files.h"
#include "support/machine.h"
#include "support/test.h"

namespace {

std::string Print(const CFilePathW& path) { return Utf8(path.ToString()); }

TEST(FilePathTest, ParsesEveryKind) {
    const std::tuple<const char16_t*, EFilePathKind, std::size_t, const char*> kPaths[] = {
        {uR"(C:\)", FilePathAbsolute, 1, R"(C:\)"},
        {uR"(C:)", FilePathDriveRelative, 1, R"(C:)"},
        {uR"(C:foo\bar)", FilePathDriveRelative, 3, R"(C:foo\bar)"},
        {uR"(C:\a\)", FilePathAbsolute, 2, R"(C:\a)"},
        {uR"(a\)", FilePathRelative, 1, R"(a)"},
        {uR"(\a\b)", FilePathRootRelative, 2, R"(\a\b)"},
        {uR"(\\srv)", FilePathUnc, 1, R"(\\srv)"},
        {uR"(\\?\C:\a)", FilePathAbsolute, 2, R"(C:\a)"},
        {uR"(\\?\C:)", FilePathDriveRelative, 1, R"(C:)"},
        {uR"(\\?\UNC\srv\share\a)", FilePathUnc, 3, R"(\\srv\share\a)"},
        {uR"(\\?\unc\srv\x)", FilePathUnc, 2, R"(\\srv\x)"},
        {uR"(a\..\.\*?)", FilePathRelative, 4, R"(a\..\.\*?)"},
    };
    for (const auto& [text, kind, segments, printed] : kPaths) {
        SCOPED_TRACE(Utf8(text));
        const CFilePathW parsed(text);
        EXPECT_EQ(parsed.GetKind(), kind);
        EXPECT_EQ(parsed.GetSegmentCount(), segments);
        EXPECT_EQ(Print(parsed), printed);
    }
}

TEST(FilePathTest, RefusedTextLeavesNoHalfBuiltPath) {
    for (const char16_t* text :
         {uR"(a\\b)", u"a/b", uR"(\\?\C)", uR"(\\sr:v\share)", uR"(\)", uR"(\\)", uR"(C:\a|b)",
          uR"(C:\a:b)", uR"(\\?\UNC\)", uR"(\\s*v\a)", uR"(ab:\c)"}) {
        CFilePathW path(uR"(C:\old)");
        EXPECT_EQ(path.Parse(text), ERROR_INVALID_DATA) << Utf8(text);
        EXPECT_TRUE(path.IsEmpty());
        EXPECT_EQ(path.GetKind(), FilePathNone);
    }
    // Names have a longest length.
    EXPECT_FALSE(CFilePathW(std::u16string(260, u'a')).IsEmpty());
    EXPECT_TRUE(CFilePathW(std::u16string(261, u'a')).IsEmpty());
    EXPECT_FALSE(CFilePathW(uR"(\\)" + std::u16string(64, u'a')).IsEmpty());
    EXPECT_TRUE(CFilePathW(uR"(\\)" + std::u16string(65, u'a')).IsEmpty());
}

TEST(FilePathTest, LongPathsPrintWithTheirPrefix) {
    const std::u16string name(100, u'n');
    const auto pathOf = [&name](std::u16string_view root, std::size_t length) {
        std::u16string text = std::u16string(root) + name + u'\\' + name + u'\\';
        return CFilePathW(text + std::u16string(length - text.size(), u'x'));
    };
    EXPECT_EQ(pathOf(uR"(C:\)", 247).ToString().GetLength(), 247U);
    EXPECT_TRUE(pathOf(uR"(C:\)", 248).ToString().View().starts_with(uR"(\\?\C:\n)"));
    EXPECT_TRUE(pathOf(uR"(C:\)", 248).Equals(CFilePathW(pathOf(uR"(C:\)", 248).ToString())));
    EXPECT_TRUE(pathOf(uR"(\\s\)", 248).ToString().View().starts_with(uR"(\\?\UNC\s\n)"));
    EXPECT_EQ(pathOf(u"", 248).ToString().GetLength(), 248U);
    EXPECT_EQ(pathOf(uR"(C:\)", 248).ToPlainString().GetLength(), 248U);
}

TEST(FilePathTest, AppendResolvesLeadingDotsOnly) {
    const std::tuple<const char16_t*, const char16_t*, int, const char*> kSums[] = {
        {uR"(C:\a)", uR"(..\b)", 0, R"(C:\b)"},
        {uR"(C:\)", uR"(..\b)", ERROR_INVALID_DATA, R"(C:\)"},
        {uR"(C:\a\b)", uR"(.\..\..\c)", 0, R"(C:\c)"},
        {uR"(C:\a)", uR"(b\..\c)", 0, R"(C:\a\b\..\c)"},
        {uR"(C:\a)", uR"(\b)", 0, R"(C:\a\b)"},
        {uR"(C:\a)", uR"(D:\b)", ERROR_INVALID_DATA, R"(C:\a)"},
        {uR"(C:\a)", uR"(\\s\b)", ERROR_INVALID_DATA, R"(C:\a)"},
        {uR"(a)", uR"(..\..\b)", ERROR_INVALID_DATA, R"(a)"},
        {uR"(a)", uR"(..\b)", 0, R"(b)"},
        {u"", uR"(D:\b)", 0, R"(D:\b)"},
    };
    for (const auto& [base, tail, status, sum] : kSums) {
        SCOPED_TRACE(Utf8(base) + " + " + Utf8(tail));
        CFilePathW path(base);
        EXPECT_EQ(path.Append(CFilePathW(tail)), status);
        EXPECT_EQ(Print(path), sum);
        CFilePathW head(tail);
        if (head.GetKind() == FilePathRelative && base[0] != 0) {
            EXPECT_EQ(head.Prepend(CFilePathW(base)), status);
            EXPECT_EQ(Print(head), status == 0 ? sum : Utf8(tail));
        }
    }
    // Any number of them.
    constexpr std::size_t kCount = 5000000;
    CFilePathW path(uR"(C:\)" + Repeat<char16_t>(uR"(a\)", kCount));
    EXPECT_EQ(path.Append(CFilePathW(Repeat<char16_t>(uR"(..\)", kCount) + u"b")), 0);
    EXPECT_EQ(Print(path), R"(C:\b)");
}

TEST(FilePathTest, SegmentsClimbAndCancel) {
    CFilePathW path(uR"(\\srv\share\a)");
    EXPECT_EQ(path.AppendSegment(CFilePathSegmentW(u"..")), 0);
    EXPECT_EQ(path.AppendSegment(CFilePathSegmentW(u"..")), ERROR_INVALID_DATA);
    EXPECT_EQ(path.AppendSegment(CFilePathSegmentW(u".")), 0);
    EXPECT_EQ(path.AppendSegment(CFilePathSegmentW(u"C:")), ERROR_INVALID_DATA);
    EXPECT_EQ(Print(path), R"(\\srv\share)");
    const std::tuple<const char16_t*, const char16_t*, const char*> kHeads[] = {
        {uR"(..\b)", u"gone", "b"}, {uR"(.\b)", u"C:", R"(C:\b)"}, {u"..", u"a", ""}};
    for (const auto& [text, name, result] : kHeads) {
        CFilePathW relative(text);
        EXPECT_EQ(relative.PrependSegment(CFilePathSegmentW(name)), 0);
        EXPECT_EQ(Print(relative), result);
    }
}

TEST(FilePathTest, ComparesByKindAndNames) {
    EXPECT_TRUE(CFilePathW(uR"(C:\A\b)").Equals(CFilePathW(uR"(\\?\c:\a\B\)")));
    EXPECT_FALSE(CFilePathW(uR"(C:a)").Equals(CFilePathW(uR"(C:\a)")));
    EXPECT_FALSE(CFilePathW(uR"(C:\a\..)").Equals(CFilePathW(uR"(C:\)")));
    const CFilePathW path(uR"(C:\a\b)");
    EXPECT_TRUE(path.EqualsFirstN(CFilePathW(uR"(c:\A\x)"), 2));
    EXPECT_FALSE(path.EqualsFirstN(CFilePathW(uR"(c:\A\x)"), 3));
    EXPECT_FALSE(path.EqualsFirstN(CFilePathW(uR"(C:\a)"), 3));
    EXPECT_TRUE(path.EqualsFirstN(CFilePathW(uR"(C:\a\b)"), 9));
    EXPECT_FALSE(path.EqualsFirstN(path, 0));
}

TEST(FilePathTest, TakesPathsApart) {
    const CFilePathW path(uR"(C:\a\b.tar.gz)");
    EXPECT_EQ(Utf8(path.GetStem()), "b.tar");
    EXPECT_EQ(Print(path.GetParent()), R"(C:\a)");
    EXPECT_EQ(Print(path.GetParent().GetParent().GetParent()), R"(C:\)");
    EXPECT_TRUE(CFilePathW(u"a").GetParent().IsEmpty());
    EXPECT_TRUE(CFilePathW(uR"(\\s\x)").GetFileName().IsEmpty());
    EXPECT_EQ(Utf8(CFilePathW(uR"(C:\a\.cfg)").GetStem()), "");
    EXPECT_EQ(Print(CFilePathW(uR"(\\s\x\y)").GetUncRoot()), R"(\\s\x)");
    EXPECT_TRUE(CFilePathW(uR"(\\s)").GetUncRoot().IsEmpty());
    EXPECT_EQ(Print(path.SubPath(1, 1)), "a");
    EXPECT_EQ(Print(path.SubPath(0, 2)), R"(C:\a)");
    EXPECT_TRUE(path.SubPath(3, 1).IsEmpty());
    CFilePathW rest(path);
    rest.RemoveFirst(0);
    EXPECT_EQ(rest.GetKind(), FilePathAbsolute);
    rest.DropFirst(0);
    EXPECT_EQ(rest.GetKind(), FilePathRelative);
    rest.RemoveFirst(2);
    EXPECT_EQ(Print(rest), "b.tar.gz");
    rest.RemoveLast(1);
    EXPECT_EQ(rest.GetKind(), FilePathNone);
}

TEST(FilePathSegmentTest, ExtensionStandsBehindTheLastDot) {
    EXPECT_EQ(CFilePathSegmentW(u"a.EXE").CompareExtension(u".exe"), 0);
    EXPECT_EQ(CFilePathSegmentW(u"exe").CompareExtension(u".exe"), 0);
    EXPECT_NE(CFilePathSegmentW(u"a.exe.bak").CompareExtension(u"exe"), 0);
    EXPECT_EQ(CFilePathSegmentW(u"a.").CompareExtension(u""), 0);
    EXPECT_EQ(CFilePathSegmentW(u"a.b").CompareExtension(u""), 1);
    CFilePathSegmentW name(u"{0}.x");
    EXPECT_TRUE(name.SetExtensionOrv());
    EXPECT_EQ(Utf8(name.View()), "{0}.orv");
    CFilePathSegmentW tooLong(std::u16string(258, u'a'));
    EXPECT_FALSE(tooLong.SetExtensionOrv());
    EXPECT_EQ(tooLong.View().size(), 258U);
}

TEST(FilePathTest, AChildHasTheTextOfItsPath) {
    const std::u16string deep = uR"(C:\)" + std::u16string(244, u'd');
    for (const char16_t* const folder :
         {uR"(C:\)", u"C:", uR"(C:\a)", u"C:a", u"a", uR"(\a)", uR"(\\s\t)", u"", deep.c_str()}) {
        const CFilePathW path(folder);
        for (const char16_t* const name : {u"b", u"bc.d", u"..", u"."}) {
            const CFilePathW child(path, CFilePathSegmentW(name));
            EXPECT_TRUE(path.GetChild(name).Equals(child)) << Utf8(folder);
            EXPECT_EQ(Utf8(path.ToString(name)), Utf8(child.ToString()));
        }
    }
    EXPECT_TRUE(HasExtension(u"a.LNK", u"lnk"));
    EXPECT_TRUE(HasExtension(u"lnk", u".lnk"));
    EXPECT_FALSE(HasExtension(u"lnk.a", u"lnk"));
}

// Two names for one folder and a drive root: the smallest machine on which the order counts. The
// drive is one that no machine has, whose own names would be put in place of those.
class CollapsePathsTest : public testing::Test {
protected:
    static std::string Collapse(const char16_t* text) {
        return Utf8(CSharedHolder<CFilePathConverter>()->Collapse(CStrW(text)));
    }
    static std::string Expand(const char16_t* text) {
        return Utf8(CSharedHolder<CFilePathConverter>()->Expand(CStrW(text)));
    }

    CTestMachine m_machine = CTestMachine()
                                 .Folder(u"CSIDL_WINDOWS", uR"(Q:\Windows)")
                                 .Environment(u"SystemRoot", uR"(Q:\Windows)")
                                 .Environment(u"SystemDrive", u"Q:");
};

TEST_F(CollapsePathsTest, NamesAreKeptInAFolderThatNoPathGoesBeyond) {
    const auto keeps = [](const char16_t* folder) {
        return CSharedHolder<CFilePathConverter>()->KeepsNamesIn(folder);
    };
    m_machine.Folder(u"CSIDL_SYSTEM", uR"(Q:\Windows\System32)");
    EXPECT_FALSE(keeps(uR"(Q:\)"));          // "Q:\WindowsOld.txt"
    EXPECT_FALSE(keeps(uR"(q:\WINDOWS\)"));  // "q:\WINDOWS\System32.log"
    // Where files may have short names too, a name has to be looked at as a whole path.
    EXPECT_EQ(keeps(uR"(Q:\Windows\System32\)"), !platform::HasShortNames());
    EXPECT_EQ(keeps(uR"(Q:\Win\)"), !platform::HasShortNames());
    // A path without a drive may match anywhere.
    m_machine.Environment(u"TEMP", uR"(\Te)");
    EXPECT_FALSE(keeps(uR"(Q:\Win\)"));
}

TEST_F(CollapsePathsTest, ReplacesEveryPathOfAText) {
    m_machine.Folder(u"CSIDL_SYSTEM", uR"(Q:\Windows\System32)");
    const std::pair<const char16_t*, const char*> cases[] = {
        {uR"(Q:\Windows\a)", R"(%CSIDL_WINDOWS%\a)"},  // the first token of equal paths
        {uR"(q:\WINDOWS)", R"(%CSIDL_WINDOWS%)"},
        {uR"(Q:\Data\a)", R"(%SystemDrive%\Data\a)"},  // with the backslash that the root took
        {uR"(Q:\WindowsOld\a)", R"(%CSIDL_WINDOWS%\Old\a)"},  // inside a segment too
        {uR"(Q:\Windows\System32\a Q:\Windows\b, q:\x)",
         R"(%CSIDL_SYSTEM%\a %CSIDL_WINDOWS%\b, %SystemDrive%\x)"},  // the longest path
        {uR"(D:\Windows\a)", R"(D:\Windows\a)"},
        {u"Q:", "Q:"},
        {u"", ""},
    };
    for (const auto& [text, collapsed] : cases) {
        EXPECT_EQ(Collapse(text), collapsed);
    }
}

TEST_F(CollapsePathsTest, ExpandsKnownTokensInAnyCase) {
    const std::pair<const char16_t*, const char*> cases[] = {
        {uR"(%SystemDrive%\a)", R"(Q:\a)"},
        {uR"(%systemdrive%a)", R"(Q:\a)"},
        {uR"(%csidl_windows%\a)", R"(Q:\Windows\a)"},
        {uR"(%NoSuch%\a)", R"(%NoSuch%\a)"},
        {u"100% of %CSIDL_WINDOWS%", "100% of %CSIDL_WINDOWS%"},
        {u"%CSIDL_WINDOWS%;%SystemRoot%", R"(Q:\Windows;Q:\Windows)"},
    };
    for (const auto& [text, expanded] : cases) {
        EXPECT_EQ(Expand(text), expanded);
    }
    // A token may make a backslash, and with it a variable that begins with one, out of what
    // follows it.
    m_machine.Environment(u"TEMP", uR"(\temporarily)");
    EXPECT_EQ(Collapse(uR"(Q:\WindowsTemporarily Q:\Windows)"),
              R"(%CSIDL_WINDOWS%%Temp%\ %CSIDL_WINDOWS%)");
    // The percent signs of a path that is put in count as well, as far as the scan comes upon them.
    m_machine.Environment(u"TEMP", uR"(Q:\100%\x)");
    EXPECT_EQ(Expand(uR"(%Temp%%Temp%)"), R"(Q:\100%\xQ:\100%\x)");
    EXPECT_EQ(Expand(uR"(a %Temp%\%SystemDrive%)"), R"(a Q:\100%\x\Q:\)");
    EXPECT_EQ(Expand(uR"(abc %Temp%\%SystemDrive%)"), R"(abc Q:\100%\x\%SystemDrive%)");
}

TEST_F(CollapsePathsTest, ManyPathsAndOddVariablesEnd) {
    constexpr std::size_t kCount = 300000;     // more than can be looked through for each
    m_machine.Environment(u"TEMP", uR"(\b)");  // which a token could make, at every place
    const std::string collapsed = Collapse(Repeat<char16_t>(uR"(Q:\Windows;Q:\)", kCount).c_str());
    EXPECT_EQ(collapsed.find(R"(Q:\)"), std::string::npos);
    EXPECT_TRUE(Expand(Utf16(collapsed).c_str()) == Repeat(R"(Q:\Windows\;Q:\)", kCount));
    for (const char16_t* value : {u"S", uR"(\)", uR"(%\x)", uR"(\a)", u"%Temp%", u":"}) {
        SCOPED_TRACE(Utf8(value));
        m_machine.Environment(u"TEMP", value);
        EXPECT_FALSE(Collapse(uR"(%CSIDL_WINDOWS%\aa%\x : S)").empty());
        EXPECT_FALSE(Expand(u"%Temp%%Temp% a %Temp%").empty());
    }
}

// A converter with a loose row replaces row by row, which is the rule, also if that row matches
// nothing. One without replaces in one pass where it can.
TEST_F(CollapsePathsTest, OnePassGivesWhatReplacingRowByRowGives) {
    CFilePathConverter fast;
    for (const auto& [token, path] :
         std::initializer_list<std::pair<const char16_t*, const char16_t*>>{
             {u"%Server%", uR"(\\srv\d)"},
             {u"%List%", uR"(Q:\Data;D:\b)"},  // a match may take another one away
             {u"%Data%", uR"(Q:\Data)"},
             {u"%D%", uR"(D:\)"}}) {
        fast.AddEntry(token, path);
    }
    CFilePathConverter plain = fast;
    plain.AddEntry(u"%Loose%", u"\u0001\\x");
    constexpr const char16_t* kPieces[] = {
        uR"(Q:\Windows)", uR"(q:\)", uR"(q:\DATA)", uR"(Q:\Data;)", uR"(D:\b)", uR"(:\)",
        uR"(\\Srv\d)",    uR"(\\)",  uR"(\)",       u"d",           u"Q",       u"\u212A "};
    std::mt19937 random(21);
    for (int i = 0; i < 20000; ++i) {
        CStrW text;
        for (std::size_t count = random() % 8; count != 0; --count) {
            text.Append(kPieces[random() % std::size(kPieces)]);
        }
        CStrW collapsed = text;
        CStrW expected = text;
        EXPECT_EQ(fast.CollapsePaths(collapsed, false), plain.CollapsePaths(expected, false));
        ASSERT_EQ(collapsed, expected) << Utf8(text);
    }
}

}  // namespace
