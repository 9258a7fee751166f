#include "orvpackage/crypt.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <array>
#include <string>
#include <vector>

#include "foundation/hex.h"
#include "orvpackage/package_key_table.h"
#include "platform/status.h"
#include "support/text.h"

namespace {

using Digest = std::array<std::uint8_t, 32>;

Digest Sha256(const void* bytes, std::size_t size) {
    Digest digest{};
    EXPECT_EQ(EVP_Digest(bytes, size, digest.data(), nullptr, EVP_sha256(), nullptr), 1);
    return digest;
}

// What an installer does with a password of a manifest.
std::u16string Decrypt(const CStrW& hex) {
    std::vector<unsigned char> bytes(hex.GetLength() / 2);
    std::size_t count = 0;
    HexToBytes(hex, bytes.data(), count);
    const Digest key = Sha256(kPackageKeyTable.data(), kPackageKeyTable.size());
    const std::array<unsigned char, 16> zeroVector{};
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    EVP_DecryptInit_ex(context, EVP_aes_256_cbc(), nullptr, key.data(), zeroVector.data());
    std::vector<unsigned char> plain(bytes.size() + 16);
    int written = 0;
    int last = 0;
    EVP_DecryptUpdate(context, plain.data(), &written, bytes.data(), static_cast<int>(count));
    EXPECT_EQ(EVP_DecryptFinal_ex(context, plain.data() + written, &last), 1);
    EVP_CIPHER_CTX_free(context);
    return {reinterpret_cast<const char16_t*>(plain.data()),
            static_cast<std::size_t>(written + last) / sizeof(char16_t)};
}

TEST(CryptTest, KeyTableHoldsNothingButItsRule) {
    const std::string seed = "OrvCasConv package key table";
    Digest digest = Sha256(seed.data(), seed.size());
    for (std::size_t at = 0; at < kPackageKeyTable.size(); at += digest.size()) {
        EXPECT_TRUE(std::equal(digest.begin(), digest.end(), kPackageKeyTable.begin() + at)) << at;
        digest = Sha256(digest.data(), digest.size());
    }
}

TEST(CryptTest, PasswordComesBackWithItsNul) {
    // Around the borders of a block of 16 bytes.
    for (const std::size_t length : {0U, 1U, 6U, 7U, 8U, 1000U}) {
        SCOPED_TRACE(length);
        const std::u16string password(length, u'\xE4');
        EXPECT_EQ(Decrypt(EncryptPassword(CStrW(password))), password + u'\0');
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
