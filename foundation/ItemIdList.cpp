// Owned and borrowed item ID lists, their joining, and the path of a list.
#include "foundation/ItemIdList.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "resources/StringIds.h"

namespace {

constexpr std::size_t kMaxItemLength = 0xFFFF;

u16 ReadLength(const u8* at) {
    return static_cast<u16>(at[0] | (at[1] << 8));
}

void WriteLength(u8* at, u16 length) {
    at[0] = static_cast<u8>(length & 0xFF);
    at[1] = static_cast<u8>(length >> 8);
}

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
        char y = b[i] >= 'A' && b[i] <= 'Z' ? static_cast<char>(b[i] - 'A' + 'a') : b[i];
        if (x != y)
            return false;
    }
    return true;
}

// The local path bytes of a file: URI, percent escapes decoded; false for any other scheme and
// for a file: URI on another host, which has no local path.
bool LocalPathFromUri(std::string_view uri, std::string& path) {
    std::size_t colon = uri.find(':');
    if (colon == std::string_view::npos || !EqualsNoCase(uri.substr(0, colon), "file"))
        return false;
    std::string_view rest = uri.substr(colon + 1);
    if (rest.substr(0, 2) == "//") {
        std::size_t slash = rest.find('/', 2);
        std::string_view host =
            rest.substr(2, slash == std::string_view::npos ? rest.npos : slash - 2);
        if (!host.empty() && !EqualsNoCase(host, "localhost"))
            return false;
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash);
    }
    rest = rest.substr(0, rest.find_first_of("?#"));
    if (rest.empty() || rest[0] != '/')
        return false;
    path.clear();
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (rest[i] == '%' && i + 2 < rest.size() && HexValue(rest[i + 1]) >= 0 &&
            HexValue(rest[i + 2]) >= 0) {
            path.push_back(static_cast<char>(HexValue(rest[i + 1]) * 16 + HexValue(rest[i + 2])));
            i += 2;
            continue;
        }
        path.push_back(rest[i]);
    }
    return true;
}

} // namespace

std::size_t ItemIdListSize(const u8* list) {
    if (!list)
        return 0;
    std::size_t size = 0;
    for (u16 length = ReadLength(list); length != 0; length = ReadLength(list + size))
        size += length;
    return size + kItemIdTerminatorSize;
}

std::size_t BoundedItemIdListSize(const u8* list, std::size_t available) {
    if (!list)
        return 0;
    std::size_t size = 0;
    while (available - size >= kItemIdTerminatorSize) {
        u16 length = ReadLength(list + size);
        if (length == 0)
            return size + kItemIdTerminatorSize;
        if (length < 2 || length > available - size)
            return 0;
        size += length;
    }
    return 0;
}

i32 ListSizeAsInt(std::size_t size) {
    if (size >= 0x80000000u)
        ThrowCastError(L"size_t", L"int", size);
    return static_cast<i32>(size);
}

u8* Join(const u8* first, const u8* second) {
    if (!first && !second)
        return nullptr;
    i32 firstSize = ListSizeAsInt(ItemIdListSize(first));
    i32 secondSize = ListSizeAsInt(ItemIdListSize(second));
    // The items of first without its terminator, then second whole; a null one adds nothing.
    i32 firstItems = first ? firstSize - static_cast<i32>(kItemIdTerminatorSize) : 0;
    i32 total = ListSizeAsInt(static_cast<std::size_t>(firstItems) +
                              static_cast<std::size_t>(second ? secondSize : 2));
    auto* joined = static_cast<u8*>(std::malloc(static_cast<std::size_t>(total)));
    if (!joined)
        return nullptr;
    if (firstItems > 0)
        std::memcpy(joined, first, static_cast<std::size_t>(firstItems));
    if (second)
        std::memcpy(joined + firstItems, second, static_cast<std::size_t>(secondSize));
    else
        WriteLength(joined + firstItems, 0);
    return joined;
}

u8* MakeSingleItemList(const u8* bytes, std::size_t count) {
    if (count + 2 > kMaxItemLength)
        return nullptr;
    auto* list = static_cast<u8*>(std::malloc(count + 2 + kItemIdTerminatorSize));
    if (!list)
        return nullptr;
    WriteLength(list, static_cast<u16>(count + 2));
    if (count > 0)
        std::memcpy(list + 2, bytes, count);
    WriteLength(list + 2 + count, 0);
    return list;
}

HResult CItemIDListHandle::GetPath(std::wstring& out) const {
    out.clear();
    if (!list)
        return hr::kFail;
    const u8* last = nullptr;
    std::size_t offset = 0;
    for (u16 length = ReadLength(list); length != 0; length = ReadLength(list + offset)) {
        if (length < 2)
            return hr::kFail;
        last = list + offset;
        offset += length;
    }
    if (!last)
        return hr::kFail; // the desktop itself: no file-system path here
    std::string_view uri(reinterpret_cast<const char*>(last + 2), ReadLength(last) - 2u);
    std::string bytes;
    if (!LocalPathFromUri(uri, bytes))
        return hr::kFail;
    // The path is the URI's bytes, whole and as they are: no length of its own is imposed (the
    // kernel answers a path beyond its limits with its own error) and nothing is resolved here,
    // so "." and ".." are left for the kernel, which follows links before it goes up. A zero
    // byte, which no path can hold, makes it no path rather than a shorter one.
    if (bytes.find('\0') != std::string::npos)
        return hr::kFail;
    out = FromFileSystemPath(bytes);
    return hr::kOk;
}

std::wstring CItemIDListHandle::GetPathOrThrow() const {
    std::wstring path;
    HResult code = GetPath(path);
    if (Failed(code))
        throw my::CException(strid::kIdListPathFailed, code);
    return path;
}

CItemIDList& CItemIDList::operator=(CItemIDList&& other) noexcept {
    if (this != &other)
        Attach(other.Detach());
    return *this;
}

CItemIDList::~CItemIDList() {
    std::free(list);
}

void CItemIDList::Assign(const CItemIDListHandle& other) {
    if (other.list == list)
        return;
    Attach(Join(other.list, nullptr));
}

void CItemIDList::Attach(u8* owned) {
    if (owned == list)
        return;
    std::free(list);
    list = owned;
}

u8* CItemIDList::Detach() {
    u8* owned = list;
    list = nullptr;
    return owned;
}
