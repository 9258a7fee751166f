#include <memory>

#include "driver/cas_to_orv_converter.h"
#include "traversal/cas_file_traverse_manager.h"

void CCasToOrvConverter::ProcessFiles(COrvPackage& package, const CCasTarget& target,
                                      CProgressEvent& parent) {
    CCasFileTraverseManager manager(m_assemblyProcessor, package);
    const CFilePathW device(TargetFolder(target), CFilePathSegmentW(u"Device"));
    // The first is where captured paths begin, the second what is walked.
    manager.SetRoot(device);
    manager.AddRoot(device);
    manager.SetOutputs(m_outputFolder, m_outputNames);
    // Counting goes through all folders once more, because the host expects a total from the start.
    manager.SetProgress(std::make_unique<CProgressEvent>(manager.CountItems(), &parent));
    manager.Start();
    // Throws what the walk has thrown. The frame of the stage logs it.
    manager.Wait();
}
