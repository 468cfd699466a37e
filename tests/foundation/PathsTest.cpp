// Tests of the path functions.
#include "foundation/Paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "foundation/Win32Error.h"
#include "support/Files.h"

namespace {

TEST(PathsTest, AppendAndSplitInThePlatformStyle) {
    std::wstring p = L"/a/b";
    AppendPath(p, L"c.png");
    EXPECT_EQ(p, L"/a/b/c.png");
    p = L"/a/";
    AppendPath(p, L"c");
    EXPECT_EQ(p, L"/a/c");
    p = L"";
    AppendPath(p, L"c");
    EXPECT_EQ(p, L"c");
    // A colon and a backslash are ordinary file-name characters here.
    p = L"x:";
    AppendPath(p, L"y");
    EXPECT_EQ(p, L"x:/y");
    p = L"a\\b";
    std::wstring tail;
    ASSERT_TRUE(SplitLastComponent(p, tail));
    EXPECT_EQ(p, L"");
    EXPECT_EQ(tail, L"a\\b");

    p = L"/a/b.c.png";
    ASSERT_TRUE(SplitLastComponent(p, tail));
    EXPECT_EQ(p, L"/a/");
    EXPECT_EQ(tail, L"b.c.png");
    std::wstring empty;
    EXPECT_FALSE(SplitLastComponent(empty, tail));

    std::wstring base, ext;
    ASSERT_TRUE(SplitFileName(L"/x/a.b.c", base, ext));
    EXPECT_EQ(base, L"a.b");
    EXPECT_EQ(ext, L"c");
    ASSERT_TRUE(SplitFileName(L"/x/.png", base, ext));
    EXPECT_EQ(base, L"");
    EXPECT_EQ(ext, L"png");
    ASSERT_TRUE(SplitFileName(L"noext", base, ext));
    EXPECT_EQ(base, L"noext");
    EXPECT_EQ(ext, L"");
    EXPECT_FALSE(SplitFileName(L"/x/", base, ext));
    EXPECT_EQ(ParentPath(L"/x/y"), L"/x");
    EXPECT_EQ(ParentPath(L"y"), L"");
    EXPECT_TRUE(IsRootLike(L"name"));
    EXPECT_TRUE(IsRootLike(L"/"));
    EXPECT_FALSE(IsRootLike(L""));
    EXPECT_FALSE(IsRootLike(L"/a"));
    EXPECT_EQ(NearestExistingFolder(L"bare"), L"bare");
}

TEST(PathsTest, FoldersAreMadeWithTheirParentsAndExistingOnesCount) {
    testutil::CTempDir temp;
    const auto dir = temp.Path();
    std::wstring deep = FromFileSystemPath((dir / "a" / "b" / "c").string());
    EXPECT_EQ(CreateFolderTree(deep), 0);
    EXPECT_TRUE(IsDirectory(deep));
    EXPECT_EQ(CreateFolderTree(deep), 0); // exists already

    std::wstring file = FromFileSystemPath((dir / "file").string());
    testutil::WriteText(dir / "file", "x");
    EXPECT_TRUE(IsExistingFile(file));
    EXPECT_TRUE(FileExists(file));
    // A file in the folder's place, or in the place of a folder above it, is no success, and the
    // code says that a file is in the way.
    EXPECT_EQ(CreateFolderTree(file), win32::kFileExists);
    EXPECT_EQ(CreateFolderTree(file + L"/below"), win32::kFileExists);

    std::wstring gone = FromFileSystemPath((dir / "a" / "gone" / "x.png").string());
    EXPECT_EQ(NearestExistingFolder(gone), FromFileSystemPath((dir / "a").string()));
    EXPECT_EQ(NearestExistingFolder(L"/nonexistent-lvx-root/x"), L"/");
}

TEST(PathsTest, FileSystemNamesAreUtf8) {
    EXPECT_EQ(ToFileSystemPath(L"/写真/ä.png"), "/\xE5\x86\x99\xE7\x9C\x9F/\xC3\xA4.png");
    EXPECT_EQ(FromFileSystemPath("/\xE5\x86\x99\xE7\x9C\x9F"), L"/写真");
    // A name that is not UTF-8 comes back with the same bytes, and is found on disk.
    testutil::CTempDir temp;
    const auto dir = temp.Path();
    const std::string latin = (dir / "\xC4rger\xE9.png").string();
    testutil::WriteText(latin, "x");
    EXPECT_EQ(ToFileSystemPath(FromFileSystemPath(latin)), latin);
    EXPECT_TRUE(IsExistingFile(FromFileSystemPath(latin)));
    EXPECT_FALSE(
        IsExistingFile(FromFileSystemPath((dir / "\xEF\xBF\xBDrger\xEF\xBF\xBD.png").string())));
}

} // namespace
