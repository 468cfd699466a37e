// The settings object: defaults, the sub-folder history and the output that they choose.
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

OutputFormat FormatOfSaveType(u32 saveType) {
    switch (saveType) {
    case savetype::kJpeg:
        return OutputFormat::kJpeg;
    case savetype::kWebp:
        return OutputFormat::kWebp;
    case savetype::kAvif:
        return OutputFormat::kAvif;
    default:
        return OutputFormat::kPng;
    }
}

std::wstring CSetting::OutputSubFolder() const {
    return subFolders.empty() ? std::wstring(L"trim") : subFolders.front();
}

OutputChoice CSetting::Output() const {
    OutputChoice output;
    output.format = FormatOfSaveType(saveType);
    output.quality = jpegQuality;
    output.keepAlpha = round.transparent && output.HoldsAlpha();
    output.backgroundColor = round.backgroundColor;
    output.upright = !keepStoredOrientation;
    output.metadata = metadata <= metadatakept::kAll ? metadata : metadatakept::kNone;
    output.keepDate = keepDates;
    return output;
}

CSetting& TheSetting() {
    static CSetting setting;
    return setting;
}
