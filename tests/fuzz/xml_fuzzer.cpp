// Feeds arbitrary bytes to the readers of XML: of the profile, the sandbox file and side-by-side
// manifests. Each of them gets every input, as a file, since an input is read in full by one alone.
#include "casmodel/isolation_environment.h"
#include "casmodel/profile.h"
#include "discovery/assembly_info.h"
#include "foundation/file_path.h"
#include "foundation/xml_escape.h"
#include "foundation/xml_reader.h"
#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "platform/status.h"
#include "support/temp_folder.h"

namespace {

// Goes through the document by itself: tags pair up, and there is no more of it than was given.
void ReadTokens(const CFilePathW& file, std::size_t size) {
    CXmlReader reader;
    reader.SetValueFilter(&UnescapeXmlText);
    Require(reader.Open(file) == S_OK);
    std::size_t depth = 0;
    std::size_t count = 0;
    CStrW value;
    for (EXmlToken token = reader.ReadNext(); token != XmlTokenNone; token = reader.ReadNext()) {
        Require(++count <= size);
        if (token == XmlTokenElement) {
            ++depth;
            Require(reader.GetPath().starts_with(u'/'));
            while (reader.MoveToNextAttribute() == S_OK) {
                reader.GetValue(value);
                Require(value.GetLength() <= size);
            }
        } else if (token == XmlTokenEndElement) {
            Require(depth-- > 0);
        } else if (token == XmlTokenText) {
            reader.GetValue(value);
            Require(value.GetLength() <= size);
        }
    }
    Require(reader.ReadNext() == XmlTokenNone);
}

void RequireRead(int status) { Require(status == ERROR_SUCCESS || status == ERROR_NOT_FOUND); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTempFolder folder;
    const CFilePathW file(folder.WriteFile("a.xml", BytesOf(data, size)));
    ReadTokens(file, size);
    CCasProfile profile;
    RequireRead(profile.ReadFromFile(file));
    Require(profile.Targets.size() + profile.Apps.size() + profile.Scripts.size() <= size);
    CCasIsolationEnvironment environment;
    RequireRead(environment.ReadFromFile(file));
    Require(environment.Rules.size() <= size);
    CAssemblyInfo assembly(file, false);
    assembly.ReadManifest();
    assembly.MakeIdentity();
    Require(assembly.GetFiles().size() <= size);
    return 0;
}
