#include "platform/registry.h"
#include "support/hive_builder.h"
#include "support/hive_log_builder.h"
#include "support/little_endian.h"
#include "support/machine.h"
#include "support/registry_tree.h"
#include "support/test.h"

namespace {

constexpr const char16_t* kMount = u"OrvCasConvTest";

// The hive after its first to third write. Each write gives it one more key, and the third makes it
// grow by a bin.
std::string MakeHive(int writes) {
    CTestHive hive;
    hive.Sequences(3, 2);
    for (int i = 1; i <= writes; ++i) {
        hive.Key(u"Key" + Utf16(std::to_string(i)));
    }
    return writes < 3 ? hive.Bytes() : hive.Binary(u"Large", std::string(9000, 'x')).Bytes();
}

RegistryTree KeysUpTo(int last) {
    RegistryTree lines = {"Key1\\", "Key2\\", "Key3\\",
                          ValueLine("Key3", "Large", 3, std::string(9000, 'x')), "\\"};
    lines.erase(lines.begin() + last, lines.end() - (last < 3 ? 1 : 2));
    return lines;
}

class DirtyHiveTest : public testing::Test {
protected:
    // What is read of a hive that has these logs beside it; an empty log is none. m_isDamaged is
    // what is told of it.
    RegistryTree Read(const std::string& hive, const std::string& log1 = "",
                      const std::string& log2 = "", const std::string& log = "") {
        const CTempFolder folder;
        const std::u16string name = folder.WriteFile("hive", hive);
        const std::pair<const char*, const std::string&> logs[] = {
            {"hive.LOG1", log1}, {"hive.LOG2", log2}, {"hive.LOG", log}};
        for (const auto& [logName, bytes] : logs) {
            if (!bytes.empty()) {
                folder.WriteFile(logName, bytes);
            }
        }
        platform::KeyHandle machine = nullptr;
        EXPECT_EQ(platform::ConnectMachine(machine), ERROR_SUCCESS);
        EXPECT_EQ(platform::LoadHive(machine, kMount, name.c_str()), ERROR_SUCCESS);
        m_isDamaged = platform::GetHiveState(kMount) != platform::EHiveState::Whole;
        RegistryTree tree = ReadRegistryTree(kMount);
        EXPECT_EQ(platform::UnloadHive(machine, kMount), ERROR_SUCCESS);
        platform::CloseKey(machine);
        EXPECT_EQ(folder.ReadFile("hive"), hive);
        return tree;
    }

    const CTestMachine m_machine;
    std::string m_first = MakeHive(1);
    std::string m_second = MakeHive(2);
    std::string m_third = MakeHive(3);
    bool m_isDamaged = false;
};

TEST_F(DirtyHiveTest, TakesThePagesOfADirtyVectorThatIsItsOwnAndWhole) {
    const std::string whole = MakeDirtyVectorLog(m_first, m_third);
    EXPECT_EQ(Read(m_first, whole), KeysUpTo(3));
    EXPECT_EQ(Read(m_first, "", "", whole), KeysUpTo(3));
    // The time of another write, and the number of a write that was not finished.
    for (const std::size_t offset : {12U, 4U}) {
        std::string other = whole;
        PutNumber(other, offset, 9, 4);
        SealHiveHeader(other);
        EXPECT_EQ(Read(m_first, other), KeysUpTo(1)) << offset;
    }
    EXPECT_EQ(Read(m_first, whole.substr(0, whole.size() - 1)), KeysUpTo(1));
    // A hive that would be larger than both files are.
    const std::string zeros(std::size_t{1} << 25, '\0');
    std::string huge = m_third + zeros;
    PutNumber(huge, 40, huge.size() - 4096, 4);
    EXPECT_EQ(Read(m_first, MakeDirtyVectorLog(m_first + zeros, huge)), KeysUpTo(1));
}

TEST_F(DirtyHiveTest, TakesEntriesFromBothLogsInTheirOrder) {
    // The first entry of each log is from before the last write that is whole.
    const std::string log1 = CTestHiveLog(m_first).Entry(2, m_first, m_second).Bytes();
    const std::string log2 =
        CTestHiveLog(m_first).Entry(1, m_third, m_first).Entry(2, m_first, m_second).Bytes();
    const std::string log3 = CTestHiveLog(m_first).Entry(3, m_second, m_third).Bytes();
    EXPECT_EQ(Read(m_first, log1, log3), KeysUpTo(3));
    EXPECT_EQ(Read(m_first, log3, log1), KeysUpTo(3));
    EXPECT_EQ(Read(m_first, log2, log3, log1), KeysUpTo(3));
}

// A hive's own numbers stay as they are while many entries are written.
TEST_F(DirtyHiveTest, TakesEntriesWhoseNumbersAreFarAheadOfTheHive) {
    const std::string log1 = CTestHiveLog(m_first).Entry(487, m_first, m_second).Bytes();
    const auto log2 = [this](std::uint32_t sequence) {
        return CTestHiveLog(m_first).Entry(sequence, m_second, m_third).Bytes();
    };
    EXPECT_EQ(Read(m_first, log1, log2(488)), KeysUpTo(3));
    EXPECT_EQ(Read(m_first, log2(488), log1), KeysUpTo(3));
    EXPECT_FALSE(m_isDamaged);
    // A log whose entries do not go on from the other's, and one of which the header alone is new.
    EXPECT_EQ(Read(m_first, log1, log2(489)), KeysUpTo(2));
    EXPECT_TRUE(m_isDamaged);
    std::string started = log2(488);
    PutNumber(started, 4, 489, 4);
    SealHiveHeader(started);
    EXPECT_EQ(Read(m_first, log1, started), KeysUpTo(2));
    EXPECT_FALSE(m_isDamaged);
    // A log that a former system has left, although its time fits.
    EXPECT_EQ(Read(m_first, MakeDirtyVectorLog(m_first, m_third), log1), KeysUpTo(2));
}

TEST_F(DirtyHiveTest, StopsAtAnEntryThatIsTornOrMissing) {
    const std::string whole =
        CTestHiveLog(m_first).Entry(2, m_first, m_second).Entry(3, m_second, m_third).Bytes();
    const std::string gap =
        CTestHiveLog(m_first).Entry(2, m_first, m_second).Entry(4, m_second, m_third).Bytes();
    EXPECT_EQ(Read(m_first, gap), KeysUpTo(2));
    // One byte in the pages, in the list of pages and in the header of the second entry.
    const std::size_t second = whole.find("HvLE", whole.find("HvLE") + 1);
    for (const std::size_t offset : {whole.size() - 1, second + 44, second + 16, second}) {
        SCOPED_TRACE(offset);
        std::string torn = whole;
        torn[offset] = static_cast<char>(torn[offset] ^ 1);
        EXPECT_EQ(Read(m_first, torn), KeysUpTo(2));
    }
}

TEST_F(DirtyHiveTest, RepairsATornHeader) {
    std::string torn = m_first;
    PutNumber(torn, 8, 77, 4);
    // The other log is from before; the header does not tell any more.
    EXPECT_EQ(Read(torn, CTestHiveLog(m_first).Entry(5, m_first, m_third).Bytes(),
                   CTestHiveLog(m_first).Entry(2, m_first, m_second).Bytes()),
              KeysUpTo(3));
    EXPECT_EQ(Read(torn, MakeDirtyVectorLog(m_first, m_third)), KeysUpTo(3));
    torn.replace(0, 512, 512, '\0');
    EXPECT_EQ(Read(torn, CTestHiveLog(m_first).Entry(5, m_first, m_second).Bytes()), KeysUpTo(2));
}

TEST_F(DirtyHiveTest, IsToldAsDamagedWhenNoLogCompletesIt) {
    std::string torn = m_first;
    PutNumber(torn, 8, 3, 4);  // and its checksum is wrong
    const std::string log = CTestHiveLog(m_first).Entry(2, m_first, m_second).Bytes();
    const std::string old = CTestHiveLog(m_first).Entry(1, m_first, m_second).Bytes();
    const std::tuple<std::string, std::string, bool> cases[] = {
        {m_first, "", true},
        {m_first, old, true},
        {m_first, log.substr(0, 512), true},
        {m_first, log, false},
        {torn, "", true},
        {torn, log, false},
        {m_first, MakeDirtyVectorLog(m_first, m_second), false},
    };
    for (const auto& [hive, logOfHive, isDamaged] : cases) {
        EXPECT_EQ(Read(hive, logOfHive), KeysUpTo(isDamaged ? 1 : 2));
        EXPECT_EQ(m_isDamaged, isDamaged);
    }
}

TEST_F(DirtyHiveTest, NeedsNoLogsWhenItsLastWriteIsWhole) {
    std::string clean = m_first;
    PutNumber(clean, 4, 2, 4);
    SealHiveHeader(clean);
    EXPECT_EQ(Read(clean, CTestHiveLog(clean).Entry(2, m_first, m_third).Bytes()), KeysUpTo(1));
    EXPECT_EQ(Read(clean, MakeDirtyVectorLog(clean, m_third)), KeysUpTo(1));
    EXPECT_FALSE(m_isDamaged);
}

// The size that an entry gives the hive is checked: no log makes it larger than both files are.
TEST_F(DirtyHiveTest, DoesNotGrowBeyondWhatItsLogsHold) {
    std::string huge = m_third;
    huge.resize(huge.size() + (std::size_t{1} << 20));
    const std::string log = CTestHiveLog(m_first).Entry(2, huge.substr(0, 4096), huge).Bytes();
    EXPECT_EQ(Read(m_first, log), KeysUpTo(3));
    const std::string sparse =
        CTestHiveLog(m_first)
            .Entry(2, m_first + std::string(huge.size() - m_first.size(), '\0'), huge)
            .Bytes();
    EXPECT_EQ(Read(m_first, sparse), KeysUpTo(1));
    EXPECT_TRUE(m_isDamaged);
}

// The hash of an entry's header as Windows 10 has written it.
TEST(MarvinTest, GivesTheHashThatWindowsWrites) {
    std::string header = "HvLE";
    for (const std::uint32_t number : {0x5E00U, 0U, 2U, 0x5000U, 1U, 0x1807E431U, 0x67866C66U}) {
        AppendNumber(header, number, 4);
    }
    EXPECT_EQ(HashLogEntry(header), 0xCD44F3CFA7657F02U);
    EXPECT_NE(HashLogEntry("abc"), HashLogEntry("abd"));
}

}  // namespace
