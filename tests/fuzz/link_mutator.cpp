// The mutator of shell_link_fuzzer: one lie in a link, whose other sizes and offsets are right.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/mutator.h"
#include "support/little_endian.h"

namespace {

constexpr std::size_t kHeaderSize = 0x4C;
constexpr std::size_t kFlags = 0x14;
constexpr std::uint32_t kUsedFlags[] = {0x1,  0x2,  0x4,   0x8,   0x10,   0x20,
                                        0x40, 0x80, 0x100, 0x200, 0x4000, 0x200000};
constexpr std::uint32_t kTextFlags[] = {0x4, 0x8, 0x10, 0x20, 0x40};
constexpr std::uint32_t kSignatures[] = {0xA0000001U, 0xA0000002U, 0xA0000005U, 0xA0000007U,
                                         0xA0000009U, 0xA000000BU, 0xA000000CU, 0xBEEF0004U};

// A part that begins with its size: how many units of the part, without `uncounted` bytes.
struct SPart {
    std::size_t start;
    std::size_t end;
    std::size_t width;  // of the size
    std::size_t unit = 1;
    std::size_t uncounted = 0;
};

// Any other number. An offset counts from `base`.
struct SNumber {
    std::size_t at;
    std::size_t width;
    std::size_t base = 0;
};

class CLinkLiar : CLiar {
public:
    CLinkLiar(std::string& bytes, CChance& chance) : CLiar(bytes, chance) {
        m_numbers = {{0, 4}, {0x38, 4}, {0x3C, 4}, {0x40, 2}};
        FindParts();
    }

    void TellLie() {
        const SPart part = m_chance.Pick(m_parts);
        const std::size_t size = part.end - part.start;
        const std::size_t at = part.start + m_chance.Below(size);
        switch (m_chance.Below(8)) {
            case 0:
                Put(kFlags, Get(kFlags) ^ m_chance.Pick(kUsedFlags));
                break;
            case 1:
                Replace(part.start, size, "");
                break;
            case 2:
                Replace(m_chance.Pick(m_parts).start, 0, m_bytes.substr(part.start, size));
                break;
            case 3:
                Replace(at, 0, std::string(1 + m_chance.Below(40), 'x'));
                break;
            case 4:
                Replace(at, std::min<std::size_t>(1 + m_chance.Below(40), part.end - at), "");
                break;
            default:
                ChangeNumber();
        }
    }

private:
    // Returns where the part ends.
    std::size_t AddPart(std::size_t start, std::size_t width, std::size_t unit = 1,
                        std::size_t uncounted = 0) {
        const std::size_t end = start + uncounted + Get(start, width) * unit;
        if (end > start + width && end <= m_bytes.size()) {
            m_parts.push_back({start, end, width, unit, uncounted});
        }
        m_numbers.push_back({start, width});
        return std::max(end, start + width);
    }

    void FindParts() {
        m_parts.push_back({0, kHeaderSize, 4});
        std::size_t at = kHeaderSize;
        const std::uint32_t flags = Get(kFlags);
        if ((flags & 0x1) != 0) {
            at = FindItems(at);
        }
        if ((flags & 0x2) != 0) {
            FindOffsets(at);
            at = AddPart(at, 4);
        }
        for (const std::uint32_t text : kTextFlags) {
            at = (flags & text) != 0 ? AddPart(at, 2, (flags & 0x80) != 0 ? 2 : 1, 2) : at;
        }
        while (Get(at) >= 8 && Get(at) <= m_bytes.size() - at) {
            m_numbers.push_back({at + 4, 4});
            at = AddPart(at, 4);
            m_numbers.push_back({at - 4, 4});
        }
    }

    std::size_t FindItems(std::size_t start) {
        const std::size_t end = AddPart(start, 2, 1, 2);
        for (std::size_t at = start + 2; at + 4 < end && Get(at, 2) > 3;) {
            const std::size_t next = AddPart(at, 2);
            const std::size_t block = at + Get(next - 2, 2);
            m_numbers.push_back({at + 2, 1});
            if (block > at && block < next) {
                m_numbers.insert(m_numbers.end(), {{next - 2, 2, at}, {block + 4, 4}});
                m_numbers.push_back({block + 16, 2, block});
                static_cast<void>(AddPart(block, 2));
            }
            at = next;
        }
        return end;
    }

    // Of the LinkInfo structure at `start` and of the network structure in it.
    void FindOffsets(std::size_t start) {
        const std::size_t network = start + Get(start + 0x14);
        m_numbers.insert(m_numbers.end(), {{start + 4, 4}, {start + 8, 4}});
        for (std::size_t field = 0x0C; field < std::min(Get(start + 4), 0x24U); field += 4) {
            m_numbers.push_back({start + field, 4, start});
        }
        if (network > start) {
            static_cast<void>(AddPart(network, 4));
            for (const std::size_t field : {0x08U, 0x14U, 0x18U}) {
                m_numbers.push_back({network + field, 4, network});
            }
        }
    }

    void ChangeNumber() {
        const SNumber number = m_chance.Pick(m_numbers);
        const std::uint64_t right = Get(number.at, number.width);
        // Most of the numbers with the highest bit are signatures.
        const bool isSignature = right >= 0x80000000U && m_chance.OneIn(2);
        Put(number.at,
            isSignature ? m_chance.Pick(kSignatures) : m_chance.WrongNumber(right, number.width),
            number.width);
    }

    // Replaces bytes, and mends the sizes of the parts around them and the offsets across them.
    void Replace(std::size_t at, std::size_t count, const std::string& bytes) {
        const std::size_t growth = bytes.size() - count;  // wraps around when it shrinks
        for (const SPart& part : m_parts) {
            if (part.start + part.width <= at && at < part.end && at + count <= part.end) {
                const std::size_t size = part.end - part.start + growth - part.uncounted;
                Put(part.start, size / part.unit, part.width);
            }
        }
        for (const SNumber& number : m_numbers) {
            const std::size_t right = Get(number.at, number.width);
            if (number.base != 0 && number.base < at && number.base + right > at) {
                Put(number.at, right + growth, number.width);
            }
        }
        m_bytes.replace(at, count, bytes);
    }

    std::vector<SPart> m_parts;
    std::vector<SNumber> m_numbers;
};

}  // namespace

bool TellLie(std::string& input, CChance& chance) {
    if (input.size() < kHeaderSize) {
        return false;
    }
    CLinkLiar(input, chance).TellLie();
    return true;
}
