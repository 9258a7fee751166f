#include "host/diff/manifest_diff.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory_resource>
#include <span>

#include "host/path_rules.h"
#include "platform/crypto.h"
#include "platform/status.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// Half of a SHA-256 hash: nobody can make two contents that share it.
using Digest = std::array<std::byte, 16>;

struct SNumbered {
    Digest digest{};
    std::uint32_t number = 0;  // of the item in its manifest
};

struct SKept {
    SPackedItem packed;
    bool isNewer = false;
};

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

// Sorts items as IsAhead does. Keys begin alike for long, and are all over the memory. So each
// round takes items with the same beginning, skips it, and sorts by the next few bytes, which are
// beside each other then. Takes half the time of a sort that compares whole keys.
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

// One of the two manifests.
//
// INVARIANT: after ReadDigests, `m_digests` has the items without payload, and `m_isKept` is true
// for the others. After Match it is true for all items that can differ.
class CSide {
public:
    CSide(const fs::path& manifest, bool isNewer)
        : m_manifest(DeepPath(manifest)), m_isNewer(isNewer), m_payload(manifest.parent_path()) {}

    // These return whether the manifest was read to its end; otherwise it is told.
    [[nodiscard]] bool ReadDigests(const TellProblem& tell);
    [[nodiscard]] bool Keep(std::pmr::memory_resource& memory, std::vector<SKept>& kept,
                            const TellProblem& tell);
    // Marks the items whose content the other side has not as often.
    static void Match(CSide& older, CSide& newer);

    [[nodiscard]] std::size_t CountKept() const {
        return static_cast<std::size_t>(std::ranges::count(m_isKept, true));
    }
    [[nodiscard]] CPayloadSide& Payload() { return m_payload; }

private:
    [[nodiscard]] bool TellEnd(const std::string& problem, const TellProblem& tell) const;

    fs::path m_manifest;
    bool m_isNewer;
    CPayloadSide m_payload;
    std::vector<SNumbered> m_digests;
    std::vector<bool> m_isKept;
};

bool CSide::TellEnd(const std::string& problem, const TellProblem& tell) const {
    if (!problem.empty()) {
        tell(m_manifest, problem);
    }
    return problem.empty();
}

bool CSide::ReadDigests(const TellProblem& tell) {
    CItemPacker packer;
    platform::CSha256 sum;
    int status = ERROR_SUCCESS;
    std::string problem = ReadItems(m_manifest, [&](const SItem& item) {
        const SPackedItem& packed = packer.Pack(item, false);
        m_isKept.push_back(!packed.payload.empty());
        if (!m_isKept.back()) {
            platform::Sha256 hash{};
            sum.Restart();
            status = sum.Add(std::as_bytes(std::span(packed.content)));
            status = status == ERROR_SUCCESS ? sum.Finish(hash) : status;
            SNumbered& entry = m_digests.emplace_back();
            std::copy_n(hash.begin(), entry.digest.size(), entry.digest.begin());
            entry.number = static_cast<std::uint32_t>(m_isKept.size() - 1);
        }
        return status == ERROR_SUCCESS;
    });
    if (status != ERROR_SUCCESS) {
        problem = "the system cannot make check sums";
    }
    std::ranges::sort(m_digests, {}, &SNumbered::digest);
    return TellEnd(problem, tell);
}

void CSide::Match(CSide& older, CSide& newer) {
    auto left = older.m_digests.cbegin();
    auto right = newer.m_digests.cbegin();
    const auto leftEnd = older.m_digests.cend();
    const auto rightEnd = newer.m_digests.cend();
    // Each round takes one off, or one of each. Equal ones are next to each other in both.
    while (left != leftEnd || right != rightEnd) {
        const bool isLeft = right == rightEnd || (left != leftEnd && left->digest < right->digest);
        const bool isRight = left == leftEnd || (right != rightEnd && right->digest < left->digest);
        if (isLeft) {
            older.m_isKept[left->number] = true;
        }
        if (isRight) {
            newer.m_isKept[right->number] = true;
        }
        left += isRight ? 0 : 1;
        right += isLeft ? 0 : 1;
    }
    older.m_digests = {};
    newer.m_digests = {};
}

std::string_view Store(std::string_view bytes, std::pmr::memory_resource& memory) {
    char* const stored = static_cast<char*>(memory.allocate(bytes.size() + 1, 1));
    std::ranges::copy(bytes, stored);
    return {stored, bytes.size()};
}

bool CSide::Keep(std::pmr::memory_resource& memory, std::vector<SKept>& kept,
                 const TellProblem& tell) {
    CItemPacker packer;
    std::size_t number = 0;
    std::string problem = ReadItems(m_manifest, [&](const SItem& item) {
        const bool isKept = number < m_isKept.size() && m_isKept[number];
        ++number;
        // The packer counts actions.
        if (isKept || IsOfActions(item.collection)) {
            const SPackedItem& packed = packer.Pack(item, isKept);
            if (isKept) {
                kept.push_back({{Store(packed.key, memory), Store(packed.content, memory),
                                 Store(packed.payload, memory)},
                                m_isNewer});
            }
        }
        return true;
    });
    if (problem.empty() && number != m_isKept.size()) {
        problem = "the file has changed while it was read";
    }
    return TellEnd(problem, tell);
}

// Calls `take` for each payload file of an item, with the element of its part; false ends it.
template <class Take>
bool ForEachPayload(const SPlainItem& item, const Take& take) {
    const auto ofPart = [&take](const SPlainPart& part, bool isPart) {
        return std::ranges::all_of(part.attributes, [&](const SPlainAttribute& attribute) {
            return !attribute.isPayload || take(part, attribute, isPart);
        });
    };
    return ofPart(item, false) && std::ranges::all_of(item.parts, [&](const SPlainPart& part) {
               return ofPart(part, true);
           });
}

// The payload file of a part, and what tells it from others.
struct SMember {
    std::string content;
    SPayloadName name;
    std::u16string element;
    std::u16string attribute;
};

using Group = std::span<const SSlot>;

// Compares the items that can differ.
class CItemDiff {
public:
    CItemDiff(CSide& older, CSide& newer, CFileContents& contents, const DifferenceHandler& handle)
        : m_older(older), m_newer(newer), m_contents(contents), m_handle(handle) {}

    EPayloadDiff ListPayload(std::span<const SKept> kept, const TellProblem& tell);
    // Takes them sorted.
    void Run(Group slots);

private:
    [[nodiscard]] bool CompareGroup(Group older, Group newer);
    [[nodiscard]] bool ComparePair(const SKept& older, const SKept& newer);
    [[nodiscard]] bool TellSingle(const SKept& kept);
    void CompareOwnPayload(SDifference& difference);
    void CompareMembers(SDifference& difference);
    [[nodiscard]] std::vector<SMember> ListMembers(const SPlainItem& item, CSide& side);
    [[nodiscard]] SPayloadName FindFile(const std::u16string& source, CSide& side) const;

    CSide& m_older;
    CSide& m_newer;
    CFileContents& m_contents;
    const DifferenceHandler& m_handle;
    bool m_isPayloadCompared = false;
};

EPayloadDiff CItemDiff::ListPayload(std::span<const SKept> kept, const TellProblem& tell) {
    bool isNamed = false;
    for (const SKept& item : kept) {
        if (!item.packed.payload.empty()) {
            isNamed = true;
            CPayloadSide& side = (item.isNewer ? m_newer : m_older).Payload();
            ForEachPayload(Unpack(item.packed), [&](const auto&, const auto& attribute, bool) {
                side.Name(attribute.value);
                return true;
            });
        }
    }
    if (!isNamed) {
        return EPayloadDiff::NoneNamed;
    }
    m_older.Payload().List(tell);
    m_newer.Payload().List(tell);
    m_isPayloadCompared = std::ranges::any_of(kept, [&](const SKept& item) {
        CPayloadSide& side = (item.isNewer ? m_newer : m_older).Payload();
        return !item.packed.payload.empty() &&
               !ForEachPayload(Unpack(item.packed), [&](const auto&, const auto& attribute, bool) {
                   return side.Find(attribute.value) == nullptr;
               });
    });
    return m_isPayloadCompared ? EPayloadDiff::Compared : EPayloadDiff::NoneThere;
}

void CItemDiff::Run(Group slots) {
    // Each round takes the items of one identity off.
    while (!slots.empty()) {
        const std::string_view key = slots.front().item->packed.key;
        const auto end = std::ranges::find_if(
            slots, [key](const SSlot& slot) { return slot.item->packed.key != key; });
        const auto middle =
            std::find_if(slots.begin(), end, [](const SSlot& slot) { return slot.item->isNewer; });
        if (!CompareGroup({slots.begin(), middle}, {middle, end})) {
            return;
        }
        slots = {end, slots.end()};
    }
}

// Items of one identity, sorted by their content. Those with the same content are a pair. Of the
// rest, the first is taken for the first.
bool CItemDiff::CompareGroup(Group older, Group newer) {
    std::vector<const SKept*> rest[2];
    while (!older.empty() || !newer.empty()) {
        // A side that has ended is after all others.
        const int order =
            older.empty() ? 1
            : newer.empty()
                ? -1
                : older.front().item->packed.content.compare(newer.front().item->packed.content);
        if (order == 0 && !ComparePair(*older.front().item, *newer.front().item)) {
            return false;
        }
        if (order != 0) {
            rest[order < 0 ? 0 : 1].push_back(order < 0 ? older.front().item : newer.front().item);
        }
        older = older.subspan(order <= 0 ? 1 : 0);
        newer = newer.subspan(order >= 0 ? 1 : 0);
    }
    const std::size_t pairs = std::min(rest[0].size(), rest[1].size());
    for (std::size_t i = 0; i < pairs; ++i) {
        if (!ComparePair(*rest[0][i], *rest[1][i])) {
            return false;
        }
    }
    const auto tell = [this](const SKept* item) { return TellSingle(*item); };
    return std::ranges::all_of(std::span(rest[0]).subspan(pairs), tell) &&
           std::ranges::all_of(std::span(rest[1]).subspan(pairs), tell);
}

bool CItemDiff::TellSingle(const SKept& kept) {
    const SPlainItem item = Unpack(kept.packed);
    return m_handle(kept.isNewer ? SDifference{EChange::Added, nullptr, &item}
                                 : SDifference{EChange::Removed, &item, nullptr});
}

bool CItemDiff::ComparePair(const SKept& older, const SKept& newer) {
    const SPlainItem olderItem = Unpack(older.packed);
    const SPlainItem newerItem = Unpack(newer.packed);
    SDifference difference{EChange::Changed, &olderItem, &newerItem};
    if (m_isPayloadCompared) {
        CompareOwnPayload(difference);
    }
    CompareMembers(difference);
    const bool isSame = older.packed.content == newer.packed.content && difference.payload.empty();
    return isSame || m_handle(difference);
}

SPayloadName CItemDiff::FindFile(const std::u16string& source, CSide& side) const {
    return {source, m_isPayloadCompared ? side.Payload().Find(source) : nullptr};
}

void CItemDiff::CompareOwnPayload(SDifference& difference) {
    for (const SPlainAttribute& attribute : difference.older->attributes) {
        const auto& others = difference.newer->attributes;
        const auto other = attribute.isPayload
                               ? std::ranges::find(others, attribute.name, &SPlainAttribute::name)
                               : others.end();
        if (other == others.end()) {
            continue;  // an attribute on one side only is a difference of its own
        }
        SPayloadChange change{{},
                              attribute.name,
                              FindFile(attribute.value, m_older),
                              FindFile(other->value, m_newer)};
        if (!m_contents.AreEqual(change.older.file, change.newer.file)) {
            difference.payload.push_back(std::move(change));
        }
    }
}

std::vector<SMember> CItemDiff::ListMembers(const SPlainItem& item, CSide& side) {
    std::vector<SMember> members;
    ForEachPayload(item, [&](const auto& part, const auto& attribute, bool isPart) {
        if (isPart) {
            members.push_back({{}, FindFile(attribute.value, side), part.element, attribute.name});
        }
        return true;
    });
    return members;
}

// The names of members are generated, so any member can be any other: what counts is whether both
// sides have the same contents.
void CItemDiff::CompareMembers(SDifference& difference) {
    std::vector<SMember> members[] = {ListMembers(*difference.older, m_older),
                                      ListMembers(*difference.newer, m_newer)};
    if (std::ranges::equal(members[0], members[1], [this](const auto& left, const auto& right) {
            return m_contents.AreEqual(left.name.file, right.name.file);
        })) {
        return;
    }
    std::vector<SMember> rest[2];
    const auto order = [](const SMember& left, const SMember& right) {
        return left.content < right.content;
    };
    for (auto& side : members) {
        for (SMember& member : side) {
            member.content =
                member.name.file == nullptr ? "" : m_contents.GetSum(*member.name.file);
        }
        std::ranges::stable_sort(side, order);
    }
    std::ranges::set_difference(members[0], members[1], std::back_inserter(rest[0]), order);
    std::ranges::set_difference(members[1], members[0], std::back_inserter(rest[1]), order);
    for (auto& side : rest) {
        std::ranges::sort(side, {}, [](const SMember& member) { return member.name.source; });
    }
    for (std::size_t i = 0; i < std::max(rest[0].size(), rest[1].size()); ++i) {
        const SMember& one = i < rest[0].size() ? rest[0][i] : rest[1][i];
        difference.payload.push_back({one.element, one.attribute,
                                      i < rest[0].size() ? rest[0][i].name : SPayloadName(),
                                      i < rest[1].size() ? rest[1][i].name : SPayloadName()});
    }
}

}  // namespace

SManifestDiff DiffManifests(const fs::path& older, const fs::path& newer, CFileContents& contents,
                            const TellProblem& tell, const DifferenceHandler& handle) {
    CSide olderSide(older, false);
    CSide newerSide(newer, true);
    // Both are read, so that what is wrong with either is told.
    const bool isOlderRead = olderSide.ReadDigests(tell);
    if (!newerSide.ReadDigests(tell) || !isOlderRead) {
        return {};
    }
    CSide::Match(olderSide, newerSide);
    std::vector<SKept> kept;
    kept.reserve(olderSide.CountKept() + newerSide.CountKept());
    if (kept.capacity() == 0) {
        return {true, EPayloadDiff::NoneNamed};
    }
    std::pmr::monotonic_buffer_resource memory;
    if (!olderSide.Keep(memory, kept, tell) || !newerSide.Keep(memory, kept, tell)) {
        return {};
    }
    std::vector<SSlot> slots(kept.size());
    std::ranges::transform(kept, slots.begin(), [](const SKept& item) { return SSlot{{}, &item}; });
    SortSlots(slots);
    CItemDiff diff(olderSide, newerSide, contents, handle);
    const SManifestDiff result{true, diff.ListPayload(kept, tell)};
    diff.Run(slots);
    contents.Clear();
    return result;
}

}  // namespace host
