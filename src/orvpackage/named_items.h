// orvpackage/named_items.h - items known by a plain name, and what their collections share.
#pragma once

#include <string_view>

#include "orvpackage/collection.h"

// An item known by a name that is no path: no converter touches it.
class COrvNamedItem : public COrvItem {
public:
    [[nodiscard]] CStrW GetName() const override { return m_name; }
    [[nodiscard]] bool IsValid() const override { return !m_name.IsEmpty(); }

protected:
    // Items of one name and different scopes are different items.
    explicit COrvNamedItem(const CStrW& name, std::u16string_view scope = {})
        : COrvItem(HashKeyText({name.View(), scope})), m_name(name) {}

private:
    CStrW m_name;
};

// A collection whose items' elements begin with their name, as it stands.
class COrvNamedItemCollection : public COrvCollection {
protected:
    // `nameAttribute` is what the name is called in the manifest; it lasts.
    COrvNamedItemCollection(COrvPackage& package, EOrvCollection type,
                            const char16_t* nameAttribute)
        : COrvCollection(package, type), m_nameAttribute(nameAttribute) {}

    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    // The name read of the element that ends; forgets it.
    [[nodiscard]] CStrW TakeReadName();

private:
    const char16_t* m_nameAttribute;
};
