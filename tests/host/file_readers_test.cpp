#include <sstream>

#include "foundation/json_writer.h"
#include "host/log_reader.h"
#include "host/status_text.h"
#include "platform/text.h"
#include "support/test.h"

namespace {

std::istringstream File(const std::string& text) { return std::istringstream(Utf16Bytes(text)); }

const std::string kError =
    "<font color=\"#FF0000\"><span style=\"font-weight: bold\">Error:</span></font> ";
const std::string kWarning =
    "<font color=\"#C0C000\"><span style=\"font-weight: bold\">Warning:</span></font> ";

TEST(LogReaderTest, TellsErrorsFromWarningsAndTakesTheirHtmlAway) {
    std::istringstream log = File(kError + "\xC3\xA9t\xC3\xA9 <b>&amp;<br>\r\n" + kWarning +
                                  "<br>\r\n" + kError + "two\r\nlines<br>\r\n");
    std::vector<std::string> entries;
    const host::SLogSummary summary =
        host::ReadLog(log, [&](bool isError, std::u16string_view text) {
            entries.push_back((isError ? "E:" : "W:") + Utf8(text));
        });
    // Texts are not escaped in the log, so what looks like markup in them is their own.
    EXPECT_EQ(entries,
              (std::vector<std::string>{"E:\xC3\xA9t\xC3\xA9 <b>&amp;", "W:", "E:two lines"}));
    EXPECT_EQ(summary.errors, 2U);
    EXPECT_EQ(summary.warnings, 1U);
    EXPECT_TRUE(summary.isComplete);
    // A file that was cut off is noticed.
    std::istringstream empty;
    EXPECT_FALSE(host::ReadLog(empty, [](bool, std::u16string_view) {}).isComplete);
    for (const std::string& text : {kError + "one<br>\r\n" + kError + "tw", std::string()}) {
        std::istringstream cut = File(text);
        const host::SLogSummary ofCut = host::ReadLog(cut, [](bool, std::u16string_view) {});
        EXPECT_EQ(ofCut.errors, text.empty() ? 0U : 2U);
        EXPECT_FALSE(ofCut.isComplete);
    }
}

// The entry as the program's texts have it, and the number that the library throws.
TEST(StatusTextTest, SaysWhatToDoWhenAHiveMayNotBeLoaded) {
    const auto entry = [](const std::u16string& file, std::uint32_t status) {
        return u"Failed to read the file 'C:\\a\\" + file + u"' .  " +
               platform::SystemErrorText(status);
    };
    const std::string advice = host::AdviseOnEntry(entry(u"InstallRoot.dat", 5));
    EXPECT_NE(advice.find("cas2orv machine > m.toml\n    cas2orv convert --machine m.toml"),
              std::string::npos);
    EXPECT_EQ(host::AdviseOnEntry(entry(u"InstallRoot.dat", 2)), "");
    EXPECT_EQ(host::AdviseOnEntry(entry(u"Other.dat", 5)), "");
    EXPECT_TRUE(host::DescribeFailure("convert", "a.profile", 1314).ends_with(advice));
}

TEST(JsonTest, KeepsEveryUnitAndNothingThatATerminalReactsTo) {
    const std::u16string text = {u'"',   u'\\',  u'\n',  0x9B, 0xE9,  0x202E,
                                 0xD83D, 0xDE00, 0xD83D, u' ', 0xDC80};
    CJsonWriter json;
    json.Text(text);
    EXPECT_EQ(json.GetBytes(), R"("\"\\\u000a\u009b)"
                               "\xC3\xA9"
                               R"(\u202e)"
                               "\xF0\x9F\x98\x80"
                               R"(\ud83d \udc80")");
}

}  // namespace
