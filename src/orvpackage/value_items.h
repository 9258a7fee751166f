// orvpackage/value_items.h - registry values to create, with their data, and to delete.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string_view>
#include <utility>

#include "foundation/double_null_string.h"
#include "orvpackage/key_collections.h"

// A key of which values are made: the path that they share, and the start of their hashes.
//
// INVARIANT: there is no path, or it is the one made of `m_target` and the hashes begin with its
// text.
class COrvValueKey {
public:
    COrvValueKey() = default;
    COrvValueKey(std::shared_ptr<const COrvKeyPath> path, std::uint32_t architecture) {
        SetTarget(path->GetText(), architecture);
        SetPath(std::move(path));
    }
    // Becomes a key without a path. The hashes begin with `target`, as if it had no alias.
    void SetTarget(std::u16string_view target, std::uint32_t architecture);
    // Sets the path, which is made of the target.
    void SetPath(std::shared_ptr<const COrvKeyPath> path);

    // Whether it has a path, and values of that target and architecture can be made of it.
    [[nodiscard]] bool IsOf(std::u16string_view target, std::uint32_t architecture) const;
    // Null when there is none.
    [[nodiscard]] const std::shared_ptr<const COrvKeyPath>& GetPath() const { return m_path; }
    [[nodiscard]] std::uint32_t GetArchitecture() const { return m_architecture; }
    // The hash of a value by its expanded name; that of the key itself without one.
    [[nodiscard]] std::uint64_t HashOf(std::u16string_view name) { return m_hash.Hash(name); }

private:
    std::u16string m_target;
    std::shared_ptr<const COrvKeyPath> m_path;
    std::uint32_t m_architecture = OrvArchitectureNone;
    CKeyTextHash m_hash;
};

// An item known by a key and the name of a value, which is empty for the key's default value.
class COrvValueItem : public COrvKeyItem {
public:
    ~COrvValueItem() override;

    [[nodiscard]] std::u16string_view GetValue() const;
    // The key and the name with a slash between them.
    [[nodiscard]] CStrW GetName() const override;

protected:
    // `tailSize` is how large the tail will probably become.
    COrvValueItem(COrvValueKey& key, std::u16string_view value, std::pmr::memory_resource& memory,
                  std::size_t tailSize = 0);

    // The bytes after the name, at an even address.
    [[nodiscard]] std::byte* GetTail() {
        return reinterpret_cast<std::byte*>(m_block + m_nameLength);
    }
    [[nodiscard]] const std::byte* GetTail() const {
        return reinterpret_cast<const std::byte*>(m_block + m_nameLength);
    }
    // Makes room for `size` bytes after the name; those that are there now may get lost. False,
    // with the block unchanged, when there is no memory.
    [[nodiscard]] bool ReserveTail(std::size_t size);

private:
    struct SExpanded;
    COrvValueItem(COrvValueKey& key, const SExpanded& value, std::pmr::memory_resource& memory,
                  std::size_t tailSize);
    void FreeBlock();

    // Numbers of 32 bits, in an order that leaves no gaps: there are very many values.
    std::uint32_t m_nameLength = 0;
    std::pmr::memory_resource& m_memory;
    // The name, and the tail after it, in one block. Owned; null when both are empty.
    char16_t* m_block = nullptr;
    std::uint32_t m_capacity = 0;  // in units
};

class COrvDeleteValue : public COrvValueItem {
public:
    COrvDeleteValue(COrvValueKey& key, std::u16string_view value, std::pmr::memory_resource& memory)
        : COrvValueItem(key, value, memory) {}
};

// A value to create. It has no data, and no place in the manifest, until it is given some, even if
// of 0 bytes. Strings are kept with their NUL and their file tokens expanded, multi-strings in
// double-NUL form, everything else as it was given. A setter first takes away what is there; what
// finds no memory leaves the value without data.
class COrvCreateValue : public COrvValueItem {
public:
    COrvCreateValue(std::u16string_view target, std::u16string_view value,
                    std::uint32_t architecture)
        : COrvCreateValue(COrvValueKey(std::make_shared<const COrvKeyPath>(target), architecture),
                          value) {}
    // `memory`, which outlives the value, is where its name and data come from; `dataSize` is how
    // many bytes of data it will probably get.
    COrvCreateValue(COrvValueKey& key, std::u16string_view value, std::pmr::memory_resource& memory,
                    std::size_t dataSize = 0)
        : COrvValueItem(key, value, memory, dataSize) {}

    [[nodiscard]] bool IsValid() const override;
    [[nodiscard]] std::uint32_t GetType() const { return m_type; }
    // Null when there are no bytes.
    [[nodiscard]] const std::byte* GetData() const { return m_size == 0 ? nullptr : GetTail(); }
    [[nodiscard]] std::uint32_t GetDataSize() const { return m_size; }

    // Takes the bytes of a registry value, which are not this value's own; those of strings lie at
    // an even address. A string ends at its first NUL and a multi-string at its first empty string,
    // or where the bytes end.
    void SetData(const void* bytes, std::uint32_t size, std::uint32_t type);
    // Units that are no hexadecimal digits give what HexToBytes makes of them.
    void SetBinaryFromHex(const CStrW& text);
    void SetString(std::u16string_view text) { StoreString(text, OrvValueString); }
    void SetExpandString(std::u16string_view text) { StoreString(text, OrvValueExpandString); }
    void SetMultiString(const CDoubleNullStringW& strings);
    // The string of a value of a string type, as a loan until the data changes; empty for any
    // other.
    [[nodiscard]] std::u16string_view GetString() const;
    // False, with `out` untouched, for any other type than a multi-string.
    [[nodiscard]] bool GetMultiString(CDoubleNullStringW& out) const;
    // The data of a value whose type has units, as a loan until the data changes.
    [[nodiscard]] std::u16string_view GetUnits() const;

private:
    COrvCreateValue(COrvValueKey key, std::u16string_view value)
        : COrvCreateValue(key, value, *std::pmr::new_delete_resource()) {}
    void ClearData();
    // Makes room for `size` bytes of a type; null, with the value left without data, when there is
    // none.
    std::byte* Allocate(std::size_t size, std::uint32_t type);
    void StoreString(std::u16string_view text, std::uint32_t type);

    std::uint32_t m_type = OrvValueUnset;
    std::uint32_t m_size = 0;
};
