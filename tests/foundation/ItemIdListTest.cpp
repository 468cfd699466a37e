// Tests of item ID lists: sizes, joining, owned copies, and the path of a list.
#include "foundation/ItemIdList.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/Exception.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"
#include "support/Thrown.h"

namespace {

// A list in malloc'd memory with one item per text, built byte by byte: length (LE), bytes.
u8* ListOf(const std::vector<std::string>& items) {
    std::vector<u8> bytes;
    for (const std::string& item : items) {
        std::size_t length = item.size() + 2;
        bytes.push_back(static_cast<u8>(length & 0xFF));
        bytes.push_back(static_cast<u8>(length >> 8));
        bytes.insert(bytes.end(), item.begin(), item.end());
    }
    bytes.push_back(0);
    bytes.push_back(0);
    auto* list = static_cast<u8*>(std::malloc(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), list);
    return list;
}

std::vector<u8> BytesOf(const u8* list) {
    return std::vector<u8>(list, list + ItemIdListSize(list));
}

CItemIDList Owned(const std::vector<std::string>& items) {
    CItemIDList list;
    list.Attach(ListOf(items));
    return list;
}

HResult PathOf(const std::string& uri, std::wstring& path) {
    return Owned({uri}).GetPath(path);
}

} // namespace

TEST(ItemIdListTest, SizesCountLengthsAndTheTerminator) {
    EXPECT_EQ(ItemIdListSize(nullptr), 0u);
    CItemIDList desktop = Owned({});
    EXPECT_EQ(desktop.GetSize(), 2u);
    CItemIDList two = Owned({"abc", "de"});
    EXPECT_EQ(two.GetSize(), 5u + 4u + 2u);

    // A list must end inside the bytes that are there.
    EXPECT_EQ(BoundedItemIdListSize(two.list, 11), 11u);
    EXPECT_EQ(BoundedItemIdListSize(two.list, 10), 0u);
    EXPECT_EQ(BoundedItemIdListSize(two.list, 5), 0u);
    EXPECT_EQ(BoundedItemIdListSize(two.list, 1), 0u);
    const u8 tooShort[] = {1, 0, 0, 0};
    EXPECT_EQ(BoundedItemIdListSize(tooShort, sizeof tooShort), 0u);

    EXPECT_EQ(ListSizeAsInt(0x7FFFFFFF), 0x7FFFFFFF);
    CLanguageGuard japanese(1041);
    const auto e = testutil::Thrown([&] { ListSizeAsInt(0x80000000u); });
    EXPECT_EQ(e.id, strid::kCastError);
    EXPECT_EQ(e.text, L"値が大きすぎて扱えません (size_t から int へ): 2147483648");
}

TEST(ItemIdListTest, JoinPutsTheItemsOfBothBehindEachOther) {
    EXPECT_EQ(Join(nullptr, nullptr), nullptr);

    // Two lists joined are ShellIdListArrayTest's reading; here one null side gives a copy of
    // the other, and the desktop behind a list adds nothing.
    CItemIDList desktop = Owned({});
    CItemIDList first = Owned({"ab"});
    CItemIDList second = Owned({"c", "def"});
    CItemIDList joined;
    joined.Attach(Join(first.list, nullptr));
    EXPECT_EQ(BytesOf(joined.list), BytesOf(first.list));
    EXPECT_NE(joined.list, first.list);
    joined.Attach(Join(nullptr, second.list));
    EXPECT_EQ(BytesOf(joined.list), BytesOf(second.list));
    joined.Attach(Join(second.list, desktop.list));
    EXPECT_EQ(BytesOf(joined.list), BytesOf(second.list));
}

TEST(ItemIdListTest, OwnedListsCopyDeepAndAssignOnlyWhatDiffers) {
    CItemIDList a = Owned({"one"});
    CItemIDList b(a);
    EXPECT_NE(b.list, a.list);
    EXPECT_EQ(BytesOf(b.list), BytesOf(a.list));

    // Assigning a list to itself, or a view on its own pointer, keeps the very same memory.
    u8* before = a.list;
    a.Assign(a);
    EXPECT_EQ(a.list, before);
    a.Assign(CItemIDListHandle(a.list));
    EXPECT_EQ(a.list, before);

    CItemIDList c = Owned({"two", "three"});
    a = c;
    EXPECT_NE(a.list, c.list);
    EXPECT_EQ(BytesOf(a.list), BytesOf(c.list));

    CItemIDList moved(std::move(c));
    EXPECT_TRUE(c.IsEmpty());
    EXPECT_EQ(BytesOf(moved.list), BytesOf(a.list));
    u8* taken = moved.Detach();
    EXPECT_TRUE(moved.IsEmpty());
    moved.Attach(taken);
    EXPECT_EQ(moved.list, taken);
    moved.Clear();
    EXPECT_TRUE(moved.IsEmpty());
    CItemIDList empty;
    a.Assign(empty);
    EXPECT_TRUE(a.IsEmpty());

    // A view leaves the list to its owner.
    {
        CItemIDListHandle view(b.list);
        EXPECT_EQ(view.GetSize(), b.GetSize());
    }
    EXPECT_EQ(BytesOf(b.list), (std::vector<u8>{5, 0, 'o', 'n', 'e', 0, 0}));
}

TEST(ItemIdListTest, FileUrisGiveTheirDecodedLocalPath) {
    // Escapes of every byte are decoded in WindowArgumentsTest (the names of a command line).
    std::wstring path;
    EXPECT_EQ(PathOf("file://localhost/home/u/a%2Bb.jpg", path), 0u);
    EXPECT_EQ(path, L"/home/u/a+b.jpg");
    EXPECT_EQ(PathOf("FILE:/srv/x.png", path), 0u);
    EXPECT_EQ(path, L"/srv/x.png");
    // A stray percent sign that starts no escape stays as it is.
    EXPECT_EQ(PathOf("file:///tmp/100%.png", path), 0u);
    EXPECT_EQ(path, L"/tmp/100%.png");

    // The path of an absolute list is the one of its last item.
    CItemIDList two = Owned({"file:///first", "file:///tmp/second.png"});
    EXPECT_EQ(two.GetPathOrThrow(), L"/tmp/second.png");
}

TEST(ItemIdListTest, ListsWithoutALocalPathFailAndPathsComeBackWholeWhateverTheirLength) {
    for (const char* uri : {"trash:///photo.png", "smb://server/share/photo.png", "recent:///",
                            "file://otherhost/tmp/a.png", "file://", "file:relative.png"}) {
        std::wstring path = L"left over";
        EXPECT_EQ(PathOf(uri, path), 0x80004005u) << uri;
        EXPECT_TRUE(path.empty()) << uri;
    }
    // What GetPathOrThrow throws then reaches the box in CommandExplorerTest.

    // A null list, and the desktop alone, have no path either.
    std::wstring path;
    EXPECT_EQ(CItemIDList().GetPath(path), 0x80004005u);
    EXPECT_EQ(Owned({}).GetPath(path), 0x80004005u);

    // 1376 characters in 3936 bytes, "." and ".." included: the path as it is, for the kernel.
    std::string uri = "file://";
    std::wstring expected;
    for (int i = 0; i < 16; ++i) {
        uri += "/";
        for (int j = 0; j < 80; ++j)
            uri += "%E5%86%99";
        uri += "/./..";
        expected += L"/" + std::wstring(80, L'\u5199') + L"/./..";
    }
    EXPECT_EQ(PathOf(uri, path), 0u);
    EXPECT_EQ(path, expected);
    EXPECT_EQ(PathOf("file:///tmp/a%00b", path), 0x80004005u);
    EXPECT_TRUE(path.empty());
}
