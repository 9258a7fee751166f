#include <array>
#include <memory>
#include <memory_resource>

#include "orvpackage/package_fixture.h"
#include "orvpackage/value_collections.h"
#include "reporting/logger.h"

namespace {

using namespace std::literals;

class ValueTest : public PackageTest {
protected:
    COrvCreateValue* Create() {
        return m_package.Get<COrvCreateValuesCollection>().AddItem(uR"(HKLM\k)", u"v", 0);
    }
    static void SetData(COrvCreateValue* value, std::string_view bytes, std::uint32_t type) {
        value->SetData(bytes.data(), static_cast<std::uint32_t>(bytes.size()), type);
    }
    // What stands in the one element behind the value's name.
    std::string SavedValue() {
        const std::string text = SavedItems();
        const std::string head =
            "<CreateValues>\n<Value Target=\"HKEY_LOCAL_MACHINE\\k\" Value=\"v\"";
        const std::size_t end = text.find("\n</CreateValues>");
        EXPECT_TRUE(text.starts_with(head) && end != std::string::npos) << text;
        return text.substr(head.size(), end - head.size());
    }
};

TEST_F(ValueTest, EveryTypeHasItsTextAndComesBack) {
    const std::tuple<std::uint32_t, std::string, const char*> kValues[] = {
        {0, "", R"( Type="REG_NONE"></Value>)"},
        {1, "", R"( Type="REG_SZ"></Value>)"},
        {1, UnitBytes(u"50% |"), R"( Type="REG_SZ">50|% ||</Value>)"},
        {1, UnitBytes(u"ab\0c\0"sv), R"( Type="REG_SZ">ab</Value>)"},
        {1, UnitBytes(u"ab") + "c", R"( Type="REG_SZ">ab</Value>)"},
        {1, UnitBytes(uR"(HKEY_USERS\S-1-5-21-7)"), R"( Type="REG_SZ">HKEY_CURRENT_USER</Value>)"},
        {2, UnitBytes(u"C:\\Program Files\\a\0"sv),
         R"( Type="REG_EXPAND_SZ">%CSIDL_PROGRAM_FILES%\a</Value>)"},
        {3, "\x01\xAB", R"( Type="REG_BINARY">01AB</Value>)"},
        {3, "", R"( Type="REG_BINARY"></Value>)"},
        {4, "\xFF\0\0\0"s, R"( Type="REG_DWORD">0xFF</Value>)"},
        {4, "\1\2\3\4\5", R"( Type="REG_DWORD">0x4030201</Value>)"},
        {4, "\1\2", R"( Type="REG_DWORD">0x201</Value>)"},
        {4, "", R"( Type="REG_DWORD">0x0</Value>)"},
        {5, "\0\0\0\1"s, R"( Type="REG_DWORD_BIG_ENDIAN">00000001</Value>)"},
        {6, "\x0A", R"( Type="REG_LINK">0A</Value>)"},
        {7, UnitBytes(u"C:\\Program Files\0b\0\0"sv),
         R"( Type="REG_MULTI_SZ">%CSIDL_PROGRAM_FILES%\0b\0\0</Value>)"},
        {7, UnitBytes(u"a\0\0b\0\0"sv), R"( Type="REG_MULTI_SZ">a\0\0</Value>)"},
        {7, UnitBytes(u"a\0b"sv), R"( Type="REG_MULTI_SZ">a\0b\0\0</Value>)"},
        {7, "", R"( Type="REG_MULTI_SZ">\0\0</Value>)"},
        {8, "\1", R"( Type="REG_RESOURCE_LIST">01</Value>)"},
        {9, "\1", R"( Type="REG_FULL_RESOURCE_DESCRIPTOR">01</Value>)"},
        {10, "\1", R"( Type="REG_RESOURCE_REQUIREMENTS_LIST">01</Value>)"},
        {11, "\0\0\0\0\0\0\0\x80"s, R"( Type="REG_QWORD">0x8000000000000000</Value>)"},
        {11, "\1\2\3\4\5", R"( Type="REG_QWORD">0x504030201</Value>)"},
    };
    COrvCreateValue* const value = Create();
    EXPECT_EQ(SavedItems(), "<CreateValues>\n</CreateValues>\n");
    for (const auto& [type, bytes, written] : kValues) {
        SCOPED_TRACE(written);
        SetData(value, bytes, type);
        EXPECT_EQ(SavedValue(), written);
        EXPECT_EQ(SavedItemsAgain(), SavedItems());
    }
    SetData(value, "\1", 12);
    EXPECT_EQ(SavedValue(), " />");
}

TEST_F(ValueTest, DataIsKeptExactlySizedWithItsTokensExpanded) {
    COrvCreateValue* const value = Create();
    SetData(value, UnitBytes(u"%SystemDrive%a\0"sv), OrvValueString);
    EXPECT_EQ(Utf8(value->GetString()), R"(C:\a)");
    EXPECT_EQ(value->GetDataSize(), 10U);
    value->SetString(u"");
    EXPECT_EQ(value->GetDataSize(), 2U);
    SetData(value, UnitBytes(u"\0\0"sv), OrvValueMultiString);
    EXPECT_EQ(value->GetDataSize(), 4U);
    CDoubleNullStringW strings;
    strings.Add(u"%SystemDrive%a");
    value->SetMultiString(strings);
    EXPECT_EQ(value->GetDataSize(), 12U);
    EXPECT_TRUE(value->GetMultiString(strings));
    EXPECT_EQ(Utf8(strings.Get()), R"(C:\a)");
    SetData(value, "", OrvValueMultiString);
    EXPECT_EQ(value->GetData(), nullptr);
    EXPECT_TRUE(value->GetMultiString(strings));
    EXPECT_EQ(strings.GetCount(), 0U);
    value->SetBinaryFromHex(u"0AF");
    EXPECT_EQ(value->GetDataSize(), 1U);
    EXPECT_FALSE(value->GetMultiString(strings));
}

TEST_F(ValueTest, DataThatFindsNoRoomLeavesTheValueWithoutAny) {
    std::array<std::byte, 4096> room{};
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size(),
                                               std::pmr::null_memory_resource());
    const std::string large(room.size(), '\1');
    COrvValueKey key(std::make_shared<const COrvKeyPath>(uR"(HKLM\k)"), 0);
    COrvCreateValue value(key, u"name", memory, large.size());
    EXPECT_EQ(Utf8(value.GetValue()), "name");
    for (const std::uint32_t type : {OrvValueBinary, OrvValueString, OrvValueMultiString}) {
        SetData(&value, "\1\2", OrvValueBinary);
        EXPECT_TRUE(value.IsValid());
        SetData(&value, large, type);
        EXPECT_FALSE(value.IsValid()) << type;
    }
    EXPECT_EQ(Utf8(value.GetName()), R"(HKLM\k/name)");
}

// A value may share the path of its key's own item, which the item has expanded from another text.
TEST_F(ValueTest, IsTheSameWhetherItsKeyHasAnItemOrNot) {
    auto& keys = m_package.Get<COrvCreateKeysCollection>();
    auto& values = m_package.Get<COrvCreateValuesCollection>();
    keys.AddItem(uR"(HKEY_LOCAL_MACHINE\Software\App)", 0);
    keys.AddItem(uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet)", 0);
    for (const char16_t* target :
         {uR"(HKEY_LOCAL_MACHINE\Software\App)", uR"(HKEY_LOCAL_MACHINE\SOFTWARE\App)",
          uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet)",
          uR"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001)", uR"(HKEY_LOCAL_MACHINE\Software\App)"}) {
        for (const std::uint32_t architecture : {0U, 1U}) {
            const COrvCreateValue alone(target, u"v", architecture);
            const COrvItemPtr<COrvCreateValue> made = values.MakeItem(target, u"v", architecture);
            EXPECT_EQ(made->GetHash(), alone.GetHash());
            EXPECT_EQ(Utf8(made->GetName()), Utf8(alone.GetName()));
        }
    }
}

TEST_F(ValueTest, NothingOfAnElementReachesTheNext) {
    CLogger logger;
    m_package.SetLogger(&logger);
    Read(R"(<CreateValues><Value Target="HKLM\k" Value="v" Architecture="x86" Type="REG_SZ">a)"
         R"(</Value><Value Target="HKLM\K" Value="V" Architecture="x86" Type="REG_SZ">b</Value>)"
         R"(<Value Target="HKLM\k"/></CreateValues>)");
    EXPECT_EQ(logger.GetLines().size(), 2U);
    auto& values = m_package.Get<COrvCreateValuesCollection>();
    EXPECT_EQ(values.GetCount(), 2U);
    const auto* last = static_cast<COrvCreateValue*>(
        values.Find(COrvCreateValue(uR"(HKLM\k)", u"", OrvArchitectureNone)));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->GetType(), OrvValueUnset);
}

}  // namespace
