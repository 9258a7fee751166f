// tests/orvpackage/package_fixture.h - a package on a small machine, and its manifest as text.
#pragma once

#include "foundation/xml_escape.h"
#include "foundation/xml_reader.h"
#include "orvpackage/package.h"
#include "support/machine.h"
#include "support/manifest.h"
#include "support/test.h"

// Offers every node of a manifest to the package's properties and collections. False when the file
// cannot be opened.
inline bool LoadManifest(const CFilePathW& path, COrvPackage& package) {
    CXmlReader reader;
    reader.SetValueFilter(&UnescapeXmlText);
    if (reader.Open(path) < 0) {
        return false;
    }
    while (reader.ReadNext() != XmlTokenNone) {
        bool isTaken = package.GetProperties().Read(reader);
        for (std::size_t type = 0; type < kOrvCollections && !isTaken; ++type) {
            isTaken = package.GetCollection(static_cast<EOrvCollection>(type)).Read(reader);
        }
    }
    return true;
}

class PackageTest : public testing::Test {
protected:
    void SetUp() override { m_package.SetManifestPath(Manifest()); }

    [[nodiscard]] CFilePathW Manifest(std::string_view name = "out/app.orv") const {
        return CFilePathW(m_folder.Name(name));
    }
    // Saves the package and gives the manifest's text.
    std::string Saved() {
        m_package.GetProperties().SetDirty(true);
        EXPECT_EQ(m_package.Save(), S_OK);
        return ReadManifestFile(m_folder.ReadFile("out/app.orv"));
    }
    // The lines between the tags of the package, without the properties.
    std::string SavedItems() { return Items(Saved()); }
    // The same after the saved manifest was read into a new package and saved again.
    std::string SavedItemsAgain() { return SavedCopy("out/app.orv"); }
    // What a new package saves that has read collections, given as the elements of a manifest.
    std::string SavedAfterReading(const std::string& collections) {
        WriteManifest(collections);
        return SavedCopy("m.orv");
    }
    // Reads collections into the package.
    void Read(const std::string& collections) {
        WriteManifest(collections);
        EXPECT_TRUE(LoadManifest(Manifest("m.orv"), m_package));
    }

    CTempFolder m_folder;
    CTestMachine m_machine = CTestMachine()
                                 .Sid(u"S-1-5-21-7")
                                 .Folder(u"CSIDL_PROGRAM_FILES", uR"(C:\Program Files)")
                                 .Environment(u"SystemDrive", u"C:");
    COrvPackage m_package;

private:
    static std::string Items(const std::string& manifest) {
        const std::string head = "</Properties>\n";
        const std::size_t start = manifest.find(head) + head.size();
        return manifest.substr(start, manifest.find("</Package>") - start);
    }
    std::string SavedCopy(std::string_view manifest) {
        COrvPackage copy;
        EXPECT_TRUE(LoadManifest(Manifest(manifest), copy));
        copy.SetManifestPath(Manifest("out/copy.orv"));
        EXPECT_EQ(copy.Save(), S_OK);
        return Items(ReadManifestFile(m_folder.ReadFile("out/copy.orv")));
    }
    void WriteManifest(const std::string& collections) {
        m_folder.WriteFile("m.orv", "<Package>" + collections + "</Package>");
    }
};
