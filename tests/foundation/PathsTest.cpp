// Tests of the path functions. A name that is not UTF-8 is found on disk by its bytes in
// ShellTest (ShowInExplorer) and BatchPlanTest.
#include "foundation/Paths.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "foundation/Win32Error.h"
#include "support/Files.h"

namespace {

TEST(PathsTest, AppendAndSplitInThePlatformStyle) {
    // A colon and a backslash are ordinary file-name characters here.
    const std::array<const wchar_t*, 3> appends[] = {{L"/a/b", L"c.png", L"/a/b/c.png"},
                                                     {L"/a/", L"c", L"/a/c"},
                                                     {L"", L"c", L"c"},
                                                     {L"x:", L"y", L"x:/y"}};
    for (const auto& [base, name, expected] : appends) {
        std::wstring p = base;
        AppendPath(p, name);
        EXPECT_EQ(p, expected) << base;
    }
    // {path, folder left, last component}; an empty path has none.
    const std::array<const wchar_t*, 3> splits[] = {{L"a\\b", L"", L"a\\b"},
                                                    {L"/a/b.c.png", L"/a/", L"b.c.png"}};
    std::wstring p, tail, base, ext;
    for (const auto& [path, folder, last] : splits) {
        p = path;
        ASSERT_TRUE(SplitLastComponent(p, tail));
        EXPECT_EQ(p, folder);
        EXPECT_EQ(tail, last);
    }
    p.clear();
    EXPECT_FALSE(SplitLastComponent(p, tail));

    const std::array<const wchar_t*, 3> names[] = {
        {L"/x/a.b.c", L"a.b", L"c"}, {L"/x/.png", L"", L"png"}, {L"noext", L"noext", L""}};
    for (const auto& [path, expectedBase, expectedExt] : names) {
        ASSERT_TRUE(SplitFileName(path, base, ext));
        EXPECT_EQ(base, expectedBase) << path;
        EXPECT_EQ(ext, expectedExt) << path;
    }
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
    EXPECT_TRUE(FileExists(file));
    // A file in the folder's place, or in a folder's above it: the code says a file is in the way.
    EXPECT_EQ(CreateFolderTree(file), win32::kFileExists);
    EXPECT_EQ(CreateFolderTree(file + L"/below"), win32::kFileExists);

    std::wstring gone = FromFileSystemPath((dir / "a" / "gone" / "x.png").string());
    EXPECT_EQ(NearestExistingFolder(gone), FromFileSystemPath((dir / "a").string()));
    EXPECT_EQ(NearestExistingFolder(L"/nonexistent-lvx-root/x"), L"/");
}

} // namespace
