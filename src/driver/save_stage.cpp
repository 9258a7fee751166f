#include "driver/cas_to_orv_converter.h"
#include "foundation/file_system.h"

void CCasToOrvConverter::SaveTarget(COrvPackage& package, const CCasTarget& /*target*/,
                                    CProgressEvent& /*parent*/) {
    // A failure to delete or save the manifest is not reported: callers see that the manifest is
    // missing or old.
    static_cast<void>(DeleteFileForce(package.GetManifestPath()));
    static_cast<void>(CreateDirectoryChain(package.GetFolder()));
    package.Save();
}
