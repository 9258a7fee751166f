#include "platform/text.h"
#include "support/machine.h"
#include "support/test.h"

namespace {

// Pieces on which a hasty comparison would go wrong: decompositions that begin or end in ASCII,
// marks whose order does not count, half pairs. Two by two, of which the second may be as the
// first.
std::vector<std::u16string> MakePieces() {
    std::u16string_view rest =
        u"a A k \u212A \u00E9 e\u0301 \u00C5 \u212B ; \u037E \u226E <\u0338 "
        u"\u1E69 s\u0307\u0323 \u0301 \u0323 \u0345 \u0308 \uAC00 \u1100\u1161 \xD834 \xDD5E "
        u"\U0001D15E \U0001D157\U0001D165 \u4E3D \U0002F800 \u0130 i \u03A3 \u03C2 - _ ";
    std::vector<std::u16string> pieces;
    for (; !rest.empty(); rest.remove_prefix(pieces.back().size() + 1)) {
        pieces.emplace_back(rest.substr(0, rest.find(u' ')));
    }
    return pieces;
}

TEST(CollationTest, TheCheapTestForEqualityAgreesWithTheFullComparison) {
    const std::vector<std::u16string> pieces = MakePieces();
    const std::size_t count = pieces.size();
    const auto join = [&](std::size_t first, std::size_t second, std::size_t third) {
        return u"x" + pieces[first] + pieces[second] + pieces[third];
    };
    int equal = 0;
    for (std::size_t i = 0; i < count * count * count; ++i) {
        const std::size_t a = i % count;
        const std::size_t b = i / count % count;
        const std::size_t c = i / count / count;
        // Two pieces in the other order, or some of them exchanged for the other of their two.
        const std::size_t mask = i % 9 % 8;
        const std::u16string left = join(a, b, c);
        const std::u16string right =
            mask == 0 ? join(a, c, b)
                      : join(a ^ (mask & 1U), b ^ (mask >> 1 & 1U), c ^ (mask >> 2));
        const int order = platform::CompareText(left, right, true);
        ASSERT_EQ(platform::EqualText(left, right), order == 0) << Utf8(left) << " " << Utf8(right);
        ASSERT_EQ(platform::CompareText(right, left, true), -order);
        equal += order == 0 ? 1 : 0;
    }
    EXPECT_GT(equal, 5000);
    EXPECT_LT(equal, 25000);
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
    CTestMachine machine;
    for (const char16_t* locale : {u"en-US", u"sv-SE", u"no such locale"}) {
        machine.Locale(locale);
        EXPECT_EQ(platform::CompareText(u"\u00E4", u"z", true), locale[0] == u's' ? 1 : -1);
    }
}

// Putting so many marks in order would take hours.
TEST(CollationTest, EndlessMarksAreComparedAtOnce) {
    const auto left = Repeat<char16_t>(u"\u0301\u0323", 2000000);
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
