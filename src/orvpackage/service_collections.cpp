#include "orvpackage/service_collections.h"

#include <algorithm>
#include <array>

#include "foundation/file_path_converter.h"
#include "foundation/number_text.h"
#include "foundation/xml_writer.h"
#include "orvpackage/crypt.h"
#include "orvpackage/multi_string.h"
#include "orvpackage/sanitizer.h"

namespace {

// Drivers of two kinds, and services with a process of their own or a shared one, each also
// interactive.
constexpr std::array<std::uint32_t, 6> kServiceTypes = {1, 2, 16, 32, 272, 288};
constexpr std::uint32_t kNoServiceType = 0;
constexpr std::uint32_t kDisabled = 4;
constexpr std::uint32_t kNormalErrors = 1;
constexpr std::uint32_t kErrorControls = 4;
constexpr std::size_t kMaxDisplayName = 256;

// The attributes of a service that are texts as they stand.
struct STextAttribute {
    std::u16string_view name;
    CStrW SOrvService::*field;
};
constexpr STextAttribute kPlainTexts[] = {
    {u"Description", &SOrvService::description},
    {u"LoadOrder", &SOrvService::loadOrder},
    {u"Username", &SOrvService::username},
    {u"EncryptedPassword", &SOrvService::encryptedPassword},
};

struct SReadControl {
    std::uint32_t action = 1;
    CDoubleNullStringW arguments;
};

}  // namespace

std::uint32_t CheckServiceType(std::uint32_t type) {
    const bool isKnown =
        std::find(kServiceTypes.begin(), kServiceTypes.end(), type) != kServiceTypes.end();
    return isKnown ? type : kNoServiceType;
}

std::uint32_t CheckStartType(std::uint32_t type) { return std::min(type, kDisabled); }

std::uint32_t CheckErrorControl(std::uint32_t control) {
    return control < kErrorControls ? control : kNormalErrors;
}

CStrW CheckDisplayName(const CStrW& name) {
    return name.GetLength() <= kMaxDisplayName ? name : CStrW();
}

bool COrvCreateService::IsValid() const {
    return COrvNamedItem::IsValid() && m_content.serviceType != kNoServiceType &&
           !m_content.binary.IsEmpty();
}

void COrvCreateService::SetBinary(const CStrW& text) {
    m_content.binary = text;
    ExpandFileTokens(m_content.binary);
}

void COrvCreateService::SetArguments(const CStrW& text) {
    m_content.arguments = text;
    ExpandFileTokens(m_content.arguments);
}

void COrvControlService::SetArguments(const CDoubleNullStringW& strings) {
    m_arguments = ExpandMultiString(strings);
}

void COrvCreateServicesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvNamedItemCollection::WriteItem(writer, item);
    const SOrvService& service = static_cast<const COrvCreateService&>(item).GetContent();
    writer.WriteAttribute(u"ServiceType", UnsignedToText(service.serviceType));
    writer.WriteAttribute(u"StartType", UnsignedToText(service.startType));
    writer.WriteAttribute(u"ErrorControl", UnsignedToText(service.errorControl));
    WriteIfAny(writer, u"DisplayName", service.displayName);
    WriteIfAny(writer, u"Description", service.description);
    WriteIfAny(writer, u"Binary", service.binary, SanitizeNoRegPaths);
    WriteIfAny(writer, u"Arguments", service.arguments, SanitizeNoRegPaths);
    WriteIfAny(writer, u"LoadOrder", service.loadOrder);
    if (service.dependencies.GetCount() != 0) {
        writer.WriteAttribute(u"Dependencies", FormatMultiString(service.dependencies));
    }
    WriteIfAny(writer, u"Username", service.username);
    WriteIfAny(writer, u"EncryptedPassword", service.encryptedPassword);
}

void COrvCreateServicesCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvNamedItemCollection::ReadAttribute(name, value);
    auto& service = ReadSoFar<SOrvService>();
    for (const STextAttribute& text : kPlainTexts) {
        if (name.EqualsNoCase(text.name)) {
            service.*text.field = value;
            return;
        }
    }
    if (name.EqualsNoCase(u"ServiceType")) {
        service.serviceType = ReadCheckedNumber32(value);
    } else if (name.EqualsNoCase(u"StartType")) {
        service.startType = ReadCheckedNumber32(value);
    } else if (name.EqualsNoCase(u"ErrorControl")) {
        service.errorControl = ReadCheckedNumber32(value);
    } else if (name.EqualsNoCase(u"DisplayName")) {
        service.displayName = CheckDisplayName(value);
    } else if (name.EqualsNoCase(u"Binary")) {
        service.binary = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    } else if (name.EqualsNoCase(u"Arguments")) {
        service.arguments = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    } else if (name.EqualsNoCase(u"Dependencies")) {
        service.dependencies = ParseMultiString(value);
    } else if (name.EqualsNoCase(u"Password")) {
        // Clear text may come in, from a manifest made by hand; it never goes out.
        service.encryptedPassword = EncryptPassword(value);
    }
}

bool COrvCreateServicesCollection::FinishItem() {
    const auto read = TakeRead<SOrvService>();
    COrvCreateService* const added = AddItem(TakeReadName());
    if (added == nullptr) {
        return false;
    }
    added->SetServiceType(CheckServiceType(read.serviceType));
    added->SetStartType(CheckStartType(read.startType));
    added->SetErrorControl(CheckErrorControl(read.errorControl));
    added->SetDisplayName(read.displayName);
    added->SetDescription(read.description);
    added->SetBinary(read.binary);
    added->SetArguments(read.arguments);
    added->SetLoadOrder(read.loadOrder);
    added->SetDependencies(read.dependencies);
    added->SetUsername(read.username);
    added->SetEncryptedPassword(read.encryptedPassword);
    return true;
}

void COrvControlServicesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvNamedItemCollection::WriteItem(writer, item);
    const auto& service = static_cast<const COrvControlService&>(item);
    writer.WriteAttribute(u"Action", UnsignedToText(service.Action));
    if (service.GetArguments().GetCount() != 0) {
        writer.WriteAttribute(u"Arguments", FormatMultiString(GetSanitizer().SanitizeMulti(
                                                service.GetArguments(), SanitizeNoRegPaths)));
    }
}

void COrvControlServicesCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvNamedItemCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(u"Action")) {
        ReadSoFar<SReadControl>().action = ReadPlainNumber32(value);
    } else if (name.EqualsNoCase(u"Arguments")) {
        // Sanitized string by string on the way out, but desanitized as one text.
        ReadSoFar<SReadControl>().arguments =
            ParseMultiString(GetSanitizer().Desanitize(value, SanitizeNoRegPaths));
    }
}

bool COrvControlServicesCollection::FinishItem() {
    const auto read = TakeRead<SReadControl>();
    COrvControlService* const added = AddItem(TakeReadName());
    if (added != nullptr) {
        added->Action = read.action;
        added->SetArguments(read.arguments);
    }
    return added != nullptr;
}
