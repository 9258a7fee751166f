#include "driver/cas_to_orv_converter.h"

void CCasToOrvConverter::ProcessAssemblies(COrvPackage& package, const CCasTarget& /*target*/,
                                           CProgressEvent& /*parent*/) {
    m_assemblyProcessor.AddAssemblies(package, package.GetFolder());
}
