// casmodel/script.h - a script that belongs to the application.
#pragma once

#include "foundation/wide_string.h"

class CXmlReader;

// A script of the profile or of a target. Its file is in a folder "Scripts", beside the profile or
// in the target's folder.
class CCasScript {
public:
    virtual ~CCasScript() = default;

    void Read(CXmlReader& reader);

    CStrW Filename;
    CStrW Cmdline;
    bool Disabled = false;
    bool Prelaunch = false;  // runs before the application; otherwise after it
    bool Isolated = false;
};
