#include "discovery/assembly_processor.h"

bool CAssemblyProcessor::CheckFile(const CFilePathW& /*path*/, std::uint32_t /*mode*/) {
    return true;
}

bool CAssemblyProcessor::CheckValue(const CRegPathW& /*key*/, const CStrW& /*name*/,
                                    std::uint32_t /*mode*/) {
    return true;
}

void CAssemblyProcessor::AddAssemblies(COrvPackage& /*package*/,
                                       const CFilePathW& /*packageFolder*/) {}
