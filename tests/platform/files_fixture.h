// tests/platform/files_fixture.h - what tests of files and folders share.
#pragma once

#include "platform/files.h"
#include "support/test.h"

class FilesFixture : public testing::Test {
protected:
    int Find(const std::u16string& name) { return platform::FindEntry(name.c_str(), m_found); }

    // The names that a search gives, without "." and "..", those of folders with a slash; how it
    // ends shows as a last name.
    static std::vector<std::u16string> Search(const std::u16string& pattern) {
        std::vector<std::u16string> names;
        platform::CFindHandle search;
        platform::SFindData found;
        int status = search.First(pattern.c_str(), found);
        for (; status == ERROR_SUCCESS; status = search.Next(found)) {
            if (found.name != u"." && found.name != u"..") {
                names.push_back(found.name + (found.IsFolder() ? u"/" : u""));
            }
        }
        if (status != ERROR_NO_MORE_FILES) {
            names.push_back(u"status " + Utf16(std::to_string(status)));
        }
        return names;
    }

    static int Copy(const std::u16string& source, const std::u16string& destination) {
        return platform::CopyFile(source.c_str(), destination.c_str());
    }
    int Copy(const char* source, const char* destination) {
        return Copy(m_folder.Name(source), m_folder.Name(destination));
    }

    CTempFolder m_folder;
    platform::SFindData m_found;
};
