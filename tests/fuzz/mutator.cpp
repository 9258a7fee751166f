#include "fuzz/mutator.h"

#include <algorithm>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

std::uint64_t CChance::WrongNumber(std::uint64_t right, std::size_t size) {
    const std::uint64_t top = std::uint64_t{1} << (8 * size - 1);
    const std::uint64_t numbers[] = {
        0,         1,         right - 1, right + 1,   right - 8,     right + 8, right / 2,
        right * 2, right ^ 1, top - 1,   right ^ top, 2 * top - 1,   Below(64), Below(65536),
        0 - right, top,       right ^ 4, 2 * top - 8, right + 65536, right + 2, right - 2};
    return Pick(numbers);
}

void MutatePlainly(std::string& bytes) {
    constexpr std::size_t kGrowth = 64;
    const std::size_t size = bytes.size();
    bytes.resize(size + kGrowth);
    bytes.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, bytes.size()));
}

// Mostly one lie.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    constexpr std::size_t kRoundsPerPlainOne = 8;
    constexpr int kTries = 4;
    CChance chance(seed);
    const std::string before(reinterpret_cast<const char*>(data), size);
    for (int i = chance.OneIn(kRoundsPerPlainOne) ? kTries : 0; i < kTries; ++i) {
        std::string after = before;
        if (TellLie(after, chance) && after != before && after.size() <= maxSize) {
            std::ranges::copy(after, data);
            return after.size();
        }
    }
    return LLVMFuzzerMutate(data, size, maxSize);
}
