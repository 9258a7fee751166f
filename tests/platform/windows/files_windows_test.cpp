#include "foundation/file_system.h"
#include "platform/files_fixture.h"
#include "support/windows/import.h"

namespace {

constexpr const char16_t* kMark = u":MARK";

// Without the prefix of long names, no name is longer than this.
bool IsTooLong(std::wstring_view name) {
    return name.size() >= MAX_PATH && !name.starts_with(LR"(\\?\)");
}

class WindowsFilesTest : public FilesFixture {
protected:
    static bool MakesChain(const std::u16string& folder) {
        return CreateDirectoryChain(CFilePathW(folder));
    }
};

// A search of the system looks names up in a folder, in which streams have none.
TEST_F(WindowsFilesTest, FindsAStreamByOneLookThatIsNoSearch) {
    int searches = 0;
    int looks = 0;
    const auto search =
        ReplaceImport<decltype(FindFirstFileExW)>("FindFirstFileExW", [&](LPCWSTR, auto...) {
            ++searches;
            return FailWith(ERROR_INVALID_NAME, INVALID_HANDLE_VALUE);
        });
    const auto look =
        ReplaceImport<decltype(GetFileAttributesW)>("GetFileAttributesW", [&](LPCWSTR name) {
            ++looks;
            return IsTooLong(name) ? FailWith(ERROR_PATH_NOT_FOUND, INVALID_FILE_ATTRIBUTES)
                                   : GetFileAttributesW(name);
        });
    const std::string deep = std::string(120, 'd') + "/" + std::string(120, 'e');
    for (const std::string& name : {std::string("a.txt"), std::string("b"), deep}) {
        SCOPED_TRACE(name);
        const std::u16string file = CFilePathW(m_folder.WriteFile(name)).ToString().Get();
        EXPECT_EQ(Find(file + kMark), ERROR_FILE_NOT_FOUND);
        platform::COutputFile mark;
        ASSERT_EQ(mark.Create((file + kMark).c_str()), ERROR_SUCCESS);
        m_found = {u"", platform::kAttributeDirectory};
        EXPECT_EQ(Find(file + kMark), ERROR_SUCCESS);
        EXPECT_FALSE(m_found.IsFolder());
    }
    EXPECT_EQ(Find(m_folder.Name("none/a") + kMark), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(looks, 7);
    EXPECT_EQ(searches, 0);
    // Without a file it names nothing.
    EXPECT_EQ(Find(kMark), ERROR_INVALID_NAME);
}

TEST_F(WindowsFilesTest, LooksForAStreamOnAShareByItsLongName) {
    std::u16string asked;
    const auto look =
        ReplaceImport<decltype(GetFileAttributesW)>("GetFileAttributesW", [&](LPCWSTR name) {
            asked = platform::FromWide(name);
            return DWORD{FILE_ATTRIBUTE_NORMAL};
        });
    const std::u16string rest = uR"(server\share\)" + std::u16string(240, u'n') + kMark;
    EXPECT_EQ(Find(uR"(\\)" + rest), ERROR_SUCCESS);
    EXPECT_EQ(Utf8(asked), Utf8(uR"(\\?\UNC\)" + rest));
}

// A search finds neither "C:\" nor a share, since they are no entries of a folder.
TEST_F(WindowsFilesTest, ChainOfARootIsWhetherItIsThere) {
    const auto search = ReplaceImport<decltype(FindFirstFileExW)>(
        "FindFirstFileExW", [](LPCWSTR name, auto... rest) {
            const std::wstring_view pattern(name);
            if (pattern == LR"(\\server\share\*)") {
                return FindFirstFileExW(LR"(C:\*)", rest...);
            }
            const bool isRoot = pattern.ends_with(L'\\') || pattern.starts_with(LR"(\\)");
            return isRoot ? FailWith(ERROR_BAD_NETPATH, INVALID_HANDLE_VALUE)
                          : FindFirstFileExW(name, rest...);
        });
    const auto make = ReplaceImport<decltype(CreateDirectoryW)>(
        "CreateDirectoryW",
        [](LPCWSTR, LPSECURITY_ATTRIBUTES) { return FailWith(ERROR_ACCESS_DENIED, FALSE); });
    EXPECT_TRUE(MakesChain(uR"(C:\)"));
    EXPECT_TRUE(MakesChain(uR"(\\server\share)"));
    EXPECT_FALSE(MakesChain(uR"(Q:\)"));
    EXPECT_FALSE(MakesChain(uR"(\\server\none)"));
}

TEST_F(WindowsFilesTest, AFileWithoutAttributesIsANormalOne) {
    DWORD asked = 0;
    const auto set = ReplaceImport<decltype(SetFileAttributesW)>("SetFileAttributesW",
                                                                 [&](LPCWSTR, DWORD attributes) {
                                                                     asked = attributes;
                                                                     return TRUE;
                                                                 });
    EXPECT_EQ(platform::SetAttributes(u"file", 0), ERROR_SUCCESS);
    EXPECT_EQ(asked, DWORD{FILE_ATTRIBUTE_NORMAL});
}

TEST_F(WindowsFilesTest, AWriteThatTakesNothingIsAFailure) {
    platform::COutputFile file;
    ASSERT_EQ(file.Create(m_folder.Name("file").c_str()), ERROR_SUCCESS);
    const auto write = ReplaceImport<decltype(WriteFile)>(
        "WriteFile", [](HANDLE, LPCVOID, DWORD size, LPDWORD written, LPOVERLAPPED) {
            *written = size / 2;
            return TRUE;
        });
    EXPECT_EQ(file.Write("bytes", 5), ERROR_WRITE_FAULT);
}

// The buffer has 260 units, of which one is for the terminator.
TEST_F(WindowsFilesTest, TakesNoLongNameOf260Units) {
    std::wstring longName;
    const auto expand = ReplaceImport<decltype(GetLongPathNameW)>(
        "GetLongPathNameW", [&](LPCWSTR, LPWSTR buffer, DWORD size) {
            const auto length = static_cast<DWORD>(longName.size());
            if (size <= length) {
                return length + 1;
            }
            longName.copy(buffer, length);
            buffer[length] = L'\0';
            return length;
        });
    for (const std::size_t length : {259U, 260U}) {
        longName = LR"(C:\)" + std::wstring(length - 3, L'n');
        CStrW text(uR"(C:\NNNNNN~1)");
        EXPECT_EQ(ExpandLongName(text), length < 260);
        EXPECT_EQ(text.GetLength(), length < 260 ? length : 11U);
    }
}

}  // namespace
