// How the command "explain" reads a record, finds things in it and tells of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/record_pattern.h"
#include "host/record_reader.h"
#include "host/record_summary.h"
#include "host/record_text.h"
#include "host/status_text.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* kWhole = R"({"record":1,"state":"whole","status":0,"losses":1,"missing":0})";
constexpr const char* kKilled = R"({"record":1,"state":"running","status":0,"losses":0})";

constexpr const char* kThings[] = {
    R"({"in":1,"thing":"key","outcome":"left out","reason":"rule",)"
    R"("target":"HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet002\\Control",)"
    R"("source":"REGISTRY\\MACHINE\\SYSTEM\\ControlSet002\\Control",)"
    R"("detail":"HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet002*"})",
    R"({"in":1,"thing":"key","outcome":"left out","reason":"rule",)"
    R"("source":"REGISTRY\\USER\\CurrentUser\\A\\Volatile","detail":"*\\Volatile"})",
    R"({"in":1,"thing":"value","outcome":"created","reason":"created","collection":"CreateValues",)"
    R"("target":"HKEY_USERS\\S-1-5-21-7\\Software\\Classes\\.pln",)"
    R"("source":"REGISTRY\\USER\\CurrentUser\\Software\\Classes\\.pln","name":""})",
    R"({"in":1,"thing":"file","outcome":"created","reason":"created","collection":"CreateFiles",)"
    R"("target":"D:\\Plans\\a b.dll","source":"Q:\\p\\Device\\D\\Plans\\a b.dll"})",
    R"({"in":1,"thing":"file","outcome":"failed","reason":"copy-failed",)"
    R"("source":"Q:\\p\\Device\\D\\Plans\\a b.dll","status":5})",
    R"({"in":2,"thing":"folder","outcome":"left out","reason":"later",)"
    R"("source":"Q:\\udabc\nforged\u202e\ud800","x":{"source":"no"}})",
};

class ExplainTest : public testing::Test {
protected:
    std::string Read(const std::string& bytes) {
        m_folder.WriteFile("r.jsonl", bytes);
        m_entries.clear();
        return host::ReadRecord(
            m_folder.Path("r.jsonl"), m_summary.head,
            [this](const host::SRecordEntry& entry) { m_entries.push_back(entry); });
    }
    void ReadThings() {
        std::string bytes = std::string(kWhole) + '\n';
        for (const char* const thing : kThings) {
            bytes.append(thing).append("\n");
        }
        ASSERT_EQ(Read(bytes), "");
        ASSERT_THAT(m_entries, SizeIs(std::size(kThings)));
    }

    CTempFolder m_folder;
    host::SRecordSummary m_summary;
    std::vector<host::SRecordEntry> m_entries;
};

TEST_F(ExplainTest, SentencesTellTheRuleTheItemAndTheLoss) {
    ReadThings();
    std::vector<std::string> told;
    for (const host::SRecordEntry& entry : m_entries) {
        told.push_back(host::DescribeEntry(entry, u""));
    }
    EXPECT_THAT(
        told,
        ElementsAre("key HKLM\\SYSTEM\\ControlSet002\\Control: left out: rule "
                    "HKLM\\SYSTEM\\ControlSet002 (the key and all below it, and other keys that "
                    "begin so)\n",
                    "key HKCU\\A\\Volatile: left out: rule \\Volatile (every key whose path ends "
                    "so)\n",
                    "value HKCU\\Software\\Classes\\.pln\\(default): created: in CreateValues\n",
                    "file Q:\\p\\Device\\D\\Plans\\a b.dll: created: in CreateFiles as "
                    "D:\\Plans\\a b.dll\n",
                    "file Q:\\p\\Device\\D\\Plans\\a b.dll: failed: the file cannot be copied; " +
                        host::DescribeStatus(5) +
                        " See whether it can be read, and whether the disk is full; then convert "
                        "again.\n",
                    "folder Q:\\udabc\xEF\xBF\xBD"
                    "forged\xEF\xBF\xBD\xEF\xBF\xBD: left out: later\n"));
}

TEST_F(ExplainTest, PatternsMatchNamesInEveryForm) {
    ReadThings();
    // The numbers of the lines that match, in the order of the table.
    const std::pair<std::u16string, std::vector<std::size_t>> cases[] = {
        {u"controlset002", {0}},
        {uR"(hklm\system\*)", {0}},
        {uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet00?\Control)", {0}},
        {uR"(REGISTRY\*\Control)", {0}},
        {uR"(HKLM\*\Contro)", {}},
        {uR"(HKCU\*)", {1, 2}},
        {uR"(HKU\S-1-5-21-7\*)", {2}},
        {uR"(HKCR\.pln\(default))", {2}},
        {u"HKCR*", {2}},
        {uR"(.pln\)", {2}},
        {uR"(d:\plans\a*.dll)", {3}},
        {u"*a?b.dll", {3, 4}},
        {u"/LOCAL/d", {3, 4}},
        {u"*", {0, 1, 2, 3, 4, 5}},
        {u"HKLMX", {}},
    };
    for (const auto& [pattern, numbers] : cases) {
        SCOPED_TRACE(Utf8(pattern));
        std::vector<std::size_t> found;
        for (std::size_t number = 0; number < m_entries.size(); ++number) {
            const bool isDll = m_entries[number].thing == "file";
            if (host::CRecordPattern(pattern).Matches(m_entries[number],
                                                      isDll ? u"/local/D/a.dll" : u"")) {
                found.push_back(number);
            }
        }
        EXPECT_EQ(found, numbers);
    }
}

TEST_F(ExplainTest, LocalNamesAreThoseOfFilesInOneFolderToo) {
    m_folder.WriteFile("Device/B.txt");
    m_folder.WriteFile("Device/a.txt");
    host::CLocalNames names;
    for (const std::string name : {"B.txt", "a.txt", "gone.txt"}) {
        host::SRecordEntry entry;
        entry.thing = "file";
        entry.source = m_folder.Name("Device/" + name);
        EXPECT_EQ(Utf8(names.Find(entry)),
                  m_folder.Path("Device/" + name).make_preferred().string());
    }
}

TEST_F(ExplainTest, SummaryCountsReasonsRulesAndLosses) {
    ReadThings();
    for (const host::SRecordEntry& entry : m_entries) {
        m_summary.Count(entry);
    }
    const std::string text = host::FormatSummary(m_summary);
    EXPECT_THAT(text, HasSubstr("The result is not whole. 1 captured thing is not in it.\n\n"
                                "6 lines of 2 targets, by outcome and reason:\n"
                                "  2  created   created      It is an item of the manifest.\n"
                                "  2  left out  rule         A rule of exclusions leaves the key "
                                "out.\n"));
    EXPECT_THAT(text, HasSubstr("\n  1  left out  later\n  1  failed    copy-failed  The file"));
    EXPECT_THAT(text, HasSubstr("\nWhat is lost:\n  file Q:"));
    EXPECT_THAT(text, HasSubstr("\n  1  \\Volatile (every key whose path ends so)\n"));
}

TEST_F(ExplainTest, RecordThatIsNotAsItShouldBeIsTold) {
    const std::string head = std::string(kWhole) + '\n';
    const std::pair<std::string, const char*> cases[] = {
        {"", "is no record of a conversion"},
        {"[1]\n", "is no record"},
        {"{\"state\":\"whole\"}\n", "is no record"},
        {"{\"record\":2}\n", "is of a newer version"},
        {head + "{}\nx\n{}\n", "is damaged in line 3"},
        // In a record that was ended this is a fault, else the moment at which it was killed.
        {head + "{\"in\":1,\"thi", "is damaged in line 2"},
        {head + "{\"name\":\"" + std::string(1000, 'x') + "\xE0\n{}\n", "is damaged in line 2"},
        {std::string(kKilled) + "\n{\"in\":1,\"thi", ""},
        {head + "{\"x\":" + std::string(1000000, '['), "is damaged in line 2"},
    };
    for (const auto& [bytes, words] : cases) {
        SCOPED_TRACE(bytes.substr(0, 100));
        const std::string told = Read(bytes);
        EXPECT_THAT(told, HasSubstr(words));
        EXPECT_EQ(told.empty(), *words == '\0');
    }
}

}  // namespace
