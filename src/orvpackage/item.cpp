#include "orvpackage/item.h"

#include <absl/hash/internal/city.h>

#include <bit>

namespace {

constexpr std::size_t kFirstBuckets = 9;
constexpr unsigned kDensityShift = 2;  // four items a bucket

}  // namespace

std::uint64_t HashKeyText(const CStrW& keyText) {
    static_assert(std::endian::native == std::endian::little, "the hash is over UTF-16LE bytes");
    CStrW folded(keyText);
    folded.Fold();
    return absl::hash_internal::CityHash64(reinterpret_cast<const char*>(folded.Get()),
                                           folded.GetLength() * sizeof(char16_t));
}

COrvItemTable::COrvItemTable() { Reset(); }

COrvItemTable::~COrvItemTable() { Clear(); }

void COrvItemTable::Reset() {
    m_end.m_previous = &m_end;
    m_end.m_next = &m_end;
    m_count = 0;
    m_buckets.assign(kFirstBuckets, &m_end);
    m_mask = 1;
    m_bucketCount = 1;
}

void COrvItemTable::Clear() {
    for (COrvItem* item = GetFirst(); item != nullptr;) {
        COrvItem* const next = GetNext(*item);
        delete item;
        item = next;
    }
    Reset();
}

COrvItem* COrvItemTable::ItemAt(COrvItemLinks* node) const {
    return node == &m_end ? nullptr : static_cast<COrvItem*>(node);
}

void COrvItemTable::Unlink(COrvItemLinks* node) {
    node->m_previous->m_next = node->m_next;
    node->m_next->m_previous = node->m_previous;
}

void COrvItemTable::LinkBefore(COrvItemLinks* node, COrvItemLinks* place) {
    node->m_previous = place->m_previous;
    node->m_next = place;
    place->m_previous->m_next = node;
    place->m_previous = node;
}

std::size_t COrvItemTable::BucketOf(std::uint64_t hash) const {
    std::size_t bucket = hash & m_mask;
    // The upper half of the mask may reach buckets that are not split off yet.
    if (bucket >= m_bucketCount) {
        bucket -= (m_mask >> 1) + 1;
    }
    return bucket;
}

COrvItem* COrvItemTable::Find(std::uint64_t hash) const {
    const std::size_t bucket = BucketOf(hash);
    for (COrvItemLinks* node = m_buckets[bucket]; node != m_buckets[bucket + 1];
         node = node->m_next) {
        auto* const item = static_cast<COrvItem*>(node);
        if (item->m_hash >= hash) {
            return item->m_hash == hash ? item : nullptr;
        }
    }
    return nullptr;
}

bool COrvItemTable::Insert(std::unique_ptr<COrvItem>& item) {
    // Growing comes before the test for a double, which is why a caller looks for one first.
    if (m_bucketCount <= m_count >> kDensityShift) {
        Grow();
    }
    std::size_t bucket = BucketOf(item->m_hash);
    COrvItemLinks* place = m_buckets[bucket + 1];
    while (place != m_buckets[bucket]) {
        const auto* const before = static_cast<COrvItem*>(place->m_previous);
        if (before->m_hash == item->m_hash) {
            return false;
        }
        if (before->m_hash < item->m_hash) {
            break;
        }
        place = place->m_previous;
    }
    COrvItemLinks* const node = item.release();
    LinkBefore(node, place);
    ++m_count;
    while (m_buckets[bucket] == place) {
        m_buckets[bucket] = node;
        if (bucket-- == 0) {
            break;
        }
    }
    return true;
}

std::unique_ptr<COrvItem> COrvItemTable::Remove(std::uint64_t hash) {
    COrvItem* const item = Find(hash);
    if (item == nullptr) {
        return nullptr;
    }
    std::size_t bucket = BucketOf(hash);
    COrvItemLinks* const node = item;
    while (m_buckets[bucket] == node) {
        m_buckets[bucket] = node->m_next;
        if (bucket-- == 0) {
            break;
        }
    }
    Unlink(node);
    --m_count;
    return std::unique_ptr<COrvItem>(item);
}

// Splits one bucket: the items that the wider mask puts elsewhere become the new last bucket.
void COrvItemTable::Grow() {
    if (m_buckets.size() - 1 > m_bucketCount) {
        if (m_mask < m_bucketCount) {
            m_mask = m_mask * 2 + 1;
        }
    } else {
        m_mask = m_buckets.size() * 2 - 3;
        m_buckets.resize(m_buckets.size() * 2 - 1, &m_end);
    }
    const std::size_t bucket = m_bucketCount - (m_mask >> 1) - 1;
    // The walk ends where the bucket ended, or at the first item that it moved behind itself.
    const COrvItemLinks* const stop = m_buckets[bucket + 1];
    const COrvItemLinks* firstMoved = nullptr;
    for (COrvItemLinks* node = m_buckets[bucket]; node != stop && node != firstMoved;) {
        COrvItemLinks* const next = node->m_next;
        if ((static_cast<COrvItem*>(node)->m_hash & m_mask) != bucket) {
            MoveToEnd(node, bucket);
            firstMoved = firstMoved == nullptr ? node : firstMoved;
        }
        node = next;
    }
    ++m_bucketCount;
}

void COrvItemTable::MoveToEnd(COrvItemLinks* node, std::size_t bucket) {
    for (std::size_t b = bucket; m_buckets[b] == node; --b) {
        m_buckets[b] = node->m_next;
        if (b == 0) {
            break;
        }
    }
    Unlink(node);
    LinkBefore(node, &m_end);
    m_buckets[m_bucketCount + 1] = &m_end;
    for (std::size_t b = m_bucketCount; m_buckets[b] == &m_end; --b) {
        m_buckets[b] = node;
        if (b == 0) {
            break;
        }
    }
}
