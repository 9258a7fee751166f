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

    // How many folders a search gives that passes the files, without "." and "..", and how many
    // files it passes.
    static std::pair<std::ptrdiff_t, std::ptrdiff_t> Count(const std::u16string& pattern) {
        std::ptrdiff_t folders = 0;
        std::uint32_t files = 0;
        platform::CFindHandle search;
        platform::SFindData found;
        int status = search.First(pattern.c_str(), found);
        for (; status == ERROR_SUCCESS; status = search.NextFolder(found, files)) {
            files += found.IsFolder() ? 0 : 1;
            folders += found.IsFolder() && found.name != u"." && found.name != u".." ? 1 : 0;
        }
        return {folders, files};
    }

    // The entries for which a search finds the stream; a last one is for a failure.
    static std::vector<std::u16string> SearchStreams(const std::u16string& pattern,
                                                     std::u16string_view stream) {
        std::vector<std::u16string> names;
        platform::CFindHandle search;
        platform::SFindData found;
        int status = search.First(pattern.c_str(), found);
        for (; status == ERROR_SUCCESS; status = search.Next(found)) {
            bool exists = false;
            const int answer = search.FindStream(found, stream, exists);
            if (answer == ERROR_READ_FAULT) {
                return {u"unknown"};
            }
            if (exists) {
                names.push_back(found.name);
            }
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
