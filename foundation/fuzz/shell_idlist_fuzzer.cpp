// Fuzz target for the "Shell IDList Array" reader: any bytes arrive as the block of a drop, are
// read into lists, and each list goes through the path step, as a drop from another program does.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/Exception.h"
#include "foundation/ItemIdList.h"
#include "foundation/Paths.h"
#include "foundation/ShellIdListArray.h"

namespace {

// A drag whose one format holds the fuzzer's bytes.
class CBytesDropData : public CDropData {
public:
    CBytesDropData(const std::uint8_t* data, std::size_t size) : bytes_(data, data + size) {}
    HResult GetData(const std::wstring& format, std::vector<u8>& out) const override {
        if (format != kShellIdListArrayFormat)
            return hr::kFormatNotAvailable;
        out = bytes_;
        return hr::kOk;
    }

private:
    std::vector<u8> bytes_;
};

void Check(bool condition) {
    if (!condition)
        __builtin_trap();
}

void CheckItem(const CItemIDList& item) {
    // A list that was read must be whole: its size found without a bound equals the bounded one.
    if (item.IsEmpty())
        return;
    const std::size_t size = item.GetSize();
    Check(BoundedItemIdListSize(item.list, size) == size);
    const CItemIDList copy(item);
    Check(copy.GetSize() == size && std::memcmp(copy.list, item.list, size) == 0);

    std::wstring path;
    if (Failed(item.GetPath(path))) {
        Check(path.empty());
        return;
    }
    // A path that was had is usable and its file-system bytes survive the trip back.
    Check(!path.empty() && path.find(L'\0') == std::wstring::npos);
    Check(FromFileSystemPath(ToFileSystemPath(path)) == path);
    Check(item.GetPathOrThrow() == path);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBytesDropData drop(data, size);
    std::vector<CItemIDList> items;
    try {
        GetDroppedItems(&drop, items);
    } catch (const my::CException&) {
        Check(items.empty());
        return 0;
    }
    Check(!items.empty());
    for (const CItemIDList& item : items)
        CheckItem(item);
    return 0;
}
