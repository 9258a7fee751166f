#include "conversion/conversion.h"

namespace {

const std::string kStore = "C/Windows/WinSxS/";
const std::string kComponent = "x86_app.crt_1fc8b3b9a1e18e3b_9.0.21022.8_none_bcb86ed6ac711f91";

class AssemblyConversionTest : public ConversionTest {
protected:
    // Converts a capture with an assembly in its store, and an empty one, on a machine whose
    // Windows folder is `windows`, a path below the test's folder.
    void ConvertOn(const std::string& windows) {
        UseMachine("[system]\nwindows = '" + Utf8(m_folder.Name(windows)) +
                   "'\n[folders]\n[environment]\n[registry]\nhivelist = []\n");
        CTestTarget target = TestTarget();
        target.File("C/App/app.exe", "program")
            .File(kStore + "Manifests/" + kComponent + ".manifest",
                  "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">"
                  "<assemblyIdentity type=\"win32\" name=\"App.CRT\" version=\"9.0.21022.8\" "
                  "processorArchitecture=\"x86\" publicKeyToken=\"1fc8b3b9a1e18e3b\"/>"
                  "<file name=\"r.dll\"/><file name=\"P.dll\"/></assembly>")
            .File(kStore + "Manifests/" + kComponent + ".cat", "catalog")
            .File(kStore + kComponent + "/r.dll", "r")
            .File(kStore + kComponent + "/p.dll", "p");
        const CTestTarget other = OtherTarget().Sandbox().Hive(CTestHive().LoadableBytes());
        ASSERT_EQ(Convert(CTestPackage().Target(target).Target(other)), 0U);
        EXPECT_TRUE(m_logLines.empty());
    }
};

TEST_F(AssemblyConversionTest, AssemblyOfACaptureInTheMachinesStoreIsCarriedWhole) {
    ConvertOn("package/0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1/Device/C/Windows");
    const std::string folder = "Assemblies\\" + kComponent + "\\";
    const auto quoted = [](const std::string& text) { return "&quot;" + text + "&quot;"; };
    const std::string element =
        "<CreateAssemblies>\n<Assembly Id=\"App.CRT,type=" + quoted("win32") +
        ",version=" + quoted("9.0.21022.8") + ",publicKeyToken=" + quoted("1fc8b3b9a1e18e3b") +
        ",processorArchitecture=" + quoted("x86") +
        "\" AssemblyType=\"0\" ManifestRelativeSource=\"" + folder + kComponent +
        ".manifest\" CatalogRelativeSource=\"" + folder + kComponent +
        ".cat\"><File RelativeSource=\"" + folder + "p.dll\" /><File RelativeSource=\"" + folder +
        "r.dll\" /></Assembly>\n</CreateAssemblies>\n";
    EXPECT_EQ(Collection("CreateAssemblies"), element);
    EXPECT_EQ(Collection("CreateFiles"),
              "<CreateFiles>\n<File Target=\"C:\\App\\app.exe\" RelativeSource=\"C\\App\\app.exe\" "
              "/>\n</CreateFiles>\n");
    const std::string payload = "Assemblies/" + kComponent + "/";
    std::vector<std::string> files = {payload + "p.dll", payload + "r.dll",
                                      payload + kComponent + ".cat",
                                      payload + kComponent + ".manifest"};
    // What was gathered of one target goes with the next as well.
    EXPECT_EQ(Collection("CreateAssemblies", kOtherGuid), element);
    EXPECT_EQ(Payload(kOtherGuid), files);
    files.emplace_back("C/App/app.exe");
    EXPECT_EQ(Payload(), files);
}

TEST_F(AssemblyConversionTest, CaptureElsewhereKeepsItsAssembliesAsFiles) {
    m_folder.MakeFolder("machine/Windows/WinSxS/" + kComponent);
    ConvertOn("machine/Windows");
    EXPECT_EQ(Collection("CreateAssemblies"), "");
    EXPECT_EQ(Payload().size(), 5U);
    EXPECT_TRUE(Payload(kOtherGuid).empty());
}

}  // namespace
