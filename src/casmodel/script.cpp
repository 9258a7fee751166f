#include "casmodel/script.h"

#include "casmodel/element_table.h"

namespace {

constexpr SElement<CCasScript> kElements[] = {
    {u"/Filename", Value<&CCasScript::Filename, ReadString>},
    {u"/Cmdline", Value<&CCasScript::Cmdline, ReadString>},
    {u"/Disabled", Value<&CCasScript::Disabled, ReadBool>},
    {u"/Prelaunch", Value<&CCasScript::Prelaunch, ReadBool>},
    {u"/Isolated", Value<&CCasScript::Isolated, ReadBool>},
};

}  // namespace

void CCasScript::Read(CXmlReader& reader) { ReadElements(kElements, *this, reader); }
