#include "casmodel/prelaunch_analysis.h"

#include "casmodel/element_table.h"

namespace {

constexpr SElement<CCasPrelaunchAnalysisFile> kFileElements[] = {
    {u"/Path", Value<&CCasPrelaunchAnalysisFile::Path, ReadString>},
    {u"/MinVersion", Value<&CCasPrelaunchAnalysisFile::MinVersion, ReadString>},
    {u"/MaxVersion", Value<&CCasPrelaunchAnalysisFile::MaxVersion, ReadString>},
};

constexpr SElement<CCasPrelaunchAnalysisApplication> kApplicationElements[] = {
    {u"/ID", Value<&CCasPrelaunchAnalysisApplication::ID, ReadString>},
    {u"/Name", Value<&CCasPrelaunchAnalysisApplication::Name, ReadString>},
    {u"/MinVersion", Value<&CCasPrelaunchAnalysisApplication::MinVersion, ReadString>},
    {u"/MaxVersion", Value<&CCasPrelaunchAnalysisApplication::MaxVersion, ReadString>},
};

// The items repeat directly here, without an element around them.
constexpr SElement<CCasPrelaunchAnalysis> kElements[] = {
    {u"/Enabled", Value<&CCasPrelaunchAnalysis::Enabled, ReadBool>},
    {u"/File", Item<&CCasPrelaunchAnalysis::Files>},
    {u"/Application", Item<&CCasPrelaunchAnalysis::Applications>},
};

}  // namespace

void CCasPrelaunchAnalysisFile::Read(CXmlReader& reader) {
    ReadElements(kFileElements, *this, reader);
}

void CCasPrelaunchAnalysisApplication::Read(CXmlReader& reader) {
    ReadElements(kApplicationElements, *this, reader);
}

void CCasPrelaunchAnalysis::Read(CXmlReader& reader) { ReadElements(kElements, *this, reader); }
