#include "orvpackage/crypt.h"

#include <array>

#include "support/test.h"

namespace {

// Made by the openssl program, with a key from Python's hashlib.
TEST(CryptTest, PasswordsComeOutTheSameOnEverySystem) {
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"", "6529D35FC215BEE4BF786B1928E48D0E"},
        // With its NUL a whole block, which brings another one of padding.
        {u"secret!", "26006A718DA086F10AEE944C02C8328DD8A74C1483147B32DDDA014FC048B51E"},
        {u"eight888", "3C5F8FD8326BD0E6FD92352DB78B3075DC5A75894A841ECBDDCC806D347DFEF8"},
        {u"Z\u00E4hler \u8BF4\U0001F600",
         "AC2860527E4FF49C46C08B27701D6F51FA07D96E98FE1110AF5F505D2D4DE80D"},
    };
    for (const auto& [password, encrypted] : cases) {
        EXPECT_EQ(Utf8(EncryptPassword(CStrW(password))), encrypted) << Utf8(password);
    }
}

TEST(CryptTest, SaysTheSizeWhenThereIsTooLittleRoom) {
    const CCrypt crypt(0, 0);
    const std::array<char, 16> input{};
    std::array<char, 32> output{};
    for (const std::uint64_t room : {0U, 31U, 32U}) {
        SCOPED_TRACE(room);
        std::uint64_t size = room;
        EXPECT_EQ(crypt.Encrypt(input.data(), input.size(), output.data(), size),
                  room < 32 ? ERROR_MORE_DATA : ERROR_SUCCESS);
        EXPECT_EQ(size, 32U);
    }
}

}  // namespace
