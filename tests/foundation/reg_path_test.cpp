#include "foundation/reg_path.h"

#include <algorithm>
#include <limits>
#include <new>
#include <random>

#include "foundation/reg_path_converter.h"
#include "support/machine.h"
#include "support/test.h"

namespace {

CRegPathW Path(std::u16string_view text) { return CRegPathW(text); }

TEST(RegPathTest, ParsesEverySpellingOfARoot) {
    const std::tuple<const char16_t*, const char16_t*, std::size_t, bool> rows[] = {
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
    for (const auto& [text, printed, count, hasHive] : rows) {
        SCOPED_TRACE(Utf8(text));
        CRegPathW path;
        EXPECT_EQ(path.Parse(text), ERROR_SUCCESS);
        EXPECT_EQ(path.ToString(), CStrW(printed));
        EXPECT_EQ(path.GetSegmentCount(), count);
        EXPECT_EQ(path.HasHive(), hasHive);
    }
    EXPECT_EQ(Path(uR"(hklm\a)").ToLongString(), CStrW(uR"(HKEY_LOCAL_MACHINE\a)"));
    EXPECT_EQ(Path(uR"(a\hklm)").ToLongString(), CStrW(uR"(a\hklm)"));
}

TEST(RegPathTest, RefusedTextLeavesNoHalfBuiltPath) {
    for (const char16_t* text : {uR"(HKLM\A\\B)", uR"(\REGISTRY\MACHINE\A\\)", uR"(A\\)"}) {
        CRegPathW path(uR"(HKCU\old)");
        EXPECT_EQ(path.Parse(text), ERROR_INVALID_DATA) << Utf8(text);
        EXPECT_TRUE(path.IsEmpty() && !path.HasHive());
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

// How many more times texts get memory before they are refused it once.
std::size_t g_successes = std::numeric_limits<std::size_t>::max();

}  // namespace

// The linker puts this in the place of realloc, which all texts take their memory from.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes the names
extern "C" {
void* __real_realloc(void* block, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size) {
    return g_successes-- == 0 ? nullptr : __real_realloc(block, size);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

class RegPathConverterTest : public testing::Test {
protected:
    CTestMachine m_machine = CTestMachine().Sid(u"S-1-5-21-1-2-3-1000");
};

// A text, and what it becomes.
using Conversion = std::pair<const char16_t*, const char16_t*>;

// Runs `convert` on each text; the result must tell whether it changed.
template <std::size_t count, class TConvert>
void ExpectConversions(const Conversion (&rows)[count], const TConvert& convert) {
    for (const auto& [before, after] : rows) {
        SCOPED_TRACE(Utf8(before));
        CStrW text(before);
        EXPECT_EQ(static_cast<bool>(convert(text)), !(CStrW(before) == CStrW(after)));
        EXPECT_EQ(text, CStrW(after));
    }
}

std::size_t Expand(CStrW& text) { return CSharedHolder<CRegPathConverter>()->ExpandKeyText(text); }

TEST_F(RegPathConverterTest, ExpandsAliasesToStoredKeys) {
    const Conversion rows[] = {
        {uR"(HKEY_CURRENT_USER\Software\Foo)", uR"(HKEY_USERS\S-1-5-21-1-2-3-1000\Software\Foo)"},
        {uR"(HKEY_CURRENT_USER\Software\Classes\.txt)",
         uR"(HKEY_USERS\S-1-5-21-1-2-3-1000_Classes\.txt)"},
        {uR"(HKEY_CURRENT_USER\Software\Classes\Wow6432Node\.txt)",
         uR"(HKEY_USERS\S-1-5-21-1-2-3-1000_Classes\.txt)"},
        {uR"(hkey_classes_root\.txt)", uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\.txt)"},
        {uR"(HKEY_CLASSES_ROOT\Wow6432Node\CLSID)",
         uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Wow6432Node\Classes\CLSID)"},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\x)",
         uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\x)"},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Hardware Profiles\Current\x)",
         uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Hardware Profiles\0001\x)"},
        {uR"(HKEY_CURRENT_CONFIG\Software)",
         uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Hardware Profiles\0001\Software)"},
        {uR"(HKEY_USERS\S-1-5-18\Software)", uR"(HKEY_USERS\.DEFAULT\Software)"},
        {uR"(HKEY_USERS\S-1-5-20\Software\Classes\a)", uR"(HKEY_USERS\S-1-5-20_Classes\a)"},
        {uR"(HKEY_USERS\S-1-5-21-1-2-3-1000\Software\Classes\Wow6432Node\a)",
         uR"(HKEY_USERS\S-1-5-21-1-2-3-1000_Classes\a)"},
        {u"HKEY_CURRENT_USERS", uR"(HKEY_USERS\S-1-5-21-1-2-3-1000S)"},
        {uR"([HKEY_CLASSES_ROOT\a])", uR"([HKEY_LOCAL_MACHINE\SOFTWARE\Classes\a])"},
        {uR"(HKCU\a_HKEY_)", uR"(HKCU\a_HKEY_)"},
        {u"", u""},
    };
    ExpectConversions(rows, Expand);
    // Without a SID what surrounds it is left.
    m_machine.Sid(u"");
    CStrW text(uR"(HKEY_CURRENT_USER\Software\Classes\a;HKEY_CURRENT_USER\a)");
    EXPECT_EQ(Expand(text), 2U);
    EXPECT_EQ(text, CStrW(uR"(HKEY_USERS\_Classes\a;HKEY_USERS\a)"));
}

// What the rows of both tables hold, in order.
std::vector<std::u16string_view> RowTexts(const CRegPathConverter& converter) {
    std::vector<std::u16string_view> texts;
    for (const auto* rows : {&converter.GetExpansions(), &converter.GetCollapses()}) {
        for (const CKeyMapping& row : *rows) {
            texts.insert(texts.end(), {row.from.View(), row.to.View()});
        }
    }
    return texts;
}

// An alias without its text would match everywhere, for ever. One that failed leaves no user.
TEST_F(RegPathConverterTest, IsBuiltWholeOrNotAtAllWhenMemoryRunsOut) {
    const CRegPathConverter whole;
    bool isRefused = true;
    for (std::size_t successes = 0; isRefused; ++successes) {
        g_successes = successes;
        try {
            const CSharedHolder<CRegPathConverter> converter;
            isRefused = g_successes > successes;
            EXPECT_EQ(&*CSharedHolder<CRegPathConverter>(), &*converter);
            EXPECT_EQ(RowTexts(*converter), RowTexts(whole));
        } catch (const std::bad_alloc&) {
        }
        g_successes = std::numeric_limits<std::size_t>::max();
    }
}

TEST_F(RegPathConverterTest, CollapsesStoredKeysAndTheKernelsNamesToPortableOnes) {
    const Conversion rows[] = {
        {uR"(HKEY_USERS\S-1-5-21-1-2-3-1000_Classes\.txt)",
         uR"(HKEY_CURRENT_USER\Software\Classes\.txt)"},
        {uR"(hkey_users\S-1-5-21-1-2-3-1000\x)", uR"(HKEY_CURRENT_USER\x)"},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet0012)",
         uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet2)"},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Hardware Profiles\0001\a)",
         uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Hardware Profiles\Current\a)"},
        {uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Print\Printers\p)",
         uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\p)"},
        {uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\a)", uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\a)"},
    };
    ExpectConversions(rows, [](CStrW& text) {
        return CSharedHolder<CRegPathConverter>()->CollapseKeyText(text);
    });
    const Conversion kernelRows[] = {
        {uR"(\Registry\Machine\Software)", uR"(HKEY_LOCAL_MACHINE\Software)"},
        {uR"(\REGISTRY\USERDATA)", u"HKEY_USERSDATA"},
        {uR"(HKEY_USERS\x)", uR"(HKEY_USERS\x)"},
    };
    ExpectConversions(kernelRows, &CRegPathConverter::KernelPathToHivePath);
}

// Both conversions as plainly as they can be put: search for each row anew after each replacement.
// True when `from` was found at `position` or behind it; that then is behind what was put in.
bool ReplaceFirst(CStrW& text, std::size_t& position, const CStrW& from, const CStrW& to) {
    const std::size_t match = FindSubstringNoCaseIndex(text.View().substr(position), from);
    if (match == kAllCharacters) {
        return false;
    }
    text.Delete(position + match, from.GetLength());
    text.Insert(position + match, to.View());
    position += to.GetLength();
    return true;
}

std::size_t ExpandPlainly(const CRegPathConverter& converter, CStrW& text) {
    std::size_t count = 0;
    std::size_t position = 0;
    const auto& rows = converter.GetExpansions();
    while (std::any_of(rows.begin(), rows.end(), [&](const CKeyMapping& row) {
        return position < text.GetLength() && ReplaceFirst(text, position, row.from, row.to);
    })) {
        ++count;
    }
    return count;
}

bool CollapsePlainly(const CRegPathConverter& converter, CStrW& text) {
    bool changed = false;
    const auto& rows = converter.GetCollapses();
    while (std::any_of(rows.begin(), rows.end(), [&](const CKeyMapping& row) {
        std::size_t start = 0;
        return ReplaceFirst(text, start, row.to, row.from);
    })) {
        changed = true;
    }
    return changed;
}

TEST_F(RegPathConverterTest, GivesWhatSearchingAnewEachTimeWouldGive) {
    std::mt19937 random(20);
    for (int i = 0; i < 5000; ++i) {
        // The system's own SID stands in rows for all users as well, so that a key put in matches.
        m_machine.Sid(i % 2 == 0 ? u"S-1-5-21-1-2-3-1000" : u"S-1-5-18");
        const CSharedHolder<CRegPathConverter> converter;
        std::vector<std::u16string_view> pieces = RowTexts(*converter);
        pieces.insert(pieces.end(), {u"_Classes", uR"(\Wow6432Node)", uR"(\Software\Classes)",
                                     u"HKEY_", u"hKeY_u", u"................",
                                     uR"(\Control\Print\Print)", u"\u00C4\u212A_"});
        CStrW text;
        for (std::size_t count = random() % 9; count != 0; --count) {
            text.Append(pieces[random() % pieces.size()]);
        }
        CStrW expected = text;
        CStrW actual = text;
        EXPECT_EQ(converter->ExpandKeyText(actual), ExpandPlainly(*converter, expected));
        ASSERT_EQ(actual, expected) << Utf8(text);
        expected = text;
        actual = text;
        EXPECT_EQ(converter->CollapseKeyText(actual), CollapsePlainly(*converter, expected));
        ASSERT_EQ(actual, expected) << Utf8(text);
    }
}

TEST_F(RegPathConverterTest, CopesWithATextFullOfKeys) {
    const CSharedHolder<CRegPathConverter> converter;
    constexpr std::size_t kCount = 100000;
    const CStrW keys(Repeat<char16_t>(u"HKEY_CURRENT_USER", kCount));
    CStrW text = keys;
    EXPECT_EQ(converter->ExpandKeyText(text), kCount);
    EXPECT_TRUE(text == CStrW(Repeat<char16_t>(uR"(HKEY_USERS\S-1-5-21-1-2-3-1000)", kCount)));
    EXPECT_TRUE(converter->CollapseKeyText(text));
    EXPECT_TRUE(text == keys);
}

}  // namespace
