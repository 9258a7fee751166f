#include "driver/cas_to_orv_converter.h"
#include "orvpackage/service_collections.h"

namespace {

constexpr std::u16string_view kLocalSystem = u"LocalSystem";

// The account as a service manager wants it: local ones behind ".\", and an empty text for the
// local system's. The empty name is a local one like any other.
CStrW AccountOf(const CStrW& name) {
    const std::u16string_view text = name;
    const std::size_t backslash = text.find(u'\\');
    const bool hasDomain = backslash != std::u16string_view::npos;
    if (EqualsNoCase(hasDomain ? text.substr(backslash + 1) : text, kLocalSystem)) {
        return {};
    }
    return hasDomain ? name : uR"(.\)" + name;
}

void AddService(COrvPackage& package, const CCasService& service) {
    if (service.DeleteFlag) {
        package.Get<COrvDeleteServicesCollection>().AddItem(service.Name);
        return;
    }
    COrvCreateService* const item =
        package.Get<COrvCreateServicesCollection>().AddItem(service.Name);
    if (item == nullptr) {
        return;
    }
    item->SetDisplayName(CheckDisplayName(service.DisplayName));
    item->SetDescription(service.Description);
    item->SetBinary(service.VirtualPath);
    item->SetServiceType(CheckServiceType(service.Type));
    item->SetStartType(CheckStartType(service.StartType));
    item->SetErrorControl(CheckErrorControl(service.ErrorControl));
    item->SetUsername(AccountOf(service.AccountName));
}

}  // namespace

void CCasToOrvConverter::ProcessServices(COrvPackage& package, const CCasTarget& target,
                                         CProgressEvent& parent) {
    CProgressEvent progress(static_cast<std::uint32_t>(target.Services.size()), &parent);
    for (const auto& service : target.Services) {
        AddService(package, *service);
        progress.SetMessage(u"Processing service " + service->Name);
        progress.Step();
    }
    progress.Finish();
    // Last, so that what the profile says of a service goes before what the registry says.
    m_serviceProcessor.Apply(package);
}
