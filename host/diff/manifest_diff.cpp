#include "host/diff/manifest_diff.h"

#include <algorithm>
#include <array>
#include <memory_resource>
#include <span>

#include "host/diff/item_sort.h"
#include "host/diff/merge_sorted.h"
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
    // Equal digests are next to each other in both.
    MergeSorted(older.m_digests, newer.m_digests, &SNumbered::digest,
                [&](const SNumbered* left, const SNumbered* right) {
                    if (right == nullptr) {
                        older.m_isKept[left->number] = true;
                    } else if (left == nullptr) {
                        newer.m_isKept[right->number] = true;
                    }
                    return true;
                });
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

using Group = std::span<const SKept* const>;

// Compares the items that can differ.
class CItemDiff {
public:
    CItemDiff(CSide& older, CSide& newer, CFileContents& contents, const DifferenceHandler& handle)
        : m_older(older), m_newer(newer), m_contents(contents), m_handle(handle) {}

    EPayloadDiff ListPayload(std::span<const SKept> kept, const TellProblem& tell);
    // Takes them sorted.
    void Run(Group items);

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

void CItemDiff::Run(Group items) {
    // Each round takes the items of one identity off.
    while (!items.empty()) {
        const std::string_view key = items.front()->packed.key;
        const auto end = std::ranges::find_if(
            items, [key](const SKept* item) { return item->packed.key != key; });
        const auto middle =
            std::find_if(items.begin(), end, [](const SKept* item) { return item->isNewer; });
        if (!CompareGroup({items.begin(), middle}, {middle, end})) {
            return;
        }
        items = {end, items.end()};
    }
}

// Items of one identity, sorted by their content. Those with the same content are a pair. Of the
// rest, the first is taken for the first.
bool CItemDiff::CompareGroup(Group older, Group newer) {
    std::vector<const SKept*> rest[2];
    const auto content = [](const SKept* item) { return item->packed.content; };
    const auto take = [&](const SKept* const* left, const SKept* const* right) {
        if (left != nullptr && right != nullptr) {
            return ComparePair(**left, **right);
        }
        rest[left == nullptr ? 1 : 0].push_back(left == nullptr ? *right : *left);
        return true;
    };
    if (!MergeSorted(older, newer, content, take)) {
        return false;
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

EPayloadDiff DiffManifests(const fs::path& older, const fs::path& newer, CFileContents& contents,
                           const TellProblem& tell, const DifferenceHandler& handle) {
    CSide olderSide(older, false);
    CSide newerSide(newer, true);
    // Both are read, so that what is wrong with either is told.
    const bool isOlderRead = olderSide.ReadDigests(tell);
    if (!newerSide.ReadDigests(tell) || !isOlderRead) {
        return EPayloadDiff::NoneNamed;
    }
    CSide::Match(olderSide, newerSide);
    const std::size_t count = olderSide.CountKept() + newerSide.CountKept();
    if (count == 0) {
        return EPayloadDiff::NoneNamed;
    }
    std::vector<SKept> kept;
    kept.reserve(count);
    std::pmr::monotonic_buffer_resource memory;
    if (!olderSide.Keep(memory, kept, tell) || !newerSide.Keep(memory, kept, tell)) {
        return EPayloadDiff::NoneNamed;
    }
    CItemDiff diff(olderSide, newerSide, contents, handle);
    const EPayloadDiff payload = diff.ListPayload(kept, tell);
    diff.Run(SortItems(kept));
    contents.Clear();
    return payload;
}

}  // namespace host
