// casmodel/service.h - a Windows service of the application.
#pragma once

#include <cstdint>

#include "foundation/wide_string.h"

class CXmlReader;

// A service that a target installs or, with DeleteFlag, removes. The numbers have the meaning of
// the Windows service manager.
class CCasService {
public:
    virtual ~CCasService() = default;

    void Read(CXmlReader& reader);

    CStrW Name;
    CStrW DisplayName;
    CStrW Description;
    CStrW AccountName;
    CStrW VirtualPath;  // of the program, without quotes
    CStrW Security;
    std::uint32_t Type = 0;
    std::uint32_t StartType = 0;
    std::uint32_t ErrorControl = 0;
    bool DeleteFlag = false;
    bool Mangled = false;
};
