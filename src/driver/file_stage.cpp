#include <memory>

#include "driver/cas_to_orv_converter.h"
#include "traversal/cas_file_traverse_manager.h"

void CCasToOrvConverter::ProcessFiles(COrvPackage& package, const CCasTarget& target,
                                      CProgressEvent& parent) {
    CCasFileTraverseManager manager(m_assemblyProcessor, package);
    const CFilePathW device(TargetFolder(target), CFilePathSegmentW(u"Device"));
    manager.SetRoot(device);
    manager.AddRoot(device);
    manager.SetOutputs(m_outputFolder, m_outputNames);
    manager.SetProgress(std::make_unique<CProgressEvent>(manager.CountItems(), &parent));
    manager.Start();
    manager.Wait();
}
