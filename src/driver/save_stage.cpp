#include "driver/cas_to_orv_converter.h"
#include "foundation/file_system.h"

void CCasToOrvConverter::SaveTarget(COrvPackage& package, const CCasTarget& /*target*/,
                                    CProgressEvent& /*parent*/) {
    // A manifest that cannot be deleted or saved is nothing that a conversion reports.
    static_cast<void>(DeleteFileForce(package.GetManifestPath()));
    static_cast<void>(CreateDirectoryChain(package.GetFolder()));
    package.Save();
}
