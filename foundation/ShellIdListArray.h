// The "Shell IDList Array" block of a drop: building it from URIs, reading it back into owned
// lists, and taking the dropped items from a drag's data.
// Any thread; GetDroppedItems on the thread that owns the drag's data (the window's main
// thread).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/ItemIdList.h"
#include "foundation/Types.h"

// The name of the drag format that carries the block.
inline const wchar_t kShellIdListArrayFormat[] = L"Shell IDList Array";

// The block, all numbers little-endian u32: the count of items, then count + 1 offsets from the
// block's start, the first to the parent folder's list, the others to each item's list relative
// to it. Here the parent is the desktop (an empty list, only a terminator) and each item's list
// has one item holding the URI's bytes. A URI too long for one item gets an empty list, whose
// path cannot be had.
std::vector<u8> BuildShellIdListArray(const std::vector<std::string>& uris);

// Reads a block of size bytes into out: one list per item, the parent joined before the item's
// list, in the block's order. Returns 0, or 0x800703E6 for a null block and for a block that
// does not hold what its numbers say (offsets outside it, lists without a terminator inside it);
// out is left empty on failure. Nothing past size is read: the block comes from other programs.
HResult ReadItemIDLists(const u8* block, std::size_t size, std::vector<CItemIDList>& out);

// The data of a drag, as far as the drop needs it.
class CDropData {
public:
    virtual ~CDropData() = default;
    // The bytes of format into out; a failure code (such as 0x80040064) when there are none.
    virtual HResult GetData(const std::wstring& format, std::vector<u8>& out) const = 0;
};

// The dropped items of data, in the block's order. out is emptied first; null data leaves it
// empty. A failed GetData throws my::CException strid::kGetDataFailed with its code, and so does a
// block that holds no item (with hr::kFormatNotAvailable): neither holds a file. A block that
// cannot be read throws strid::kNoPathsInData with the code of the reading.
void GetDroppedItems(const CDropData* data, std::vector<CItemIDList>& out);
