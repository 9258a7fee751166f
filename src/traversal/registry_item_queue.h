// traversal/registry_item_queue.h - makes items of the keys and values that a walk finds.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvpackage/package.h"
#include "orvpackage/value_items.h"
#include "platform/threads.h"
#include "reporting/record.h"

// Makes items of keys, values and variables on a thread of its own, in the order of their addition.
// Additions are collected in batches, because handing over each one alone costs more than it saves.
//
// INVARIANT: at any time one batch is filled by the caller, at most one is made into items and at
// most kMaxWaiting wait in between. There are kMaxWaiting + 2 batches, used in turns, so the next
// one to fill is always free.
// Threads: the walk adds and calls Finish. From the first addition until Finish returns, only this
// class may touch the package's collections of these items and the logger.
// Gain: for a make_hive hive of 500,000 values the walk takes 0.24 s of CPU time and making the
// items 0.32 s. So with two free processors the stage is 1.7 times faster; with one it is not.
class CRegistryItemQueue {
public:
    // The package is not owned and must outlive the queue.
    CRegistryItemQueue(COrvPackage& package, std::uint32_t architecture)
        : m_package(package), m_architecture(architecture) {}

    // Adds a key. `source` is the captured key that it comes from, for a full record; empty for
    // none.
    void AddKey(std::u16string_view key, std::u16string_view source);
    // Sets the key that the next values belong to, which is empty for variables, and their source.
    void SetKey(std::u16string_view key, std::u16string_view source);
    // A value with raw data and its type, or with a string. If there is no memory for its data, it
    // is left out of the package.
    void AddValue(std::u16string_view name, const void* data, std::uint32_t size,
                  std::uint32_t type);
    void AddString(std::u16string_view name, const CStrW& text);
    void AddDeletedValue(std::u16string_view name);
    void AddVariable(std::u16string_view name, const CStrW& text, bool isUser);
    void AddDeletedVariable(std::u16string_view name, bool isUser);

    // Returns when all items are in the package. Throws what making them has thrown.
    void Finish();

private:
    enum class EKind { Key, Value, String, DeletedValue, Variable, DeletedVariable };

    // One addition. Its texts and its data follow those of the one before in the batch. Lengths
    // count UTF-16 units.
    struct SRecord {
        EKind kind;
        bool isUser = false;
        // Not copied again for each value of a key: 1.05 times less CPU time for a make_hive hive.
        bool isNewKey = false;  // otherwise the key is that of the record before
        std::size_t keyLength = 0;
        std::size_t sourceLength = 0;
        std::size_t nameLength = 0;
        std::size_t textLength = 0;
        std::size_t dataStart = 0;
        std::uint32_t size = 0;  // of the data, in bytes
        std::uint32_t type = 0;
    };
    struct SBatch {
        std::vector<SRecord> records;
        std::u16string texts;
        std::vector<std::byte> data;

        std::size_t AppendData(const void* bytes, std::size_t size);
    };

    void Add(SRecord record, std::u16string_view name, std::u16string_view text,
             const void* data = nullptr);
    void HandOver();
    void MakeItems(const SBatch& batch);
    // The texts of an addition, as loans.
    struct STexts {
        std::u16string_view source;
        std::u16string_view key;
        std::u16string_view name;
        std::u16string_view text;
    };
    void MakeItem(const SRecord& record, const STexts& texts, const std::byte* data);
    void MakeValue(const SRecord& record, const STexts& texts, const std::byte* data);
    void InsertLater(COrvItemPtr<COrvCreateValue> value);
    void InsertOldest();
    void InsertAll();
    void RecordItem(const STexts& texts, EThing thing, bool isNew, const char16_t* collection);

    static constexpr std::size_t kMaxWaiting = 2;
    static constexpr std::size_t kMaxMade = 8;

    COrvPackage& m_package;
    const std::uint32_t m_architecture;
    // One is filled and one made into items, while others wait.
    std::array<SBatch, kMaxWaiting + 2> m_batches;
    std::size_t m_filled = 0;
    std::u16string m_key;
    std::u16string m_source;
    bool m_isNewKey = true;  // neither is in the batch yet
    // Values that are made, but not in the package yet, as a ring. While the next ones are made,
    // the place of a value in the table comes from memory, which takes as long as to make two
    // values.
    //
    // INVARIANT: there are `m_madeCount` values, the oldest at `m_oldestMade`, and all come after
    // what is in the package. Empty after Finish, and while anything else than values is made.
    // Threads: only the one that makes the items.
    // Gain: 5 % less CPU (bench hive).
    std::array<COrvItemPtr<COrvCreateValue>, kMaxMade> m_made;
    std::size_t m_oldestMade = 0;
    std::size_t m_madeCount = 0;
    platform::CJobQueue m_queue{kMaxWaiting};
};
