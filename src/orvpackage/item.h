// orvpackage/item.h - one operation of the output package, and the table that holds those of one
// kind.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/wide_string.h"

class COrvItem;

// The hash that identifies an item: CityHash64 over the lower-cased key text.
[[nodiscard]] std::uint64_t HashKeyText(const CStrW& keyText);

// Turns the neighbours of an item in its table's list.
class COrvItemLinks {
protected:
    friend class COrvItemTable;
    COrvItemLinks* m_previous = nullptr;
    COrvItemLinks* m_next = nullptr;
};

// One operation: a file to create, a value to delete. Two items of a table are the same item when
// their hashes are equal; no text is compared. An item stands in at most one table, which then owns
// it.
class COrvItem : private COrvItemLinks {
public:
    explicit COrvItem(std::uint64_t hash) : m_hash(hash) {}
    virtual ~COrvItem() = default;
    COrvItem(const COrvItem&) = delete;
    COrvItem& operator=(const COrvItem&) = delete;

    [[nodiscard]] virtual std::uint64_t GetHash() const { return m_hash; }
    // The text that names the item in a log line.
    [[nodiscard]] virtual CStrW GetName() const = 0;
    // Whether the item has all that the manifest needs; one that has not is left out of it.
    [[nodiscard]] virtual bool IsValid() const = 0;

private:
    friend class COrvItemTable;
    const std::uint64_t m_hash;
};

// Items by their hash, in a linear-hashing table that also keeps them in one list. The order of the
// list is the order of the manifest, and so part of the format: the elements of a bucket stand
// together, by rising hash, and the table grows bucket by bucket, moving what leaves a bucket to
// the list's end.
class COrvItemTable {
public:
    COrvItemTable();
    ~COrvItemTable();
    COrvItemTable(const COrvItemTable&) = delete;
    COrvItemTable& operator=(const COrvItemTable&) = delete;

    [[nodiscard]] std::size_t GetCount() const { return m_count; }
    // The item with a hash; null when there is none.
    [[nodiscard]] COrvItem* Find(std::uint64_t hash) const;
    // Takes the item over and gives true. When its hash is there already, gives false and leaves
    // the item with the caller; the table may have grown all the same.
    bool Insert(std::unique_ptr<COrvItem>& item);
    // Takes the item with a hash out; null when there is none. The table never shrinks.
    std::unique_ptr<COrvItem> Remove(std::uint64_t hash);
    // Deletes all items and goes back to the first state.
    void Clear();

    // The list: null at its end.
    [[nodiscard]] COrvItem* GetFirst() const { return ItemAt(m_end.m_next); }
    [[nodiscard]] COrvItem* GetNext(const COrvItem& item) const { return ItemAt(item.m_next); }

private:
    void Reset();
    void Grow();
    void MoveToEnd(COrvItemLinks* node, std::size_t bucket);
    [[nodiscard]] std::size_t BucketOf(std::uint64_t hash) const;
    [[nodiscard]] COrvItem* ItemAt(COrvItemLinks* node) const;
    static void Unlink(COrvItemLinks* node);
    static void LinkBefore(COrvItemLinks* node, COrvItemLinks* place);

    COrvItemLinks m_end;  // the list's end, before its first node and behind its last
    std::size_t m_count = 0;
    std::vector<COrvItemLinks*>
        m_buckets;  // bucket b starts at m_buckets[b], ends at m_buckets[b + 1]
    std::uint64_t m_mask = 1;
    std::size_t m_bucketCount = 1;
};
