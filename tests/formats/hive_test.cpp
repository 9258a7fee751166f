#include "formats/hive/hive.h"

#include <hivex.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>

#include "platform/text.h"
#include "support/hive_builder.h"
#include "support/registry_tree.h"
#include "support/test.h"

using testing::ElementsAre;
using testing::IsSubsetOf;

namespace formats {
namespace {

constexpr std::uint32_t kAnywhere = 0xFFFFFFF8U;  // no cell can be there

const CNameRules kRules(&platform::FoldUnit, 1);

bool LoadBytes(const std::string& bytes, CHive& hive) {
    return hive.Load(CHiveImage(std::as_bytes(std::span(bytes))));
}

// What stands in a hive by index, each key and value found again by its name.
RegistryTree ReadTree(CHive& hive) {
    RegistryTree lines;
    std::vector<std::u16string> paths = {u""};
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::u16string path = paths[i];
        const std::string shown = Utf8(path);
        const KeyNumber key = hive.FindKey(path);
        EXPECT_NE(key, kNoKey) << shown;
        lines.push_back(KeyLine(shown));
        std::u16string name;
        for (std::uint32_t child = 0; hive.GetChildName(key, child, name); ++child) {
            paths.push_back(path.empty() ? name : std::u16string(path).append(u"\\").append(name));
        }
        SValueNode value;
        for (std::uint32_t index = 0; hive.GetValue(key, index, value); ++index) {
            value.name.CopyTo(name);
            EXPECT_TRUE(hive.FindValue(key, name, value)) << shown << ": " << Utf8(name);
            std::string data(value.size, '\0');
            hive.CopyData(value, std::as_writable_bytes(std::span(data)).data());
            lines.push_back(ValueLine(shown, Utf8(name), value.type, data));
        }
    }
    std::ranges::sort(lines);
    return lines;
}

RegistryTree ReadTree(const std::string& bytes) {
    CHive hive(kRules);
    EXPECT_TRUE(LoadBytes(bytes, hive));
    return ReadTree(hive);
}

template <class T>
std::unique_ptr<T, decltype(&std::free)> Owned(T* allocated) {
    return {allocated, &std::free};
}

// The same, as another reader of hives has it.
RegistryTree ReadTreeByHivex(const std::string& bytes) {
    const CTempFolder folder;
    folder.WriteFile("hive", bytes);
    const std::unique_ptr<hive_h, decltype(&hivex_close)> hive(
        hivex_open(folder.Path("hive").c_str(), 0), &hivex_close);
    RegistryTree lines;
    if (hive == nullptr) {
        return lines;
    }
    std::vector<std::pair<hive_node_h, std::string>> keys = {{hivex_root(hive.get()), ""}};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto [key, path] = keys[i];
        lines.push_back(KeyLine(path));
        const auto children = Owned(hivex_node_children(hive.get(), key));
        for (const hive_node_h* child = children.get(); *child != 0; ++child) {
            const auto name = Owned(hivex_node_name(hive.get(), *child));
            keys.emplace_back(*child, path.empty() ? name.get() : path + "\\" + name.get());
        }
        const auto values = Owned(hivex_node_values(hive.get(), key));
        for (const hive_value_h* value = values.get(); *value != 0; ++value) {
            // Any number may be a type, and not only those that the enumeration has.
            std::uint32_t type = 0;
            std::size_t size = 0;
            const auto data = Owned(
                hivex_value_value(hive.get(), *value, reinterpret_cast<hive_type*>(&type), &size));
            const auto name = Owned(hivex_value_key(hive.get(), *value));
            lines.push_back(ValueLine(path, name.get(), type, {data.get(), size}));
        }
    }
    std::ranges::sort(lines);
    return lines;
}

// Keys and values of every kind that both readers know.
CTestHive MakeVariedHive() {
    CTestHive hive;
    hive.Key(u"Texts")
        .String(u"", u"default")
        .String(u"Empty", u"")
        .String(u"\u0418\u043C\u044F", u"\u0442\u0435\u043A\u0441\u0442")
        .String(u"\u00E4\u00F6", u"Latin-1")
        .Key(u"Sizes");
    for (const std::size_t size : {0U, 1U, 3U, 4U, 5U, 16343U, 16344U}) {
        hive.Binary(Utf16(std::to_string(size)), std::string(size, 'x'));
    }
    hive.Key(u"Types").Value(u"link", 6, "abcdef").Value(u"odd", 0x12345678, "abcdef");
    hive.Key(u"\u041F\u0440\u0438\u0432\u0435\u0442\\\u041A\u043B\u044E\u0447").Dword(u"x", 1);
    hive.WideNames().Key(u"Wide\\Below").String(u"Wide", u"x").WideNames(false);
    for (char16_t letter = u'a'; letter <= u'z'; ++letter) {
        hive.Key(std::u16string(u"Many\\") + letter + u"\\Below").Dword(u"x", letter);
    }
    return hive;
}

TEST(HiveTest, AgreesWithAnotherReaderOnEveryForm) {
    for (const std::uint32_t version : {3U, 5U, 6U}) {
        for (const EHiveList list : {EHiveList::Lf, EHiveList::Lh, EHiveList::Li}) {
            for (const std::size_t partSize : {1000U, 26U, 25U, 4U, 1U}) {
                SCOPED_TRACE(testing::Message() << version << " " << partSize);
                const std::string bytes =
                    MakeVariedHive().Version(version).Lists(list, partSize).Bytes();
                const RegistryTree tree = ReadTree(bytes);
                EXPECT_GT(tree.size(), 90U);
                EXPECT_EQ(tree, ReadTreeByHivex(bytes));
            }
        }
    }
}

TEST(HiveTest, JoinsTheSegmentsOfLargeData) {
    std::string data;
    for (std::size_t i = 0; i < 3 * 16344 + 1; ++i) {
        data += static_cast<char>(i * 31 >> 4);
    }
    for (const std::size_t size : {16345U, 2 * 16344U, 3 * 16344U + 1}) {
        SCOPED_TRACE(size);
        const std::string bytes = CTestHive().Binary(u"v", data.substr(0, size)).Bytes();
        EXPECT_THAT(ReadTree(bytes),
                    ElementsAre("\\", ValueLine("", "v", 3, data.substr(0, size))));
        EXPECT_EQ(ReadTree(bytes), ReadTreeByHivex(bytes));
    }
    // Formats before 1.4 have it in one cell, whatever the data begins with.
    data.replace(0, 2, "db");
    EXPECT_THAT(ReadTree(CTestHive().Version(3).Binary(u"v", data).Bytes()),
                ElementsAre("\\", ValueLine("", "v", 3, data)));
    const SHiveCell whole = {SHiveCell::Data, u"", u"v"};
    const SHiveCell list = {SHiveCell::Data, u"", u"list"};
    const std::string looksDivided = CTestHive()
                                         .Version(3)
                                         .Binary(u"v", data)
                                         .Binary(u"list", std::string(16, 'x'))
                                         .Link(whole, 4, list)
                                         .Link(list, 0, whole)
                                         .Link(list, 4, whole)
                                         .Link(list, 8, whole)
                                         .Link(list, 12, whole)
                                         .Bytes();
    EXPECT_EQ(ReadTree(looksDivided), ReadTreeByHivex(looksDivided));
}

TEST(HiveTest, KnowsANameWithANulByWhatStandsBeforeIt) {
    const std::u16string cutKey(u"zero\0key", 8);
    const std::u16string cutValue(u"v\0w", 3);
    EXPECT_THAT(ReadTree(CTestHive().Key(cutKey).Dword(cutValue, 1).Bytes()),
                ElementsAre("\\", "zero\\", "zero\\v: 4 01000000"));
    // A name that is whole comes first, wherever it stands. The other one is left out.
    CTestHive source = CTestHive().Key(cutKey).Dword(u"", 1).Key(u"zero");
    CHive both(kRules);
    ASSERT_TRUE(LoadBytes(source.Dword(cutValue, 2).Dword(u"v", 3).Bytes(), both));
    EXPECT_EQ(both.GetInfo(kRootKey).subKeyCount, 1U);
    EXPECT_TRUE(both.IsDamaged());
    SValueNode value;
    ASSERT_TRUE(both.FindValue(both.FindKey(u"ZERO"), u"V", value));
    EXPECT_EQ(std::to_integer<int>(value.inlineData[0]), 3);
}

TEST(HiveTest, GivesOneOfSeveralKeysWithTheSameName) {
    // Going by names would come to the last key 2^40 times if all of them were listed.
    CTestHive source;
    std::u16string path;
    for (int level = 0; level < 40; ++level) {
        const std::u16string parent = path;
        path += path.empty() ? u"key" : u"\\key";
        source.Key(path).Dword(u"v", 1).Key(parent).SubKey(u"KEY").SubKey(u"other");
    }
    CHive hive(kRules);
    ASSERT_TRUE(LoadBytes(source.Bytes(), hive));
    EXPECT_TRUE(hive.IsDamaged());
    const RegistryTree tree = ReadTree(hive);
    EXPECT_EQ(tree.size(), 1U + 3 * 40);
    EXPECT_THAT(tree, testing::Contains(ValueLine(Utf8(path), "v", 4, std::string("\1\0\0\0", 4))));
}

TEST(HiveTest, FindsLoneSurrogatesAndNoEmptyNames) {
    CHive hive(kRules);
    ASSERT_TRUE(LoadBytes(
        CTestHive().Key(u"a\xD800").Key(u"a\xDC00\\b").Dword(u"\xDFFF", 1).Bytes(), hive));
    const KeyNumber key = hive.FindKey(u"A\xDC00\\B");
    ASSERT_NE(key, kNoKey);
    EXPECT_EQ(hive.FindKey(u"a\xD800\\b"), kNoKey);
    EXPECT_EQ(hive.FindKey(u"a\xDC00\\\\b"), kNoKey);
    EXPECT_EQ(hive.FindKey(u"\\a\xDC00"), kNoKey);
    SValueNode value;
    EXPECT_TRUE(hive.FindValue(key, u"\xDFFF", value));
    EXPECT_FALSE(hive.FindValue(key, u"\xDFFE", value));
}

TEST(HiveTest, RefusesWhatHasNoHeaderOrNoRoot) {
    const SHiveCell header = {SHiveCell::Header, u""};
    const SHiveCell root = {SHiveCell::Key, u""};
    const std::string hives[] = {
        "",
        "regf",
        CTestHive().Bytes().substr(0, 4096),
        CTestHive().Patch32(header, 0, 0x66676573).Bytes(),
        CTestHive().Patch32(header, 20, 2).Bytes(),
        CTestHive().Version(1).Bytes(),
        CTestHive().Version(7).Bytes(),
        CTestHive().Patch32(header, 36, kAnywhere).Bytes(),
        CTestHive().Patch32(header, 36, 0x24).Bytes(),
        CTestHive().Patch16(root, 0, 0x6B76).Bytes(),
        CTestHive().Resize(root, 88).Bytes(),  // a free cell
        CTestHive().Resize(root, -72).Bytes(),
    };
    for (const std::string& bytes : hives) {
        CHive hive(kRules);
        EXPECT_FALSE(LoadBytes(bytes, hive)) << &bytes - hives;
    }
}

// A small tree to be damaged: two keys with subkeys, and one with values.
class DamagedHiveTest : public testing::Test {
protected:
    DamagedHiveTest() {
        m_hive.Key(u"A\\B\\C").Key(u"A\\D").Key(u"E\\F").Key(u"V");
        m_hive.Dword(u"d", 1).String(u"s", u"text");
        m_hive.Binary(u"l", std::string(16345, 'x')).Dword(u"z", 2);
        m_whole = ReadTree(m_hive.Bytes());
    }

    // The paths that the damage took away. Nothing else may change.
    std::string Lost(const CTestHive& damaged) const {
        CHive hive(kRules);
        EXPECT_TRUE(LoadBytes(damaged.Bytes(), hive));
        const RegistryTree left = ReadTree(hive);
        RegistryTree lost;
        std::ranges::set_difference(m_whole, left, std::back_inserter(lost));
        EXPECT_EQ(left.size() + lost.size(), m_whole.size());
        EXPECT_TRUE(hive.IsDamaged() || lost.empty());
        std::string shown;
        for (const std::string& line : lost) {
            shown += line.substr(0, line.find(' ')) + ' ';
        }
        return shown;
    }

    CTestHive m_hive;
    RegistryTree m_whole;
};

TEST_F(DamagedHiveTest, LosesNoMoreThanTheDamageHits) {
    const SHiveCell root = {SHiveCell::Key, u""};
    const SHiveCell parts = {SHiveCell::SubKeys, u""};
    const SHiveCell a = {SHiveCell::Key, u"A"};
    const SHiveCell b = {SHiveCell::Key, u"A\\B"};
    const SHiveCell aList = {SHiveCell::SubKeys, u"A"};  // of B and D
    const SHiveCell v = {SHiveCell::Key, u"V"};
    const SHiveCell vList = {SHiveCell::Values, u"V"};
    const SHiveCell text = {SHiveCell::Value, u"V", u"s"};
    const SHiveCell large = {SHiveCell::Value, u"V", u"l"};
    const SHiveCell largeRecord = {SHiveCell::Data, u"V", u"l"};
    const SHiveCell largeList = {SHiveCell::Segments, u"V", u"l"};
    const std::pair<const char*, CTestHive> damages[] = {
        // Keys whose entry or record is bad.
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Patch32(aList, 4, kAnywhere)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Patch32(aList, 4, 4)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Link(aList, 4, text)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Link(aList, 4, root)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Link(aList, 4, a)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Link(aList, 4, {SHiveCell::Key, u"A\\D"})},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Link(aList, 4, {SHiveCell::Key, u"E\\F"})},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Patch16(b, 0, 0)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Patch16(b, 72, 0)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Patch16(b, 72, 9)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Patch16(b, 76, u'\\')},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Resize(b, 88)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Resize(b, -80)},
        {"A\\B\\ A\\B\\C\\ ", CTestHive(m_hive).Resize(b, -0x70000000)},
        // Lists of keys; the last is of parts, of which the first has two of three keys.
        {"A\\B\\ A\\B\\C\\ A\\D\\ ", CTestHive(m_hive).Patch16(aList, 0, 0)},
        {"A\\B\\C\\ ", CTestHive(m_hive).Link(b, 28, aList)},
        {"A\\ A\\B\\ A\\B\\C\\ A\\D\\ E\\ E\\F\\ ",
         CTestHive(m_hive).Lists(EHiveList::Lh, 2).Link(parts, 4, parts)},
        // Values whose entry, record or data is bad.
        {"V\\s: ", CTestHive(m_hive).Patch32(vList, 4, kAnywhere)},
        {"V\\s: ", CTestHive(m_hive).Link(vList, 4, v)},
        {"V\\s: ", CTestHive(m_hive).Patch16(text, 0, 0)},
        {"V\\s: ", CTestHive(m_hive).Patch16(text, 2, 9)},
        {"V\\s: ", CTestHive(m_hive).Patch32(text, 4, 200)},
        {"V\\s: ", CTestHive(m_hive).Patch32(text, 4, 0x7FFFFFFF)},
        {"V\\s: ", CTestHive(m_hive).Patch32(text, 4, 0x80000005)},
        {"V\\s: ", CTestHive(m_hive).Patch32(text, 8, kAnywhere)},
        {"V\\s: ", CTestHive(m_hive).Resize({SHiveCell::Data, u"V", u"s"}, -0x7000)},
        {"V\\l: ", CTestHive(m_hive).Patch32(large, 4, 2 * 16344 + 1)},
        {"V\\l: ", CTestHive(m_hive).Patch16(largeRecord, 2, 1)},
        {"V\\l: ", CTestHive(m_hive).Patch32(largeRecord, 4, kAnywhere)},
        {"V\\l: ", CTestHive(m_hive).Patch32(largeList, 0, kAnywhere)},
        {"V\\l: ", CTestHive(m_hive).Resize(largeList, -8)},
        // Numbers that are not needed.
        {"", CTestHive(m_hive).Patch32({SHiveCell::Header, u""}, 40, 4096)},
        {"", CTestHive(m_hive).Patch16(aList, 2, 0xFFFF)},
        {"", CTestHive(m_hive).Patch32(a, 20, 1)},
        {"", CTestHive(m_hive).Patch32(a, 20, 0xFFFFFFFF)},
        {"", CTestHive(m_hive).Patch32(b, 16, kAnywhere)},
        {"", CTestHive(m_hive).Link(b, 16, root)},
        {"", CTestHive(m_hive).Patch32(a, 52, 0)},
        {"", CTestHive(m_hive).Patch32(v, 36, 0x10000000)},
        {"", CTestHive(m_hive).Patch32(v, 60, 0)},
    };
    for (const auto& damage : damages) {
        EXPECT_EQ(Lost(damage.second), damage.first) << &damage - damages;
    }
}

TEST_F(DamagedHiveTest, ReadsWhatIsLeftOfACutOffFile) {
    const std::string bytes = m_hive.Bytes();
    std::size_t loaded = 0;
    for (std::size_t size = 0; size < bytes.size(); size += 4) {
        CHive hive(kRules);
        if (LoadBytes(bytes.substr(0, size), hive)) {
            ++loaded;
            EXPECT_THAT(ReadTree(hive), IsSubsetOf(m_whole));
        }
    }
    EXPECT_GT(loaded, 5000U);
    // The first half of a list.
    CTestHive many;
    for (char16_t name = u'\x4E00'; name < u'\x4E80'; ++name) {
        many.SubKey(std::u16string(1, name));
    }
    const std::string whole = many.Bytes();
    CHive hive(kRules);
    ASSERT_TRUE(LoadBytes(whole.substr(0, whole.rfind("lh") + 4 + std::size_t{64} * 8), hive));
    EXPECT_EQ(hive.GetInfo(kRootKey).subKeyCount, 64U);
    EXPECT_TRUE(hive.IsDamaged());
}

TEST(HiveTest, BoundsWhatOneListGivesToManyKeys) {
    constexpr std::uint32_t kCount = 2000;
    CTestHive hive;
    hive.Key(u"First");
    for (std::uint32_t i = 0; i < kCount; ++i) {
        hive.Dword(Utf16(std::to_string(i)), i);
    }
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const std::u16string name = u"Key" + Utf16(std::to_string(i));
        hive.Key(name).Patch32({SHiveCell::Key, name}, 36, kCount);
        hive.Link({SHiveCell::Key, name}, 40, {SHiveCell::Values, u"First"});
    }
    CHive loaded(kRules);
    ASSERT_TRUE(LoadBytes(hive.Bytes(), loaded));
    std::uint32_t values = 0;
    std::u16string name;
    for (std::uint32_t i = 0; loaded.GetChildName(kRootKey, i, name); ++i) {
        values += loaded.GetInfo(loaded.FindKey(name)).valueCount;
    }
    EXPECT_GE(values, kCount);
    EXPECT_LE(values, 20 * kCount);
}

TEST(HiveTest, KeysNestAtMost512Levels) {
    for (const std::size_t depth : {512U, 513U, 5000U}) {
        SCOPED_TRACE(depth);
        const std::u16string path = u"d" + Repeat<char16_t>(u"\\d", depth - 1);
        CHive hive(kRules);
        ASSERT_TRUE(LoadBytes(CTestHive().Key(path).Bytes(), hive));
        EXPECT_NE(hive.FindKey(path.substr(0, 2 * 512 - 1)), kNoKey);
        EXPECT_EQ(hive.FindKey(path) != kNoKey, depth <= 512);
        EXPECT_EQ(hive.IsDamaged(), depth > 512);
    }
}

TEST(HiveTest, HasNoLimitsOfNumber) {
    constexpr std::uint32_t kCount = 80000;  // beyond the counters of 16 bits
    CTestHive source = CTestHive().Key(u"Many");
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const std::u16string name = Utf16(std::to_string(i));
        source.Dword(name, i).SubKey(name);
    }
    CHive hive(kRules);
    ASSERT_TRUE(LoadBytes(source.Bytes(), hive));
    const KeyNumber many = hive.FindKey(u"Many");
    SValueNode value;
    std::u16string name;
    std::uint32_t found = 0;
    for (std::uint32_t i = 0; hive.GetChildName(many, i, name); ++i) {
        const bool hasBoth =
            hive.FindKey(u"Many\\" + name) != kNoKey && hive.FindValue(many, name, value);
        found += hasBoth ? 1 : 0;
    }
    EXPECT_EQ(found, kCount);
    EXPECT_FALSE(hive.FindValue(many, u"80000", value));
}

}  // namespace
}  // namespace formats
