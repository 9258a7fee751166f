// tests/fuzz/mutator.h - what the mutators of the formats share.
//
// A mutator knows its format. It changes one thing of an input, the lie, and keeps all sizes,
// offsets and checksums right that have nothing to do with it, so that a reader gets as far as the
// lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>

// The choices of one mutation. The same seed gives the same ones.
class CChance {
public:
    explicit CChance(unsigned seed) : m_engine(seed) {}

    // A number below `count`, which is not 0.
    [[nodiscard]] std::size_t Below(std::size_t count) { return m_engine() % count; }
    [[nodiscard]] bool OneIn(std::size_t count) { return Below(count) == 0; }
    // One item of a list that is not empty.
    template <class TList>
    [[nodiscard]] auto& Pick(TList& list) {
        return list[Below(std::size(list))];
    }

    // A number of `size` bytes that is at a border, or close to the right one.
    [[nodiscard]] std::uint64_t WrongNumber(std::uint64_t right, std::size_t size);

private:
    std::mt19937 m_engine;
};

// Changes one thing of `input`. False when there was nothing to change.
using TellLie = bool (*)(std::string& input, CChance& chance);

// What libFuzzer does to any bytes.
void MutatePlainly(std::string& bytes);

// The work of LLVMFuzzerCustomMutator: mostly one lie, otherwise what libFuzzer does to any bytes.
std::size_t Mutate(std::span<std::uint8_t> input, std::size_t maxSize, unsigned seed,
                   TellLie tellLie);
