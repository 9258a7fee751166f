// casmodel/prelaunch_analysis.h - what a client checks before it launches the application.
#pragma once

#include <memory>
#include <vector>

#include "foundation/wide_string.h"

class CXmlReader;

// A file that must exist.
class CCasPrelaunchAnalysisFile {
public:
    virtual ~CCasPrelaunchAnalysisFile() = default;

    void Read(CXmlReader& reader);

    CStrW Path;
    CStrW MinVersion;
    CStrW MaxVersion;
};

// An application that must be installed.
class CCasPrelaunchAnalysisApplication {
public:
    virtual ~CCasPrelaunchAnalysisApplication() = default;

    void Read(CXmlReader& reader);

    CStrW ID;
    CStrW Name;
    CStrW MinVersion;
    CStrW MaxVersion;
};

// The conditions of a profile or of a target. The conversion does not use them.
class CCasPrelaunchAnalysis {
public:
    virtual ~CCasPrelaunchAnalysis() = default;

    void Read(CXmlReader& reader);

    bool Enabled = false;
    std::vector<std::unique_ptr<CCasPrelaunchAnalysisFile>> Files;
    std::vector<std::unique_ptr<CCasPrelaunchAnalysisApplication>> Applications;
};
