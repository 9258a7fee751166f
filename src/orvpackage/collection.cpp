#include "orvpackage/collection.h"

#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"
#include "orvpackage/package.h"
#include "reporting/logger.h"

COrvCollection::COrvCollection(COrvPackage& package, const SOrvElement& element)
    : m_package(package),
      m_element(element),
      m_itemPath(u"/Package/" + CStrW(element.collection) + u'/' + CStrW(element.item)) {}

void COrvCollection::Clear() {
    m_items.Clear();
    m_isDirty = false;
}

bool COrvCollection::Add(std::unique_ptr<COrvItem>& item) {
    if (m_items.Find(item->GetHash()) != nullptr || !m_items.Insert(item)) {
        if (CLogger* const logger = m_package.GetLogger()) {
            logger->LogMessage(MessageDuplicate, nullptr, item->GetName().Get());
        }
        return false;
    }
    SetDirty(true);
    return true;
}

bool COrvCollection::Remove(const COrvItem& item) {
    if (m_items.Remove(item.GetHash()) == nullptr) {
        return false;
    }
    SetDirty(true);
    return true;
}

const COrvSanitizer& COrvCollection::GetSanitizer() const { return m_package.GetSanitizer(); }

void COrvCollection::WriteSanitized(CXmlWriter& writer, std::u16string_view name,
                                    const CStrW& value, std::uint32_t flags) const {
    writer.WriteAttribute(name, GetSanitizer().Sanitize(value, flags));
}

void COrvCollection::WriteIfAny(CXmlWriter& writer, std::u16string_view name, const CStrW& value,
                                std::uint32_t flags) const {
    if (!value.IsEmpty()) {
        WriteSanitized(writer, name, value, flags);
    }
}

void COrvCollection::Write(CXmlWriter& writer) const {
    if (IsEmpty() || writer.StartElement(m_element.collection, true) < 0) {
        return;
    }
    for (COrvItemCItr<COrvItem> item(*this); item.Get() != nullptr; item.Advance()) {
        if (item.Get()->IsValid() && writer.StartElement(m_element.item, false) >= 0) {
            WriteItem(writer, *item.Get());
            writer.EndElement(true);
        }
    }
    writer.EndElement(true);
}

bool COrvCollection::Read(CXmlReader& reader) {
    const std::u16string_view path = reader.GetPath();
    const std::size_t length = m_itemPath.GetLength();
    if (path.size() < length || !m_itemPath.EqualsNoCase(path.substr(0, length))) {
        return false;
    }
    const std::u16string_view child = path.substr(length);
    if (!child.empty()) {
        return child.front() == u'/' && ReadChild(child, reader);
    }
    if (reader.IsSyntheticEnd() || reader.GetNodeType() == platform::EXmlNode::EndElement) {
        FinishOrLog(reader);
        return true;
    }
    if (reader.GetNodeType() == platform::EXmlNode::Element) {
        ReadAttributes(reader);
        return true;
    }
    return reader.GetNodeType() == platform::EXmlNode::Text && ReadText(reader);
}

void COrvCollection::ReadAttributes(CXmlReader& reader) {
    for (int status = reader.MoveToFirstAttribute(); status == 0;
         status = reader.MoveToNextAttribute()) {
        CStrW name;
        CStrW value;
        if (reader.GetLocalName(name) == 0 && reader.GetValue(value) == 0) {
            ReadAttribute(name, value);
        }
    }
}

void COrvCollection::FinishOrLog(const CXmlReader& reader) {
    CLogger* const logger = m_package.GetLogger();
    if (!FinishItem() && logger != nullptr) {
        logger->LogMessage(MessageItemRefused, nullptr,
                           UnsignedToText(reader.GetLineNumber()).Get());
    }
}

bool COrvCollection::ReadText(CXmlReader& /*reader*/) { return false; }

bool COrvCollection::ReadChild(std::u16string_view /*child*/, CXmlReader& /*reader*/) {
    return false;
}
