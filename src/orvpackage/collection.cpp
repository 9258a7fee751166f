#include "orvpackage/collection.h"

#include <atomic>

#include "foundation/file_system.h"
#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"
#include "orvpackage/package.h"
#include "orvpackage/prefetch.h"
#include "reporting/logger.h"
#include "reporting/record.h"

namespace {

// The items that are asked for are this many strides ahead of the one that is written: three for
// step 0, one for step 2. In a stride of items, memory has the time to arrive.
constexpr unsigned kPrefetchSteps = 3;
constexpr std::size_t kPrefetchStride = 4;
constexpr std::size_t kPrefetchedItem = 64;  // the size of a value, of which there are most

// The elements of the manifest, by EOrvCollection.
constexpr SOrvElement kElements[kOrvCollections] = {
    {u"CreateFolders", u"Folder"},
    {u"DeleteFolders", u"Folder"},
    {u"CreateFiles", u"File"},
    {u"DeleteFiles", u"File"},
    {u"CreateKeys", u"Key"},
    {u"DeleteKeys", u"Key"},
    {u"CreateValues", u"Value"},
    {u"DeleteValues", u"Value"},
    {u"CreateShortcuts", u"Shortcut"},
    {u"DeleteShortcuts", u"Shortcut"},
    {u"CreateEnvVars", u"EnvVar"},
    {u"DeleteEnvVars", u"EnvVar"},
    {u"CreateServices", u"Service"},
    {u"DeleteServices", u"Service"},
    {u"ControlServices", u"Service"},
    {u"CreateAssemblies", u"Assembly"},
    {u"DeleteAssemblies", u"Assembly"},
    {u"PreActions", u"Action"},
    {u"PostActions", u"Action"},
};

}  // namespace

COrvCollection::COrvCollection(COrvPackage& package, EOrvCollection type)
    : m_package(package),
      m_type(type),
      m_element(kElements[type]),
      m_itemPath(u"/Package/" + CStrW(m_element.collection) + u'/' + CStrW(m_element.item)) {}

void COrvCollection::Clear() {
    m_items.Clear();
    m_isDirty = false;
}

bool COrvCollection::Add(COrvItemPtr<COrvItem>& item) {
    if (!m_items.Insert(item)) {
        if (CLogger* const logger = m_package.GetLogger()) {
            logger->LogMessage(MessageDuplicate, nullptr, item->GetName().Get());
        }
        return false;
    }
    SetDirty(true);
    return true;
}

bool COrvCollection::Remove(const COrvItem& item) {
    // The item ends with the pointer that Remove gives; its memory stays until all items end.
    if (m_items.Remove(item.GetHash()) == nullptr) {
        return false;
    }
    SetDirty(true);
    return true;
}

const COrvSanitizer& COrvCollection::GetSanitizer() const { return m_package.GetSanitizer(); }

std::size_t COrvCollection::Write(CXmlWriter& writer) const {
    if (IsEmpty() || writer.StartElement(m_element.collection, true) < 0) {
        return 0;
    }
    // Made here, before other threads read it below.
    const std::pmr::vector<COrvItemTable::SEntry>& order = m_items.GetOrder();
    std::atomic<std::size_t> count = 0;  // several threads write parts
    const auto write = [&](CXmlWriter& part, std::size_t first, std::size_t last) {
        std::size_t written = 0;
        for (std::size_t place = first; place < last; ++place) {
            PrefetchAhead(place);
            const COrvItem* const item = order[place].item;
            written += item != nullptr && WriteElement(part, *item) ? 1 : 0;
        }
        count += written;
    };
    writer.WriteElements(order.size(), write);
    writer.EndElement(true);
    return count;
}

void COrvCollection::PrefetchAhead(std::size_t place) const {
    const std::pmr::vector<COrvItemTable::SEntry>& order = m_items.GetOrder();
    for (unsigned step = 0; step < kPrefetchSteps; ++step) {
        // Step 0 looks the farthest ahead, because the later steps read what it has asked for.
        const std::size_t ahead = place + (kPrefetchSteps - step) * kPrefetchStride;
        if (ahead < order.size() && order[ahead].item != nullptr) {
            PrefetchItem(*order[ahead].item, step);
        }
    }
}

void COrvCollection::PrefetchItem(const COrvItem& item, unsigned step) const {
    if (step == 0) {
        Prefetch(&item, kPrefetchedItem);
    }
}

bool COrvCollection::WriteElement(CXmlWriter& writer, const COrvItem& item) const {
    if (!CheckItem(item) || writer.StartElement(m_element.item, false) < 0) {
        return false;
    }
    WriteItem(writer, item);
    writer.EndElement(true);
    return true;
}

bool COrvCollection::CheckItem(const COrvItem& item) const {
    if (item.IsValid()) {
        return true;
    }
    // Whoever adds a shortcut or a service tells of it: the one has its file, and a service that
    // only the registry has is not lost.
    if (m_type != OrvCreateShortcuts && m_type != OrvCreateServices) {
        GetRecord().Add({.thing = EThing::Manifest,
                         .reason = EReason::ItemIncomplete,
                         .collection = m_element.collection,
                         .target = item.GetName()});
    }
    return false;
}

void COrvCollection::CheckItems() const {
    // An entry without an item is that of a removed one.
    for (const COrvItemTable::SEntry& entry : m_items.GetOrder()) {
        static_cast<void>(entry.item == nullptr || CheckItem(*entry.item));
    }
}

bool COrvCollection::Read(CXmlReader& reader) {
    const std::u16string_view path = reader.GetPath();
    const std::size_t length = m_itemPath.GetLength();
    if (path.size() < length || !m_itemPath.EqualsNoCase(path.substr(0, length))) {
        return false;
    }
    const std::u16string_view child = path.substr(length);
    if (!child.empty()) {
        // Without the slash it is another element, whose name only begins in the same way.
        return child.front() == u'/' && ReadChild(child, reader);
    }
    // An empty element has a synthetic end, so each item is finished exactly once. There the node
    // is still an element, so this comes before the test for a start tag.
    if (reader.IsSyntheticEnd() || reader.GetNodeType() == platform::EXmlNode::EndElement) {
        FinishOrLog(reader);
        return true;
    }
    if (reader.GetNodeType() == platform::EXmlNode::Element) {
        ReadItem(reader);
        return true;
    }
    return reader.GetNodeType() == platform::EXmlNode::Text && ReadText(reader);
}

void COrvCollection::FinishOrLog(const CXmlReader& reader) {
    CLogger* const logger = m_package.GetLogger();
    if (!FinishItem() && logger != nullptr) {
        // By then the item is gone, so the message names the line of the manifest.
        logger->LogMessage(MessageItemRefused, nullptr,
                           UnsignedToText(reader.GetLineNumber()).Get());
    }
}

bool COrvCollection::ReadText(CXmlReader& /*reader*/) { return false; }

bool COrvCollection::ReadChild(std::u16string_view /*child*/, CXmlReader& /*reader*/) {
    return false;
}

void COrvCollection::DeletePayload(const CStrW& relativeSource, const CStrW& kept) const {
    const CFilePathW payload(m_package.GetFolder(), CFilePathW(relativeSource));
    // A source may be the captured file itself, and a package must not be changed.
    if (payload.NotEquals(CFilePathW(kept))) {
        static_cast<void>(DeleteFileForce(payload));
    }
}
