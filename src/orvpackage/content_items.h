// orvpackage/content_items.h - items that are a record of their element, and collections of them.
//
// A record is a struct with a field for each attribute, and with
//   static SAttributes<SRecord> GetAttributes();  // its table
//   bool IsValid() const;                         // whether it has what the manifest needs
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "orvpackage/attribute_table.h"
#include "orvpackage/collection.h"

// An item that holds a record. The tokens of its paths are expanded.
template <class TContent>
class COrvContentItem : public COrvItem {
public:
    using SContent = TContent;

    [[nodiscard]] const TContent& GetContent() const { return m_content; }
    [[nodiscard]] bool IsValid() const override { return m_content.IsValid(); }

protected:
    // `content` is expanded already, and the hash may be made of it.
    COrvContentItem(std::uint64_t hash, TContent&& content)
        : COrvItem(hash), m_content(std::move(content)) {}

    // Expands the tokens of a record, and gives it back.
    static TContent& Expand(TContent& content) {
        ExpandTokens(TContent::GetAttributes(), content);
        return content;
    }

    TContent m_content;
};

// An item known by a text of its record. So a path with a token and its concrete form are one item.
template <auto kKey>
class COrvItemOf : public COrvContentItem<OwnerOf<kKey>> {
    using Base = COrvContentItem<OwnerOf<kKey>>;

public:
    static constexpr auto kKeyField = kKey;

    // Items of one text and different scopes are different items.
    explicit COrvItemOf(OwnerOf<kKey> content, std::u16string_view scope = {})
        : Base(HashKeyText({Base::Expand(content).*kKey, scope}), std::move(content)) {}

    [[nodiscard]] CStrW GetName() const override { return this->m_content.*kKey; }

protected:
    // Takes all that there is to say of the item but its key, which stays.
    void SetContent(OwnerOf<kKey> content) {
        Base::Expand(content).*kKey = this->m_content.*kKey;
        this->m_content = std::move(content);
    }
};

// A collection of items that are records: it reads and writes them by the record's table.
template <class TItem>
class COrvContentCollection : public COrvCollection {
public:
    using SContent = typename TItem::SContent;

protected:
    using COrvCollection::COrvCollection;

    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override {
        const SContent& content = static_cast<const TItem&>(item).GetContent();
        WriteAttributes(SContent::GetAttributes(), writer, GetPackage(), content);
        WriteInside(writer, content);
    }
    void ReadItem(CXmlReader& reader) override {
        ReadAttributes(SContent::GetAttributes(), reader, GetSanitizer(), ReadSoFar<SContent>());
    }

    // Writes the text or the children of an item's element; nothing for most kinds.
    virtual void WriteInside(CXmlWriter& /*writer*/, const SContent& /*content*/) const {}
};

// The same of items that are made of their record and nothing else.
template <class TItem, EOrvCollection kCollection>
class COrvCollectionOf : public COrvContentCollection<TItem> {
public:
    static constexpr EOrvCollection kType = kCollection;
    explicit COrvCollectionOf(COrvPackage& package)
        : COrvContentCollection<TItem>(package, kType) {}

    // Add an item and lend it; null for a double. The second is for one of which only the key is
    // said, or not more yet.
    TItem* AddItem(typename TItem::SContent content) {
        return this->AddOwned(this->template Make<TItem>(std::move(content)));
    }
    TItem* AddItem(const CStrW& key) {
        typename TItem::SContent content;
        content.*TItem::kKeyField = key;
        return AddItem(std::move(content));
    }

protected:
    bool FinishItem() override {
        return AddItem(this->template TakeRead<typename TItem::SContent>()) != nullptr;
    }
};
