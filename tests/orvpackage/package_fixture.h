// tests/orvpackage/package_fixture.h - a package on a small machine, and its manifest as text.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "orvpackage/package.h"
#include "support/machine.h"
#include "support/temp_folder.h"

class PackageTest : public testing::Test {
protected:
    void SetUp() override { m_package.SetManifestPath(Manifest()); }

    [[nodiscard]] CFilePathW Manifest(std::string_view name = "out/app.orv") const {
        return CFilePathW(m_folder.Name(name));
    }
    // Saves the package and gives the manifest's text.
    std::string Saved();
    // The lines between the tags of the package, without the properties.
    std::string SavedItems();
    // The same after the saved manifest was read into a new package and saved again.
    std::string SavedItemsAgain();
    // What a new package saves that has read collections, given as the elements of a manifest.
    std::string SavedAfterReading(const std::string& collections);
    // Reads collections into the package.
    void Read(const std::string& collections);

    CTempFolder m_folder;
    CTestMachine m_machine = CTestMachine()
                                 .Sid(u"S-1-5-21-7")
                                 .Folder(u"CSIDL_PROGRAM_FILES", uR"(C:\Program Files)")
                                 .Environment(u"SystemDrive", u"C:");
    COrvPackage m_package;

private:
    std::string SavedCopy(std::string_view manifest);
    void WriteManifest(const std::string& collections);
};
