// Building and reading the "Shell IDList Array" block of a drop.
#include "foundation/ShellIdListArray.h"

#include "foundation/Exception.h"
#include "resources/StringIds.h"

namespace {

constexpr HResult kNoAccess = 0x800703E6; // ERROR_NOACCESS as a result code

void WriteU32(u8* at, u32 value) {
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<u8>(value >> (8 * i));
}

u32 ReadU32(const u8* at) {
    return static_cast<u32>(at[0]) | (static_cast<u32>(at[1]) << 8) |
           (static_cast<u32>(at[2]) << 16) | (static_cast<u32>(at[3]) << 24);
}

// The list at offset if it lies whole inside the block; null otherwise.
const u8* ListAt(const u8* block, std::size_t size, u32 offset) {
    if (offset >= size)
        return nullptr;
    if (BoundedItemIdListSize(block + offset, size - offset) == 0)
        return nullptr;
    return block + offset;
}

} // namespace

std::vector<u8> BuildShellIdListArray(const std::vector<std::string>& uris) {
    const std::size_t count = uris.size();
    // The count and the offsets are made at their full size at once: growing the vector from the
    // count's four bytes made GCC 12 warn of an overflow that cannot happen.
    std::vector<u8> block(4 + 4 * (count + 1));
    WriteU32(block.data(), static_cast<u32>(count));
    // The parent: the desktop, an empty list.
    WriteU32(block.data() + 4, static_cast<u32>(block.size()));
    block.push_back(0);
    block.push_back(0);
    for (std::size_t i = 0; i < count; ++i) {
        WriteU32(block.data() + 8 + 4 * i, static_cast<u32>(block.size()));
        const std::string& uri = uris[i];
        CItemIDList item;
        item.Attach(MakeSingleItemList(reinterpret_cast<const u8*>(uri.data()), uri.size()));
        if (item.IsEmpty()) {
            block.push_back(0);
            block.push_back(0);
            continue;
        }
        block.insert(block.end(), item.list, item.list + item.GetSize());
    }
    return block;
}

HResult ReadItemIDLists(const u8* block, std::size_t size, std::vector<CItemIDList>& out) {
    out.clear();
    if (!block || size < 8)
        return kNoAccess;
    const u64 count = ReadU32(block);
    // The count and its offsets must fit inside the block before anything is allocated for them.
    if (4 + 4 * (count + 1) > size)
        return kNoAccess;
    const u8* parent = ListAt(block, size, ReadU32(block + 4));
    if (!parent)
        return kNoAccess;
    std::vector<CItemIDList> lists(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const u8* relative = ListAt(block, size, ReadU32(block + 8 + 4 * i));
        if (!relative)
            return kNoAccess;
        lists[i].Attach(Join(parent, relative));
    }
    out = std::move(lists);
    return hr::kOk;
}

void GetDroppedItems(const CDropData* data, std::vector<CItemIDList>& out) {
    out.clear();
    if (!data)
        return;
    std::vector<u8> block;
    HResult code = data->GetData(kShellIdListArrayFormat, block);
    if (Failed(code))
        throw my::CException(strid::kGetDataFailed, code);
    code = ReadItemIDLists(block.data(), block.size(), out);
    if (Failed(code)) {
        out.clear();
        throw my::CException(strid::kNoPathsInData, code);
    }
    // A list without an item holds no file, as data without a list does.
    if (out.empty())
        throw my::CException(strid::kGetDataFailed, hr::kFormatNotAvailable);
}
