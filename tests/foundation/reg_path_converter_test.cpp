#include "foundation/reg_path_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <random>
#include <string>

#include "support/machine.h"
#include "support/text.h"

namespace {

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

struct SConversion {
    const char16_t* text;
    const char16_t* result;
};

// Runs `convert` on each text; the result must tell whether it changed.
template <std::size_t count, class TConvert>
void ExpectConversions(const SConversion (&rows)[count], const TConvert& convert) {
    for (const SConversion& row : rows) {
        SCOPED_TRACE(Utf8(row.text));
        CStrW text(row.text);
        EXPECT_EQ(static_cast<bool>(convert(text)), !(CStrW(row.text) == CStrW(row.result)));
        EXPECT_EQ(text, CStrW(row.result));
    }
}

std::size_t Expand(CStrW& text) { return CSharedHolder<CRegPathConverter>()->ExpandKeyText(text); }

TEST_F(RegPathConverterTest, ExpandsAliasesToStoredKeys) {
    const SConversion rows[] = {
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
}

TEST_F(RegPathConverterTest, WithoutASidWhatSurroundsItIsLeft) {
    m_machine.Sid(u"");
    const SConversion rows[] = {
        {uR"(HKEY_CURRENT_USER\Software\Classes\a)", uR"(HKEY_USERS\_Classes\a)"},
        {uR"(HKEY_CURRENT_USER\a)", uR"(HKEY_USERS\a)"},
    };
    ExpectConversions(rows, Expand);
}

bool HasSameRows(const std::vector<CKeyMapping>& left, const std::vector<CKeyMapping>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const CKeyMapping& a, const CKeyMapping& b) {
                          return a.from == b.from && a.to == b.to;
                      });
}

// An alias without its text would match everywhere, for ever.
TEST_F(RegPathConverterTest, IsBuiltWholeOrNotAtAllWhenMemoryRunsOut) {
    const CRegPathConverter whole;
    bool isRefused = true;
    for (std::size_t successes = 0; isRefused; ++successes) {
        g_successes = successes;
        try {
            const CRegPathConverter converter;
            isRefused = g_successes > successes;
            EXPECT_TRUE(HasSameRows(converter.GetExpansions(), whole.GetExpansions()));
            EXPECT_TRUE(HasSameRows(converter.GetCollapses(), whole.GetCollapses()));
        } catch (const std::bad_alloc&) {
        }
        g_successes = std::numeric_limits<std::size_t>::max();
    }
}

TEST_F(RegPathConverterTest, CollapsesStoredKeysToPortableOnes) {
    const SConversion rows[] = {
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
}

TEST_F(RegPathConverterTest, TurnsTheKernelsNamesIntoHives) {
    const SConversion rows[] = {
        {uR"(\Registry\Machine\Software)", uR"(HKEY_LOCAL_MACHINE\Software)"},
        {uR"(\REGISTRY\USERDATA)", u"HKEY_USERSDATA"},
        {uR"(HKEY_USERS\x)", uR"(HKEY_USERS\x)"},
    };
    ExpectConversions(rows, &CRegPathConverter::KernelPathToHivePath);
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

// What a text full of keys and near misses is put together from.
std::vector<std::u16string_view> KeyPieces(const CRegPathConverter& converter) {
    std::vector<std::u16string_view> pieces = {
        u"_Classes", uR"(\Wow6432Node)",  uR"(\Software\Classes)",    u"HKEY_",
        u"hKeY_u",   u"................", uR"(\Control\Print\Print)", u"\u00C4\u212A_",
    };
    for (const auto* rows : {&converter.GetExpansions(), &converter.GetCollapses()}) {
        for (const CKeyMapping& row : *rows) {
            pieces.insert(pieces.end(), {row.from.View(), row.to.View()});
        }
    }
    return pieces;
}

TEST_F(RegPathConverterTest, GivesWhatSearchingAnewEachTimeWouldGive) {
    std::mt19937 random(20);
    for (int i = 0; i < 5000; ++i) {
        // The system's own SID stands in rows for all users as well, so that a key put in matches.
        m_machine.Sid(i % 2 == 0 ? u"S-1-5-21-1-2-3-1000" : u"S-1-5-18");
        const CSharedHolder<CRegPathConverter> converter;
        const std::vector<std::u16string_view> pieces = KeyPieces(*converter);
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
    std::u16string keys;
    std::u16string expected;
    for (int i = 0; i < 100000; ++i) {
        keys += u"HKEY_CURRENT_USER";
        expected += uR"(HKEY_USERS\S-1-5-21-1-2-3-1000)";
    }
    CStrW text(keys);
    EXPECT_EQ(converter->ExpandKeyText(text), 100000U);
    EXPECT_TRUE(text == CStrW(expected));
    EXPECT_TRUE(converter->CollapseKeyText(text));
    EXPECT_TRUE(text == CStrW(keys));
}

}  // namespace
