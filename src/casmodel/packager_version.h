// casmodel/packager_version.h - the version of the packager that made or changed a profile or
// target.
#pragma once

#include <cstdint>

class CXmlReader;

// The four parts of a version number.
class CCasPackagerVersion {
public:
    virtual ~CCasPackagerVersion() = default;

    void Read(CXmlReader& reader);

    std::uint32_t MajorUpper = 0;
    std::uint32_t MajorLower = 0;
    std::uint32_t MinorUpper = 0;
    std::uint32_t MinorLower = 0;
};
