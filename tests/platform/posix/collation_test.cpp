#include <gtest/gtest.h>

#include <random>
#include <string>

#include "platform/text.h"
#include "support/machine.h"
#include "support/text.h"

namespace {

// Pieces on which a hasty comparison would go wrong: decompositions that begin or end in ASCII,
// marks whose order does not count, half pairs.
class CTextMaker {
public:
    std::u16string Make() {
        std::u16string text = u"x";
        for (int length = Pick(6); length > 0; --length) {
            text += kPieces[Pick(std::size(kPieces))];
        }
        return text;
    }

    // Another text that may well be equal: some pieces become those beside them in the table.
    std::u16string Vary(const std::u16string& text) {
        std::u16string varied = text;
        for (std::size_t i = 0; i + 1 < std::size(kPieces); ++i) {
            const std::size_t at = varied.find(kPieces[i]);
            if (at != std::u16string::npos && Pick(4) == 0) {
                varied.replace(at, std::u16string_view(kPieces[i]).size(), kPieces[i ^ 1U]);
            }
        }
        return varied;
    }

private:
    template <class TCount>
    int Pick(TCount count) {
        return static_cast<int>(m_random() % static_cast<unsigned>(count));
    }

    static constexpr const char16_t* kPieces[] = {
        u"a",          u"A",
        u"z",          u"Z",
        u"k",          u"\u212A",
        u"\u00E9",     u"e\u0301",
        u"\u00C5",     u"\u212B",
        u";",          u"\u037E",
        u"\u226E",     u"<\u0338",
        u"\u1E69",     u"s\u0307\u0323",
        u"\u0301",     u"\u0323",
        u"\u0345",     u"\u0308",
        u"\uAC00",     u"\u1100\u1161",
        u"\xD834",     u"\xDD5E",
        u"\U0001D15E", u"\U0001D157\U0001D165",
        u"\u4E3D",     u"\U0002F800",
        u"\u0130",     u"i",
        u"\u03A3",     u"\u03C2",
        u"-",          u"_",
    };
    std::mt19937 m_random{20250607};
};

TEST(CollationTest, TheCheapTestForEqualityAgreesWithTheFullComparison) {
    CTextMaker maker;
    int equal = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::u16string left = maker.Make();
        const std::u16string right = round % 4 == 0 ? maker.Make() : maker.Vary(left);
        const int order = platform::CompareText(left, right, true);
        ASSERT_EQ(platform::EqualText(left, right), order == 0)
            << Utf8(left) << " " << Utf8(right) << " round " << round;
        ASSERT_EQ(platform::CompareText(right, left, true), -order);
        equal += order == 0 ? 1 : 0;
    }
    EXPECT_GT(equal, 5000);
    EXPECT_LT(equal, 15000);
}

TEST(CollationTest, NoUnitIsIgnorable) {
    const std::u16string_view texts[] = {u"a",        u"a\u200B", u"a\u00AD",
                                         {u"a\0", 2}, u"a\xD800", u"a\xD801"};
    for (const std::u16string_view left : texts) {
        for (const std::u16string_view right : texts) {
            EXPECT_EQ(platform::EqualText(left, right), left == right);
            EXPECT_EQ(platform::CompareText(left, right, true) == 0, left == right);
        }
    }
}

TEST(CollationTest, CollationFollowsTheLocale) {
    CTestMachine machine = CTestMachine().Locale(u"en-US");
    EXPECT_EQ(platform::CompareText(u"\u00E4", u"z", true), -1);
    machine.Locale(u"sv-SE");
    EXPECT_EQ(platform::CompareText(u"\u00E4", u"z", true), 1);
    machine.Locale(u"no such locale");
    EXPECT_EQ(platform::CompareText(u"\u00E4", u"z", true), -1);
}

// Putting so many marks in order would take hours.
TEST(CollationTest, EndlessMarksAreComparedAtOnce) {
    std::u16string left;
    while (left.size() < 4000000) {
        left += u"\u0301\u0323";
    }
    std::u16string right = left + u"\u0301";
    right[0] = u'\u0345';
    EXPECT_FALSE(platform::EqualText(left, right));
    EXPECT_NE(platform::CompareText(left, right, true), 0);
    right = left;
    right.back() = u'\u0301';
    EXPECT_FALSE(platform::EqualText(left, right));
    EXPECT_EQ(platform::CompareText(left, right, true), 1);
}

}  // namespace
