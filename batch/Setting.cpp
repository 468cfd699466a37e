// The settings object: defaults, the sub-folder history and the output extension.
#include "batch/Setting.h"

#include <algorithm>

#include "foundation/KnownFolders.h"

void CHistoryList::Add(const std::wstring& text) {
    auto same = std::find(items_.begin(), items_.end(), text);
    if (same != items_.end())
        items_.erase(same);
    items_.push_front(text);
    if (items_.size() > limit_)
        items_.resize(limit_);
}

void CHistoryList::Resize(std::size_t count) {
    items_.resize(count);
}

CSetting::CSetting() : outputPath(PicturesFolder()), subFolders(16) {
    subFolders.Add(L"round");
}

std::wstring CSetting::ExtensionOfSaveType() const {
    switch (saveType) {
    case savetype::kBmp:
        return L"bmp";
    case savetype::kJpeg:
        return L"jpg";
    default:
        return L"png";
    }
}

CSetting& TheSetting() {
    static CSetting setting;
    return setting;
}
