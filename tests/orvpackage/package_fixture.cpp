#include "orvpackage/package_fixture.h"

#include "platform/status.h"
#include "support/manifest.h"

namespace {

std::string Items(const std::string& manifest) {
    const std::string head = "</Properties>\n";
    const std::size_t start = manifest.find(head) + head.size();
    return manifest.substr(start, manifest.find("</Package>") - start);
}

}  // namespace

std::string PackageTest::Saved() {
    m_package.GetProperties().SetDirty(true);
    EXPECT_EQ(m_package.Save(), S_OK);
    return ReadManifestFile(m_folder.ReadFile("out/app.orv"));
}

std::string PackageTest::SavedItems() { return Items(Saved()); }

std::string PackageTest::SavedItemsAgain() { return SavedCopy("out/app.orv"); }

std::string PackageTest::SavedAfterReading(const std::string& collections) {
    WriteManifest(collections);
    return SavedCopy("m.orv");
}

void PackageTest::Read(const std::string& collections) {
    WriteManifest(collections);
    EXPECT_TRUE(LoadManifest(Manifest("m.orv"), m_package));
}

std::string PackageTest::SavedCopy(std::string_view manifest) {
    COrvPackage copy;
    EXPECT_TRUE(LoadManifest(Manifest(manifest), copy));
    copy.SetManifestPath(Manifest("out/copy.orv"));
    EXPECT_EQ(copy.Save(), S_OK);
    return Items(ReadManifestFile(m_folder.ReadFile("out/copy.orv")));
}

void PackageTest::WriteManifest(const std::string& collections) {
    m_folder.WriteFile("m.orv", "<Package>" + collections + "</Package>");
}
