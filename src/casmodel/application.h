// casmodel/application.h - the applications that a package publishes.
//
// A package names them twice: the profile with their icons and file types, each target with the
// command that starts them there. The conversion uses neither.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/wide_string.h"

class CXmlReader;

class CCasIcon {
public:
    virtual ~CCasIcon() = default;

    void Read(CXmlReader& reader);

    std::uint32_t Offset = 0;
    std::uint32_t Size = 0;
    std::uint32_t MultiImage = 0;
    std::uint32_t Default = 0;
};

// An icon in a later format. Icons are counted; their content is skipped.
class CCasIcon3 {
public:
    virtual ~CCasIcon3() = default;

    void Read(CXmlReader& reader);
};

// A file type association.
class CCasFta {
public:
    virtual ~CCasFta() = default;

    void Read(CXmlReader& reader);

    CStrW Name;
    CStrW Description;
    std::vector<CStrW> Executables;
    std::vector<CStrW> Extensions;
    std::vector<CStrW> MimeTypes;
};

class CCasProfileApplication {
public:
    virtual ~CCasProfileApplication() = default;

    void Read(CXmlReader& reader);

    CStrW Name;
    std::vector<std::unique_ptr<CCasIcon>> Icons;
    std::vector<std::unique_ptr<CCasIcon3>> Icons3;
    std::vector<std::unique_ptr<CCasFta>> FTAs;
};

class CCasTargetApplication {
public:
    virtual ~CCasTargetApplication() = default;

    void Read(CXmlReader& reader);

    bool IEApp = false;
    bool IsIE64 = false;
    CStrW Name;
    CStrW InitialExe;
    CStrW InitialExeVirtual;
    CStrW WorkingDir;
    CStrW WorkingDirVirtual;
    CStrW CommandLine;
    CStrW Version;
    std::vector<std::unique_ptr<CCasFta>> FTAs;
};
