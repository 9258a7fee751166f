// The identity of items and the table that holds them. The time for an item is to stay nearly the
// same from a thousand items to a million.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "orvpackage/item.h"

namespace {

constexpr int kFewest = 1000;
constexpr int kMost = 1000000;

class CBenchItem : public COrvItem {
public:
    using COrvItem::COrvItem;
    [[nodiscard]] CStrW GetName() const override { return {}; }
    [[nodiscard]] bool IsValid() const override { return true; }
};

std::vector<std::uint64_t> MakeHashes(const benchmark::State& state) {
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> hashes(static_cast<std::size_t>(state.range(0)));
    std::generate(hashes.begin(), hashes.end(), random);
    return hashes;
}

void Fill(COrvItemTable& table, const std::vector<std::uint64_t>& hashes) {
    for (const std::uint64_t hash : hashes) {
        COrvItemPtr<COrvItem> item = table.Make<CBenchItem>(hash);
        table.Insert(item);
    }
}

void SetTimeForAnItem(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void HashKeyTextOfAValue(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(HashKeyText(
            {uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes\CLSID\{6B29FC40-CA47-1067-B31D-00DD010662DA})",
             u"/ThreadingModel"}));
    }
}
BENCHMARK(HashKeyTextOfAValue);

// With making and deleting the items.
void InsertItems(benchmark::State& state) {
    const std::vector<std::uint64_t> hashes = MakeHashes(state);
    for (auto _ : state) {
        COrvItemTable table;
        Fill(table, hashes);
    }
    SetTimeForAnItem(state);
}
BENCHMARK(InsertItems)->RangeMultiplier(10)->Range(kFewest, kMost)->Unit(benchmark::kMicrosecond);

void FindItems(benchmark::State& state) {
    std::vector<std::uint64_t> hashes = MakeHashes(state);
    COrvItemTable table;
    Fill(table, hashes);
    std::shuffle(hashes.begin(), hashes.end(), std::mt19937_64(2));
    for (auto _ : state) {
        for (const std::uint64_t hash : hashes) {
            benchmark::DoNotOptimize(table.Find(hash));
        }
    }
    SetTimeForAnItem(state);
}
BENCHMARK(FindItems)->RangeMultiplier(10)->Range(kFewest, kMost)->Unit(benchmark::kMicrosecond);

}  // namespace
