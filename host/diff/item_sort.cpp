#include "host/diff/item_sort.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace host {

namespace {

// The order of identities; within one the older items come first.
bool IsAhead(const SKept& left, const SKept& right) {
    int order = left.packed.key.compare(right.packed.key);
    order = order != 0 ? order : static_cast<int>(left.isNewer) - static_cast<int>(right.isNewer);
    order = order != 0 ? order : left.packed.content.compare(right.packed.content);
    return order != 0 ? order < 0 : left.packed.payload < right.packed.payload;
}

// Some bytes of a key, as numbers that order as they do.
using Chunk = std::array<std::uint64_t, 2>;

// An item that waits for its place.
struct SSlot {
    Chunk chunk{};
    const SKept* item = nullptr;
};
using Slots = std::span<SSlot>;

// How many bytes all keys share.
std::size_t SharedBytes(Slots slots) {
    std::string_view shared = slots.front().item->packed.key;
    for (const SSlot& slot : slots) {
        // Asked first, because it is faster and mostly true.
        if (const std::string_view key = slot.item->packed.key; !key.starts_with(shared)) {
            const auto differ = std::ranges::mismatch(shared, key);
            shared = {shared.begin(), differ.in1};
        }
    }
    return shared.size();
}

// The bytes of a key from `start` on; after its end they are 0.
Chunk ReadChunk(std::string_view key, std::size_t start) {
    std::array<unsigned char, sizeof(Chunk)> bytes{};
    const std::string_view part = key.substr(start, bytes.size());
    std::ranges::copy(part, bytes.begin());
    Chunk chunk{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::uint64_t& number = chunk[i / sizeof(std::uint64_t)];
        number = (number << 8U) | bytes[i];
    }
    return chunk;
}

// Sorts by the next bytes in which keys differ. False when there are none.
bool SortByChunk(Slots slots) {
    const std::size_t shared = SharedBytes(slots);
    for (SSlot& slot : slots) {
        slot.chunk = ReadChunk(slot.item->packed.key, shared);
    }
    std::ranges::sort(slots, {}, &SSlot::chunk);
    return slots.front().chunk != slots.back().chunk;
}

// Keys begin alike for long, and are all over the memory. So each round takes items with the same
// beginning, skips it, and sorts by the next few bytes, which are beside each other then. Takes
// half the time of a sort that compares whole keys.
void SortSlots(Slots all) {
    constexpr std::size_t kFew = 32;
    std::vector<Slots> open = {all};
    while (!open.empty()) {
        const Slots slots = open.back();
        open.pop_back();
        if (slots.size() <= kFew || !SortByChunk(slots)) {
            std::ranges::sort(slots, IsAhead,
                              [](const SSlot& slot) -> const SKept& { return *slot.item; });
            continue;
        }
        // Each part is smaller than `slots`, so that the loop ends.
        for (auto first = slots.begin(); first != slots.end();) {
            const auto last = std::find_if(first, slots.end(), [first](const SSlot& slot) {
                return slot.chunk != first->chunk;
            });
            open.emplace_back(first, last);
            first = last;
        }
    }
}

}  // namespace

std::vector<const SKept*> SortItems(std::span<const SKept> items) {
    std::vector<SSlot> slots(items.size());
    std::ranges::transform(items, slots.begin(), [](const SKept& item) {
        return SSlot{{}, &item};
    });
    SortSlots(slots);
    std::vector<const SKept*> sorted(slots.size());
    std::ranges::transform(slots, sorted.begin(), &SSlot::item);
    return sorted;
}

}  // namespace host
