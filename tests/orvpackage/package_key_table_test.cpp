#include "orvpackage/package_key_table.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <string_view>

namespace {

using Digest = std::array<std::uint8_t, 32>;

Digest Sha256(const void* bytes, std::size_t size) {
    Digest digest{};
    EXPECT_EQ(EVP_Digest(bytes, size, digest.data(), nullptr, EVP_sha256(), nullptr), 1);
    return digest;
}

TEST(PackageKeyTableTest, HoldsNothingButItsRule) {
    const std::string_view seed = "OrvCasConv package key table";
    Digest digest = Sha256(seed.data(), seed.size());
    for (std::size_t at = 0; at < kPackageKeyTable.size(); at += digest.size()) {
        EXPECT_TRUE(std::equal(digest.begin(), digest.end(), kPackageKeyTable.begin() + at)) << at;
        digest = Sha256(digest.data(), digest.size());
    }
}

}  // namespace
