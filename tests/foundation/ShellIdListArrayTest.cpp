// Tests of the "Shell IDList Array" block: its exact bytes, reading it back, hostile blocks, and
// the dropped items of a drag's data.
#include "foundation/ShellIdListArray.h"

#include <gtest/gtest.h>

#include <map>

#include "foundation/Exception.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"
#include "support/Thrown.h"

namespace {

constexpr HResult kNoAccess = 0x800703E6;
constexpr HResult kBadFormat = 0x80040064;

// A drag's data: the formats it has.
class CFakeDropData : public CDropData {
public:
    HResult GetData(const std::wstring& format, std::vector<u8>& out) const override {
        auto it = formats.find(format);
        if (it == formats.end())
            return kBadFormat;
        out = it->second;
        return 0;
    }
    std::map<std::wstring, std::vector<u8>> formats;
};

std::vector<u8> BytesOf(const CItemIDList& list) {
    return std::vector<u8>(list.list, list.list + list.GetSize());
}

// Reads a copy of exactly the given bytes, so that nothing lies behind them.
HResult Read(const std::vector<u8>& block, std::vector<CItemIDList>& out) {
    std::vector<u8> copy(block);
    return ReadItemIDLists(copy.data(), copy.size(), out);
}

} // namespace

TEST(ShellIdListArrayTest, BlockOfTwoUrisHasTheExactLayout) {
    std::vector<u8> block = BuildShellIdListArray({"file:///a", "trash:///b"});
    // Count 2, three offsets (16 bytes), the desktop at 16, the items at 18 and 31.
    const std::vector<u8> expected = {
        2,  0, 0,   0,   16,  0,   0,   0,   18,  0,   0,   0,   31, 0, 0, 0, 0, 0, // parent
        11, 0, 'f', 'i', 'l', 'e', ':', '/', '/', '/', 'a', 0,   0,                 // first
        12, 0, 't', 'r', 'a', 's', 'h', ':', '/', '/', '/', 'b', 0,  0};            // second
    EXPECT_EQ(block, expected);
    // Reading a built block back is WindowArgumentsTest's (the paths of the drop it makes).

    // No URI: a count of 0, one offset, the desktop.
    EXPECT_EQ(BuildShellIdListArray({}), (std::vector<u8>{0, 0, 0, 0, 8, 0, 0, 0, 0, 0}));
    // A URI that no item can hold gets an empty list, which has no path.
    block = BuildShellIdListArray({"file:///" + std::string(70000, 'x')});
    EXPECT_EQ(block, (std::vector<u8>{1, 0, 0, 0, 12, 0, 0, 0, 14, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ShellIdListArrayTest, ReadingJoinsTheParentBeforeEachItem) {
    // A parent with one item of its own, and two relative lists in the reverse order of memory.
    const std::vector<u8> block = {2,  0, 0,   0,   16, 0, 0,   0,   28,  0, 0, 0,
                                   23, 0, 0,   0,   5,  0, 'p', 'q', 'r', 0, 0, // parent at 16
                                   3,  0, 'y', 0,   0,                          // at 23
                                   4,  0, 'x', 'z', 0,  0};                     // at 28
    std::vector<CItemIDList> lists;
    ASSERT_EQ(Read(block, lists), 0u);
    ASSERT_EQ(lists.size(), 2u);
    EXPECT_EQ(BytesOf(lists[0]), (std::vector<u8>{5, 0, 'p', 'q', 'r', 4, 0, 'x', 'z', 0, 0}));
    EXPECT_EQ(BytesOf(lists[1]), (std::vector<u8>{5, 0, 'p', 'q', 'r', 3, 0, 'y', 0, 0}));
}

TEST(ShellIdListArrayTest, HostileBlocksAreRefusedWithoutReadingPastTheEnd) {
    std::vector<CItemIDList> lists;
    EXPECT_EQ(ReadItemIDLists(nullptr, 100, lists), kNoAccess);

    const std::vector<u8> good = BuildShellIdListArray({"file:///a", "file:///bb"});
    // Every cut of a good block is refused, and leaves nothing behind.
    for (std::size_t size = 0; size < good.size(); ++size) {
        SCOPED_TRACE(size);
        lists.resize(1);
        EXPECT_EQ(Read(std::vector<u8>(good.begin(), good.begin() + size), lists), kNoAccess);
        EXPECT_TRUE(lists.empty());
    }

    struct Case {
        const char* what;
        std::vector<u8> block;
    };
    const Case cases[] = {
        {"parent offset beyond the end", {1, 0, 0, 0, 200, 0, 0, 0, 12, 0, 0, 0, 0, 0}},
        {"item offset beyond the end", {1, 0, 0, 0, 12, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0}},
        {"item offset at the last byte", {1, 0, 0, 0, 12, 0, 0, 0, 13, 0, 0, 0, 0, 0}},
        {"huge count", {0xFF, 0xFF, 0xFF, 0xFF, 8, 0, 0, 0, 0, 0}},
        {"count past the offsets", {3, 0, 0, 0, 12, 0, 0, 0, 12, 0, 0, 0, 0, 0}},
        {"list without terminator", {1, 0, 0, 0, 12, 0, 0, 0, 14, 0, 0, 0, 0, 0, 4, 0, 'a', 'b'}},
        {"item longer than the block", {1, 0, 0, 0, 12, 0, 0, 0, 14, 0, 0, 0, 0, 0, 40, 0, 0, 0}},
        {"item length 1", {1, 0, 0, 0, 12, 0, 0, 0, 14, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
        {"parent without terminator", {0, 0, 0, 0, 8, 0, 0, 0, 9, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Read(c.block, lists), kNoAccess);
        EXPECT_TRUE(lists.empty());
    }
}

TEST(ShellIdListArrayTest, DroppedItemsComeInTheBlocksOrderOrFailWithTheirMessages) {
    CLanguageGuard japanese(1041);
    std::vector<CItemIDList> items(2);

    // No data: nothing, and nothing thrown.
    GetDroppedItems(nullptr, items);
    EXPECT_TRUE(items.empty());

    // The items of a good block, in its order, are WindowArgumentsTest's.
    items.resize(2);
    CFakeDropData data;
    // A drag without the format (a text): kGetDataFailed, which says that no file came and what
    // to drop instead, with the text of the source's code as its detail.
    CFakeDropData text;
    text.formats[L"text/plain"] = {'h', 'i'};
    const auto e = testutil::Thrown([&] { GetDroppedItems(&text, items); });
    EXPECT_EQ(e.id, strid::kGetDataFailed);
    EXPECT_EQ(e.hr, kBadFormat);
    EXPECT_EQ(e.text, L"ドロップされたものはファイルではないため、変換できません。\nファイル"
                      L"マネージャーから画像ファイルかフォルダーをドロップしてください\n\n"
                      L"詳細: ファイルの一覧が含まれていません");
    EXPECT_TRUE(items.empty());

    // An empty array holds no file either: the same message.
    data.formats[L"Shell IDList Array"] = BuildShellIdListArray({});
    const auto e2 = testutil::Thrown([&] { GetDroppedItems(&data, items); });
    EXPECT_EQ(e2.id, strid::kGetDataFailed);
    EXPECT_EQ(e2.text, e.text);
    EXPECT_TRUE(items.empty());

    // A block that cannot be read: kNoPathsInData with the code of the reading.
    data.formats[L"Shell IDList Array"] = {1, 0, 0, 0, 12, 0, 0, 0, 90, 0, 0, 0, 0, 0};
    const auto e3 = testutil::Thrown([&] { GetDroppedItems(&data, items); });
    EXPECT_EQ(e3.id, strid::kNoPathsInData);
    EXPECT_EQ(e3.hr, kNoAccess);
    EXPECT_EQ(e3.text, L"ドロップされたファイルの場所を読み取れないため、変換できません。\nファイル"
                       L"マネージャーから画像ファイルかフォルダーをドロップしてください\n\n詳細: " +
                           ResultText(kNoAccess));
    EXPECT_TRUE(items.empty());
}
