// discovery/service_processor.h - lifts services out of the captured registry.
#pragma once

#include <cstdint>

#include "foundation/reg_path.h"
#include "foundation/wide_string.h"

// Sees every captured key and value during the walk and claims what belongs to a service. Services
// are not carried yet, so that it claims nothing and their keys stay ordinary keys. The mode is 1
// for what the package creates and 3 for what it deletes.
class CServiceProcessor {
public:
    // Whether a key, given by its path on the real machine, stays with the registry stage.
    [[nodiscard]] bool CheckKey(const CRegPathW& path, std::uint32_t mode);
    // Whether a value stays with the registry stage; its key is given by its path in the mounted
    // hive.
    [[nodiscard]] bool CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode);
};
