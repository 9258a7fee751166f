#include "driver/cas_to_orv_converter.h"
#include "foundation/number_text.h"
#include "platform/com.h"

void CCasToOrvConverter::ProcessProperties(COrvPackage& package, const CCasTarget& target,
                                           CProgressEvent& /*parent*/) {
    COrvPropertiesCollection& properties = package.GetProperties();
    // Every target is a package of its own, so the names differ by the GUID.
    properties.Name = m_package.GetName() + u'_' + CStrW(platform::GuidToText(target.Guid));
    // Written as a signed number, so a version above 0x7FFFFFFF has a minus sign. This must stay.
    properties.Version = IntToDecimal(static_cast<std::int32_t>(target.Ver));
    properties.Architecture = IsTarget64Bit(target) ? OrvArchitectureX64 : OrvArchitectureX86;
    properties.SetDirty(true);
}
