// Shell item ID lists: a borrowed view, an owned list, joining two lists, and the step from a
// list to a file-system path.
// Any thread; each list is used by one thread at a time.
#pragma once

#include <cstddef>
#include <string>

#include "foundation/Types.h"

// An item ID list is a run of items, each led by its length as a little-endian u16 that counts
// those two bytes too; a length of 0 ends the list. Here an item's bytes hold a URI in UTF-8.
// Lists are allocated with malloc and freed with free.

// Bytes of the terminator that ends every list.
constexpr std::size_t kItemIdTerminatorSize = 2;

// The size of a list in bytes: the items' lengths plus the terminator; 0 for a null pointer.
std::size_t ItemIdListSize(const u8* list);

// The size of a list that must end within available bytes; 0 when it does not (no terminator in
// reach, or an item whose length is below 2 or runs past the end).
std::size_t BoundedItemIdListSize(const u8* list, std::size_t available);

// A list size for int arithmetic; 0x80000000 or more throws my::CException strid::kCastError naming
// "size_t", "int" and the value.
i32 ListSizeAsInt(std::size_t size);

// A new list with the items of first and then of second, one terminator; a copy of the one that
// is non-null when the other is null; null when both are null or the memory cannot be had. The
// caller owns the result.
u8* Join(const u8* first, const u8* second);

// A new list with one item holding bytes; null when the bytes do not fit an item's length.
u8* MakeSingleItemList(const u8* bytes, std::size_t count);

// A view on a list that lives elsewhere (inside a drop block, say); it never frees the list.
class CItemIDListHandle {
public:
    CItemIDListHandle() = default;
    explicit CItemIDListHandle(u8* list) : list(list) {}
    CItemIDListHandle(const CItemIDListHandle&) = default;
    CItemIDListHandle& operator=(const CItemIDListHandle&) = default;
    virtual ~CItemIDListHandle() = default;

    // True for a null list.
    bool IsEmpty() const { return list == nullptr; }
    std::size_t GetSize() const { return ItemIdListSize(list); }

    // The file-system path of the list, taken from its last item: the local path of a file: URI,
    // every byte of it, of any length, with "." and ".." left as they are for the kernel.
    // Returns 0, or 0x80004005 (E_FAIL) with out empty for a null or empty list, any other URI,
    // or a path holding a zero byte.
    HResult GetPath(std::wstring& out) const;
    // The path, or my::CException strid::kIdListPathFailed with the result code of GetPath.
    std::wstring GetPathOrThrow() const;

    u8* list = nullptr;
};

// An owned list, possibly null. Copies are deep; the memory is freed with the object.
class CItemIDList : public CItemIDListHandle {
public:
    CItemIDList() = default;
    CItemIDList(const CItemIDList& other) : CItemIDListHandle() { Assign(other); }
    CItemIDList(CItemIDList&& other) noexcept : CItemIDListHandle() { Attach(other.Detach()); }
    CItemIDList& operator=(const CItemIDList& other) {
        Assign(other);
        return *this;
    }
    CItemIDList& operator=(CItemIDList&& other) noexcept;
    ~CItemIDList() override;

    // Replaces the list with a deep copy of other's; the same pointer changes nothing.
    void Assign(const CItemIDListHandle& other);
    // Frees the present list and takes ownership of owned.
    void Attach(u8* owned);
    // Hands the list to the caller and leaves this one null.
    u8* Detach();
    // Frees the list and leaves this one null.
    void Clear() { Attach(nullptr); }
};
