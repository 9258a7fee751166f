#include "driver/cas_to_orv_converter.h"
#include "foundation/number_text.h"
#include "platform/com.h"

void CCasToOrvConverter::ProcessProperties(COrvPackage& package, const CCasTarget& target,
                                           CProgressEvent& /*parent*/) {
    COrvPropertiesCollection& properties = package.GetProperties();
    properties.Name = m_package.GetName() + u'_' + CStrW(platform::GuidToText(target.Guid));
    properties.Version = IntToDecimal(static_cast<std::int32_t>(target.Ver));
    properties.Architecture = IsTarget64Bit(target) ? OrvArchitectureX64 : OrvArchitectureX86;
    properties.SetDirty(true);
}
