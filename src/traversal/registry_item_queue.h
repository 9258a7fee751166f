// traversal/registry_item_queue.h - the keys and values of a walk on their way into the package.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvpackage/package.h"
#include "platform/threads.h"

// Makes items of keys, values and variables, in the order in which they are added, on a thread of
// its own: that takes as long as finding them does. From the first addition until Finish returns
// nobody else may touch the package's collections of them, or its logger.
class CRegistryItemQueue {
public:
    // The package is used, not owned.
    CRegistryItemQueue(COrvPackage& package, std::uint32_t architecture)
        : m_package(package), m_architecture(architecture) {}

    void AddKey(std::u16string_view key);
    // A value with raw data of a type, or with a string. One that finds no room for its data drops
    // out of the package.
    void AddValue(std::u16string_view key, std::u16string_view name, const void* data,
                  std::uint32_t size, std::uint32_t type);
    void AddString(std::u16string_view key, std::u16string_view name, const CStrW& text);
    void AddDeletedValue(std::u16string_view key, std::u16string_view name);
    void AddVariable(std::u16string_view name, const CStrW& text, bool isUser);
    void AddDeletedVariable(std::u16string_view name, bool isUser);

    // Returns when the package has them all. Throws what making them has thrown.
    void Finish();

private:
    enum class EKind { Key, Value, String, DeletedValue, Variable, DeletedVariable };

    // One addition. Its texts and data follow each other in those of the batch.
    struct SRecord {
        EKind kind;
        bool isUser = false;
        bool isNewKey = false;  // otherwise the key is that of the record before
        std::size_t keyLength = 0;
        std::size_t nameLength = 0;
        std::size_t textLength = 0;
        std::size_t dataStart = 0;
        std::uint32_t size = 0;
        std::uint32_t type = 0;
    };
    struct SBatch {
        std::vector<SRecord> records;
        std::u16string texts;
        std::vector<std::byte> data;
        std::u16string key;  // the last one

        std::size_t AppendData(const void* bytes, std::size_t size);
    };

    void Add(SRecord record, std::u16string_view key, std::u16string_view name, const CStrW& text,
             const void* data = nullptr);
    void HandOver();
    void MakeItems(const SBatch& batch);
    void MakeItem(const SRecord& record, const CStrW& key, const CStrW& name, const CStrW& text,
                  const std::byte* data);

    static constexpr std::size_t kMaxWaiting = 2;

    COrvPackage& m_package;
    const std::uint32_t m_architecture;
    // Used in turns: one is filled, and one made into items, while others wait.
    std::array<SBatch, kMaxWaiting + 2> m_batches;
    std::size_t m_filled = 0;
    platform::CJobQueue m_queue{kMaxWaiting};
};
