#include <algorithm>
#include <random>
#include <set>

#include "orvpackage/item.h"
#include "support/test.h"

namespace {

class CTestItem : public COrvItem {
public:
    using COrvItem::COrvItem;
    [[nodiscard]] CStrW GetName() const override { return {}; }
    [[nodiscard]] bool IsValid() const override { return true; }
};

// The same order by other means: the growth rule alone as numbers, and the list as a sort by bucket
// and hash.
class CModel {
public:
    bool Insert(std::uint64_t hash) {
        if (m_hashes.count(hash) != 0) {
            return false;
        }
        if (m_buckets <= m_hashes.size() / 4) {
            if (m_entries - 1 <= m_buckets) {
                m_mask = 2 * m_entries - 3;
                m_entries = 2 * m_entries - 1;
            } else if (m_mask < m_buckets) {
                m_mask = 2 * m_mask + 1;
            }
            ++m_buckets;
        }
        return m_hashes.insert(hash).second;
    }
    bool Remove(std::uint64_t hash) { return m_hashes.erase(hash) != 0; }

    [[nodiscard]] std::vector<std::uint64_t> List() const {
        std::vector<std::uint64_t> list(m_hashes.begin(), m_hashes.end());
        std::stable_sort(list.begin(), list.end(), [this](std::uint64_t left, std::uint64_t right) {
            return Bucket(left) < Bucket(right);
        });
        return list;
    }

private:
    [[nodiscard]] std::uint64_t Bucket(std::uint64_t hash) const {
        const std::uint64_t bucket = hash & m_mask;
        return bucket < m_buckets ? bucket : bucket - (m_mask / 2 + 1);
    }

    std::set<std::uint64_t> m_hashes;
    std::uint64_t m_buckets = 1;
    std::uint64_t m_mask = 1;
    std::uint64_t m_entries = 9;
};

bool Insert(COrvItemTable& table, std::uint64_t hash) {
    COrvItemPtr<COrvItem> item = table.Make<CTestItem>(hash);
    return table.Insert(item);
}

std::vector<std::uint64_t> ListOf(const COrvItemTable& table) {
    std::vector<std::uint64_t> list;
    for (const COrvItemTable::SEntry& entry : table.GetOrder()) {
        if (entry.item != nullptr) {
            list.push_back(entry.item->GetHash());
        }
    }
    return list;
}

TEST(ItemTableTest, FifthItemSplitsEvenFromOddHashes) {
    COrvItemTable table;
    for (const std::uint64_t hash : {7U, 4U, 3U, 8U}) {
        EXPECT_TRUE(Insert(table, hash));
    }
    EXPECT_EQ(ListOf(table), (std::vector<std::uint64_t>{3, 4, 7, 8}));
    EXPECT_TRUE(Insert(table, 5));
    EXPECT_EQ(ListOf(table), (std::vector<std::uint64_t>{4, 8, 3, 5, 7}));
    // A double stays with its caller.
    COrvItemPtr<COrvItem> second = table.Make<CTestItem>(5U);
    EXPECT_FALSE(table.Insert(second));
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(table.GetCount(), 5U);
    EXPECT_EQ(table.Remove(6), nullptr);
}

TEST(ItemTableTest, KeepsTheModelsOrderOverThousandsOfChanges) {
    // Small hashes make doubles and full buckets; large ones spread over all of them.
    COrvItemTable table;
    for (const std::uint64_t range : {std::uint64_t{40}, ~std::uint64_t{0}, std::uint64_t{3000}}) {
        SCOPED_TRACE(range);
        std::mt19937_64 random(range);
        table.Clear();  // starts anew
        CModel model;
        std::vector<std::uint64_t> known;
        for (int step = 0; step < 6000; ++step) {
            const bool removes = !known.empty() && random() % 3 == 0;
            const std::uint64_t hash =
                removes ? known[random() % known.size()] : random() % (range | 1);
            if (removes) {
                EXPECT_EQ(table.Remove(hash) != nullptr, model.Remove(hash));
            } else {
                EXPECT_EQ(Insert(table, hash), model.Insert(hash));
                known.push_back(hash);
            }
            if (step % 97 == 0) {
                ASSERT_EQ(ListOf(table), model.List()) << "after step " << step;
            }
        }
        const std::vector<std::uint64_t> list = model.List();
        EXPECT_EQ(ListOf(table), list);
        EXPECT_EQ(table.GetCount(), list.size());
        for (const std::uint64_t hash : list) {
            ASSERT_NE(table.Find(hash), nullptr);
        }
    }
}

TEST(KeyHashTest, IsVersionOneOneOverLowerCaseUnits) {
    // One answer for each way in which the hash treats a length in bytes.
    const std::tuple<const char16_t*, std::uint64_t> kAnswers[] = {
        {u"", 0x9ae16a3b2f90404fULL},
        {u"A", 0x9828e73e717d875cULL},
        {u"Ab", 0x86754bb267d9000bULL},
        {u"abcd", 0x667b902eba2f38d4ULL},
        {uR"(C:\Windows)", 0x5688839c34b74583ULL},
        {uR"(C:\Program Files\App\a.exe)", 0x48d22c1674129142ULL},
        {u"XXXXXXXXXXXXXXXXxxxxxxxxxxxxxxxx", 0xd69a5e7d966c1a61ULL},
        {u"XXXXXXXXXXXXXXXXxxxxxxxxxxxxxxxxx", 0x94a6e4aab437c650ULL},
        {uR"(C:\Program Files\Example Application\bin\application.exe)", 0xbb858f38fde8b06bULL},
    };
    for (const auto& [text, hash] : kAnswers) {
        EXPECT_EQ(HashKeyText(CStrW(text)), hash) << Utf8(text);
    }
    EXPECT_EQ(HashKeyText(CStrW(u"\u00C4")), HashKeyText(CStrW(u"\u00E4")));
}

}  // namespace
