#include <utility>

#include "driver/cas_to_orv_converter.h"
#include "orvpackage/service_collections.h"
#include "reporting/record.h"

namespace {

constexpr std::u16string_view kLocalSystem = u"LocalSystem";

// The account in the form of the service manager: a local account after ".\", and an empty text for
// the local system. An empty name counts as a local account.
CStrW AccountOf(const CStrW& name) {
    const std::u16string_view text = name;
    // The domain before the name of the local system does not count.
    const std::size_t backslash = text.find(u'\\');
    const bool hasDomain = backslash != std::u16string_view::npos;
    if (EqualsNoCase(hasDomain ? text.substr(backslash + 1) : text, kLocalSystem)) {
        return {};
    }
    return hasDomain ? name : uR"(.\)" + name;
}

void AddService(COrvPackage& package, const CCasService& service) {
    SRecordLine line{.thing = EThing::Service,
                     .reason = EReason::Deleted,
                     .source = service.Name,
                     .collection = u"DeleteServices",
                     .target = service.Name};
    // To delete a service takes its name alone, so the other fields are not looked at.
    if (service.DeleteFlag) {
        if (package.Get<COrvDeleteServicesCollection>().AddItem(service.Name) == nullptr) {
            line.reason = EReason::SameItem;
        }
        GetRecord().Add(line);
        return;
    }
    SOrvService content;
    content.name = service.Name;
    // The profile may state any number. An item does not check what it is given, so it is done
    // here.
    content.serviceType = CheckServiceType(service.Type);
    content.startType = CheckStartType(service.StartType);
    content.errorControl = CheckErrorControl(service.ErrorControl);
    content.displayName = CheckDisplayName(service.DisplayName);
    content.description = service.Description;
    content.binary = service.VirtualPath;
    content.username = AccountOf(service.AccountName);
    const COrvCreateService* const added =
        package.Get<COrvCreateServicesCollection>().AddItem(std::move(content));
    line.reason = added == nullptr   ? EReason::SameItem
                  : added->IsValid() ? EReason::Created
                                     : EReason::ItemIncomplete;
    line.collection = u"CreateServices";
    GetRecord().Add(line);
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
    // Last, because the first item of a service stays: the profile wins over the registry.
    m_serviceProcessor.Apply(package);
}
