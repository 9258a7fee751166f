#include "orvpackage/value_items.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "foundation/file_path_converter.h"
#include "foundation/hex.h"
#include "orvpackage/multi_string.h"
#include "platform/text.h"

namespace {

// Half a unit at the end is left out.
std::u16string_view ToUnits(const void* bytes, std::size_t size) {
    return {static_cast<const char16_t*>(bytes), size / sizeof(char16_t)};
}

// The string before the first NUL. Most have only one NUL, at their end. For these a vectorised
// test is enough.
std::u16string_view FirstString(std::u16string_view units) {
    const std::u16string_view first = units.substr(0, units.empty() ? 0 : units.size() - 1);
    if (!units.ends_with(u'\0') || HasUnit(first, u'\0')) {
        return units.substr(0, units.find(u'\0'));
    }
    return first;
}

}  // namespace

void COrvValueKey::SetTarget(std::u16string_view target, std::uint32_t architecture) {
    m_path.reset();
    m_target = target;
    m_architecture = architecture;
    SetHashOfKey(m_hash, target, architecture);
}

void COrvValueKey::SetPath(std::shared_ptr<const COrvKeyPath> path) {
    if (!path->IsOf(m_target)) {
        SetHashOfKey(m_hash, path->GetText(), m_architecture);
    }
    m_path = std::move(path);
}

// Compared with case, because each value is written with the path that it was given.
bool COrvValueKey::IsOf(std::u16string_view target, std::uint32_t architecture) const {
    return m_path != nullptr && m_architecture == architecture &&
           platform::HasSameUnits(m_target, target);
}

// The name, expanded once for both the hash and the field.
struct COrvValueItem::SExpanded {
    explicit SExpanded(std::u16string_view text) : name(ExpandKeyTokens(text, buffer)) {}
    CStrW buffer;
    std::u16string_view name;
};

COrvValueItem::COrvValueItem(COrvValueKey& key, std::u16string_view value,
                             std::pmr::memory_resource& memory, std::size_t tailSize)
    : COrvValueItem(key, SExpanded(value), memory, tailSize) {}

COrvValueItem::COrvValueItem(COrvValueKey& key, const SExpanded& value,
                             std::pmr::memory_resource& memory, std::size_t tailSize)
    : COrvKeyItem(key.GetPath(), key.GetArchitecture(), key.HashOf(value.name)), m_memory(memory) {
    // `tailSize` is only a guess. Without memory for it, the value is made with its name alone.
    const std::size_t nameSize = value.name.size() * sizeof(char16_t);
    if (!ReserveTail(nameSize + tailSize) && !ReserveTail(nameSize)) {
        throw std::bad_alloc();
    }
    std::copy(value.name.begin(), value.name.end(), m_block);
    m_nameLength = static_cast<std::uint32_t>(value.name.size());
}

COrvValueItem::~COrvValueItem() { FreeBlock(); }

// In a collection this gives nothing back: the memory of all its items is freed as a whole.
void COrvValueItem::FreeBlock() {
    if (m_block != nullptr) {
        m_memory.deallocate(m_block, std::size_t{m_capacity} * sizeof(char16_t), alignof(char16_t));
    }
}

// Data can have gigabytes. So a lack of memory for it is an answer here, and ends no conversion.
bool COrvValueItem::ReserveTail(std::size_t size) {
    // Rounded up, because an odd number of bytes takes a whole unit.
    const std::size_t capacity = m_nameLength + (size + 1) / sizeof(char16_t);
    if (capacity <= m_capacity) {
        return true;
    }
    if (capacity > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    void* block = nullptr;
    try {
        block = m_memory.allocate(capacity * sizeof(char16_t), alignof(char16_t));
    } catch (const std::bad_alloc&) {
        return false;
    }
    auto* const units = static_cast<char16_t*>(block);
    // The old tail is not copied: whoever asks for room writes all of it anew.
    std::copy_n(m_block, m_nameLength, units);
    FreeBlock();
    m_block = units;
    m_capacity = static_cast<std::uint32_t>(capacity);
    return true;
}

std::u16string_view COrvValueItem::GetValue() const { return {m_block, m_nameLength}; }

CStrW COrvValueItem::GetName() const { return GetTarget() + u'/' + CStrW(GetValue()); }

bool COrvCreateValue::IsValid() const { return COrvKeyItem::IsValid() && m_type != OrvValueUnset; }

void COrvCreateValue::ClearData() {
    m_type = OrvValueUnset;
    m_size = 0;
}

// Sets type and size only when there is room, so a value never claims data that it does not have.
std::byte* COrvCreateValue::Allocate(std::size_t size, std::uint32_t type) {
    ClearData();
    // The registry has no data whose size takes more than 32 bits.
    if (size > std::numeric_limits<std::uint32_t>::max() || !ReserveTail(size)) {
        return nullptr;
    }
    m_type = type;
    m_size = static_cast<std::uint32_t>(size);
    return GetTail();
}

void COrvCreateValue::SetData(const void* bytes, std::uint32_t size, std::uint32_t type) {
    // No bytes at all are data of that type too, unlike none.
    if (size == 0) {
        ClearData();
        m_type = type;
    } else if (type == OrvValueString || type == OrvValueExpandString) {
        StoreString(FirstString(ToUnits(bytes, size)), type);
    } else if (type == OrvValueMultiString) {
        SetMultiString(SplitMultiString(ToUnits(bytes, size)));
    } else if (std::byte* const data = Allocate(size, type)) {
        std::memcpy(data, bytes, size);
    }
}

void COrvCreateValue::SetBinaryFromHex(const CStrW& text) {
    ClearData();
    if (text.IsEmpty()) {
        m_type = OrvValueBinary;
        return;
    }
    // HexToBytes writes a byte for a single last digit as well, but does not count it.
    if (std::byte* const data = Allocate((text.GetLength() + 1) / 2, OrvValueBinary)) {
        std::size_t count = 0;
        HexToBytes(text, data, count);
        m_size = static_cast<std::uint32_t>(count);
    }
}

void COrvCreateValue::StoreString(std::u16string_view text, std::uint32_t type) {
    CStrW expanded;
    if (HasUnit(text, u'%')) {
        expanded.Assign(text);
        if (expanded.GetLength() != text.size()) {  // there was no memory for the copy
            ClearData();
            return;
        }
        ExpandFileTokens(expanded);
        text = expanded;
    }
    const std::size_t size = text.size() * sizeof(char16_t);
    if (std::byte* const data = Allocate(size + sizeof(char16_t), type)) {
        std::memcpy(data, text.data(), size);
        std::memset(data + size, 0, sizeof(char16_t));
    }
}

void COrvCreateValue::SetMultiString(const CDoubleNullStringW& strings) {
    ClearData();
    CDoubleNullStringW expanded;
    // Without a percent sign there is no token, and the list is stored without a copy.
    const bool hasTokens =
        strings.Get() != nullptr && HasUnit({strings.Get(), strings.GetLength()}, u'%');
    if (hasTokens) {
        expanded = ExpandMultiString(strings);
    }
    const CDoubleNullStringW& stored = hasTokens ? expanded : strings;
    const std::size_t size = stored.GetLength() * sizeof(char16_t);
    // Null when there was no memory for the list. Then the value stays without data.
    std::byte* const data = stored.Get() == nullptr ? nullptr : Allocate(size, OrvValueMultiString);
    if (data != nullptr) {
        std::memcpy(data, stored.Get(), size);
    }
}

std::u16string_view COrvCreateValue::GetUnits() const { return ToUnits(GetTail(), m_size); }

std::u16string_view COrvCreateValue::GetString() const {
    const bool isString = m_type == OrvValueString || m_type == OrvValueExpandString;
    return isString ? FirstString(GetUnits()) : std::u16string_view();
}

bool COrvCreateValue::GetMultiString(CDoubleNullStringW& out) const {
    if (m_type != OrvValueMultiString) {
        return false;
    }
    out = SplitMultiString(GetUnits());
    return true;
}
