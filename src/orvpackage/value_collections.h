// orvpackage/value_collections.h - the registry values of a package.
#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "orvpackage/value_items.h"

// A collection of values, which share the path of their key.
class COrvValueItemCollection : public COrvKeyItemCollection {
protected:
    using COrvKeyItemCollection::COrvKeyItemCollection;

    // A key to make a value of. Values mostly come key by key, so the last key is kept, and the
    // values of a key share its path, which is that of the key's own item if there is one.
    //
    // Threads: those of the collection, and of that of the created keys.
    // Gain: 29 % less CPU (bench hive with 200,000 values).
    [[nodiscard]] COrvValueKey& ShareKey(std::u16string_view target, std::uint32_t architecture);

    void PrefetchItem(const COrvItem& item, unsigned step) const override;

private:
    [[nodiscard]] std::shared_ptr<const COrvKeyPath> FindPath(std::u16string_view target);

    COrvValueKey m_lastKey;
};

class COrvCreateValuesCollection : public COrvValueItemCollection {
public:
    static constexpr EOrvCollection kType = OrvCreateValues;
    explicit COrvCreateValuesCollection(COrvPackage& package);

    // Makes a value without data, which is not added yet. `dataSize` is how many bytes of data it
    // will probably get.
    [[nodiscard]] COrvItemPtr<COrvCreateValue> MakeItem(std::u16string_view target,
                                                        std::u16string_view value,
                                                        std::uint32_t architecture,
                                                        std::size_t dataSize = 0) {
        return Make<COrvCreateValue>(ShareKey(target, architecture), value, GetMemory(), dataSize);
    }
    // Add a value, made here, and lend it; null for a double.
    COrvCreateValue* AddItem(COrvItemPtr<COrvCreateValue> value) {
        return AddOwned(std::move(value));
    }
    COrvCreateValue* AddItem(std::u16string_view target, std::u16string_view value,
                             std::uint32_t architecture) {
        return AddItem(MakeItem(target, value, architecture));
    }

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    bool ReadText(CXmlReader& reader) override;
    bool FinishItem() override;
};

class COrvDeleteValuesCollection : public COrvValueItemCollection {
public:
    static constexpr EOrvCollection kType = OrvDeleteValues;
    explicit COrvDeleteValuesCollection(COrvPackage& package);

    // Adds an item and lends it; null for a double.
    COrvDeleteValue* AddItem(std::u16string_view target, std::u16string_view value,
                             std::uint32_t architecture) {
        return AddOwned(Make<COrvDeleteValue>(ShareKey(target, architecture), value, GetMemory()));
    }

protected:
    bool FinishItem() override;
};
