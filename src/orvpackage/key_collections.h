// orvpackage/key_collections.h - registry keys, and what all items of a key have in common.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "orvpackage/attribute_table.h"
#include "orvpackage/collection.h"
#include "orvpackage/properties.h"
#include "platform/text.h"

// The text with stored keys in the place of their aliases, by the shared converter: `text` itself
// when there are none, or else `buffer`.
[[nodiscard]] std::u16string_view ExpandKeyTokens(std::u16string_view text, CStrW& buffer);

// The path of a key, which the values of the key share.
class COrvKeyPath {
public:
    explicit COrvKeyPath(std::u16string_view text);

    // Makes the portable form in advance, for a key that is written with many values. Not while
    // another thread uses the path.
    // Gain: 15 % less CPU (bench hive with 200,000 values).
    void KeepPortable(const COrvSanitizer& sanitizer) const;

    [[nodiscard]] const CStrW& GetText() const { return m_text; }
    [[nodiscard]] bool IsEmpty() const { return m_isEmpty; }
    // Whether the portable form was made in advance and is the text, which no step has changed.
    [[nodiscard]] bool IsPortable() const { return m_isPortable; }
    // Whether the portable form was made in advance and is plain (IsPlainXmlText): then it is
    // written without another look at it.
    [[nodiscard]] bool IsPlain() const { return m_isPlain; }
    // Whether a path made of `text` would be the same.
    [[nodiscard]] bool IsOf(std::u16string_view text) const {
        return !m_hadAlias && platform::HasSameUnits(m_text, text);
    }
    // The path with the long name of its hive, as the manifest has it; empty when it is no path. A
    // part of this object, or `buffer`.
    [[nodiscard]] std::u16string_view GetPortable(const COrvSanitizer& sanitizer,
                                                  CStrW& buffer) const;
    // What the path is written from.
    [[nodiscard]] std::u16string_view GetWritten() const {
        return GetKept().empty() ? m_text.View() : GetKept();
    }

private:
    [[nodiscard]] CStrW MakePortable(const COrvSanitizer& sanitizer) const;
    // The portable form that was made in advance, or an empty text.
    [[nodiscard]] std::u16string_view GetKept() const {
        return m_isPortable ? m_text.View() : m_portable.View();
    }

    CStrW m_text;
    mutable CStrW m_portable;  // empty when it was not made in advance, or is the text
    mutable bool m_isPortable = false;
    bool m_isEmpty = false;
    mutable bool m_isPlain = false;
    bool m_hadAlias = false;
};

// Sets what the hash of a key's item is made of; that of a value goes on with its name.
void SetHashOfKey(CKeyTextHash& hash, std::u16string_view key, std::uint32_t architecture);

// An item known by a key and an architecture, and values by their name as well.
class COrvKeyItem : public COrvItem {
public:
    [[nodiscard]] const CStrW& GetTarget() const { return m_key->GetText(); }
    [[nodiscard]] const COrvKeyPath& GetKey() const { return *m_key; }
    [[nodiscard]] const std::shared_ptr<const COrvKeyPath>& ShareKey() const { return m_key; }
    [[nodiscard]] std::uint32_t GetArchitecture() const { return m_architecture; }
    [[nodiscard]] CStrW GetName() const override { return GetTarget(); }
    [[nodiscard]] bool IsValid() const override { return !m_key->IsEmpty(); }

protected:
    COrvKeyItem(std::shared_ptr<const COrvKeyPath> key, std::uint32_t architecture);
    COrvKeyItem(std::shared_ptr<const COrvKeyPath> key, std::uint32_t architecture,
                std::uint64_t hash)
        : COrvItem(hash), m_key(std::move(key)), m_architecture(architecture) {}

private:
    std::shared_ptr<const COrvKeyPath> m_key;
    std::uint32_t m_architecture;
};

class COrvCreateKey : public COrvKeyItem {
public:
    COrvCreateKey(std::u16string_view target, std::uint32_t architecture)
        : COrvKeyItem(std::make_shared<const COrvKeyPath>(target), architecture) {}
};

class COrvDeleteKey : public COrvKeyItem {
public:
    COrvDeleteKey(const CStrW& target, std::uint32_t architecture, bool recursive = true)
        : COrvKeyItem(std::make_shared<const COrvKeyPath>(target), architecture),
          Recursive(recursive) {}
    bool Recursive;
};

// The types of data that a value is treated by; the registry knows more.
enum EOrvValueType : std::uint32_t {
    OrvValueString = 1,
    OrvValueExpandString = 2,
    OrvValueBinary = 3,
    OrvValueDword = 4,
    OrvValueMultiString = 7,
    OrvValueQword = 11,
    OrvValueUnset = 0xFFFFFFFF,
};

// What is read of a key or value.
struct SReadKeyItem {
    CStrW target;
    std::uint32_t architecture = OrvArchitectureNone;
    bool recursive = true;
    CStrW valueName;
    std::uint32_t valueType = OrvValueUnset;
    CStrW valueData;
};

// Items of keys are not made of records: those of a key share its path, and values keep their name
// and data in one block. So their rows write from the item, which is of the collection's own class.
using SKeyAttribute = SAttribute<COrvKeyItem, SReadKeyItem>;

void WriteKeyTarget(const SAttributeOutput& output, const COrvKeyItem& item);
void ReadKeyTarget(SReadKeyItem& into, const CStrW& value, const COrvSanitizer& sanitizer);
void WriteArchitecture(const SAttributeOutput& output, const COrvKeyItem& item);
void ReadArchitecture(SReadKeyItem& into, const CStrW& value, const COrvSanitizer& sanitizer);

// The rows that all tables of keys and values begin with. An item of the package's architecture is
// written without one, and so comes back without one.
constexpr SKeyAttribute kKeyTarget{u"Target", {WriteKeyTarget, ReadKeyTarget}};
constexpr SKeyAttribute kKeyArchitecture{u"Architecture", {WriteArchitecture, ReadArchitecture}};

// A collection of items of keys: it reads and writes them by a table.
class COrvKeyItemCollection : public COrvCollection {
protected:
    // The table is not copied.
    COrvKeyItemCollection(COrvPackage& package, EOrvCollection type,
                          SAttributes<COrvKeyItem, SReadKeyItem> attributes)
        : COrvCollection(package, type), m_attributes(attributes) {}

    void PrefetchItem(const COrvItem& item, unsigned step) const override;
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadItem(CXmlReader& reader) override;

private:
    SAttributes<COrvKeyItem, SReadKeyItem> m_attributes;
};

class COrvCreateKeysCollection : public COrvKeyItemCollection {
public:
    static constexpr EOrvCollection kType = OrvCreateKeys;
    explicit COrvCreateKeysCollection(COrvPackage& package);

    // Adds an item and lends it; null for a double.
    COrvCreateKey* AddItem(std::u16string_view target, std::uint32_t architecture) {
        return AddOwned(Make<COrvCreateKey>(target, architecture));
    }

protected:
    bool FinishItem() override;
};

class COrvDeleteKeysCollection : public COrvKeyItemCollection {
public:
    static constexpr EOrvCollection kType = OrvDeleteKeys;
    explicit COrvDeleteKeysCollection(COrvPackage& package);

protected:
    bool FinishItem() override;
};

using COrvCreateKeyItr = COrvItemItr<COrvCreateKey>;
using COrvDeleteKeyItr = COrvItemItr<COrvDeleteKey>;
