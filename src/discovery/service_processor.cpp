#include "discovery/service_processor.h"

bool CServiceProcessor::CheckKey(const CRegPathW& /*path*/, std::uint32_t /*mode*/) { return true; }

bool CServiceProcessor::CheckValue(const CRegPathW& /*key*/, const CStrW& /*name*/,
                                   std::uint32_t /*mode*/) {
    return true;
}
