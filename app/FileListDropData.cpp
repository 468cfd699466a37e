#include "app/FileListDropData.h"

namespace lvx {

HResult CFileListDropData::GetData(const std::wstring& format, std::vector<u8>& out) const {
    if (format != kShellIdListArrayFormat) {
        out.clear();
        return hr::kFormatNotAvailable;
    }
    out = block_;
    return hr::kOk;
}

} // namespace lvx
