// tests/fuzz/mutator.h - what the mutators of the formats share.
//
// A mutator knows its format. It changes one thing of an input, the lie, and keeps all sizes,
// offsets and checksums right that have nothing to do with it, so that a reader gets as far as the
// lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "support/little_endian.h"

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

// The lies about bytes that are full of little-endian numbers. One that is not completely there is
// 0, and is not changed.
class CLiar {
protected:
    CLiar(std::string& bytes, CChance& chance) : m_bytes(bytes), m_chance(chance) {}

    [[nodiscard]] std::uint32_t Get(std::size_t at, std::size_t size = 4) const {
        const bool isThere = at + size <= m_bytes.size();
        return isThere ? static_cast<std::uint32_t>(GetNumber(m_bytes, at, size)) : 0;
    }
    void Put(std::size_t at, std::uint64_t number, std::size_t size = 4) {
        if (at + size <= m_bytes.size()) {
            PutNumber(m_bytes, at, number, size);
        }
    }

    std::string& m_bytes;
    CChance& m_chance;
};

// Of each mutator: changes one thing of `input`. False when there was nothing to change.
bool TellLie(std::string& input, CChance& chance);

// What libFuzzer does to any bytes.
void MutatePlainly(std::string& bytes);
