// The application's one settings object: output folder, sub-folder history, output type and
// quality, the window record, and the shrink and round records that each conversion copies, with
// the output that they choose.
#pragma once

#include <cstddef>
#include <list>
#include <string>

#include "foundation/Types.h"
#include "image/DecodeLimits.h"
#include "image/OutputChoice.h"
#include "image/RoundSettings.h"
#include "image/SaveType.h"
#include "image/ShrinkSettings.h"

// A bounded list of texts, the most recent first.
class CHistoryList {
public:
    using List = std::list<std::wstring>;

    explicit CHistoryList(u32 limit = 0) : limit_(limit) {}

    // Moves text to the front: the first equal entry (compared with case) is removed, text is put
    // in front, and the list is cut to its limit from the end.
    void Add(const std::wstring& text);
    // Drops entries from the end, or appends empty texts, until the list has count entries.
    void Resize(std::size_t count);

    u32 limit() const { return limit_; }

    List::iterator begin() { return items_.begin(); }
    List::iterator end() { return items_.end(); }
    List::const_iterator begin() const { return items_.begin(); }
    List::const_iterator end() const { return items_.end(); }
    std::size_t size() const { return items_.size(); }
    bool empty() const { return items_.empty(); }
    const std::wstring& front() const { return items_.front(); }
    bool operator==(const CHistoryList&) const = default;

private:
    List items_;
    u32 limit_;
};

// The frame's placement as stored: the full-screen flag, then the outer rectangle.
struct WindowSetting {
    bool fullScreen = false;
    Rect rect;
    bool operator==(const WindowSetting&) const = default;
};

// The fields in their order, with the constructor's defaults. The process has one of these,
// TheSetting(); conversions work on copies. Stored by persist/Settings.h.
class CSetting {
public:
    CSetting();

    // What every conversion with these settings writes, decided here once: the format of
    // saveType (FormatOfSaveType) at jpegQuality; the alpha kept where the round settings ask for
    // a transparent background and the format holds alpha, else the round settings' background
    // colour; the picture upright unless the stored orientation is kept. The plan takes its
    // extension, the conversion and the preview the rest.
    OutputChoice Output() const;
    // The sub-folder that outputs go to: the newest of the history, "trim" when it is empty.
    std::wstring OutputSubFolder() const;

    std::wstring outputPath; // the user's pictures folder; empty when it cannot be had
    CHistoryList subFolders; // limit 16, one entry "round"
    u32 saveType = savetype::kJpeg;
    u32 jpegQuality = kDefaultJpegQuality;
    WindowSetting window;
    ShrinkSettings shrink;
    RoundSettings round;
    u32 maxPixels = kDefaultMaxPixels; // a larger source is refused before it is decoded
    // MiB that one file's decoding may need, and that the files converted at once may need together
    u32 maxMemoryMb = kDefaultMaxMemoryMb;
    // The picture is written as it is stored, not turned upright as its orientation tag says.
    bool keepStoredOrientation = false;
    u32 metadata = metadatakept::kNone; // what outputs keep of the source's metadata
    bool keepDates = false;             // outputs take their sources' modification times

    bool operator==(const CSetting&) const = default;
};

// The format that a stored output type writes: JPEG, WebP or AVIF for their own values, PNG for
// any other (a stored BMP is read back as PNG).
OutputFormat FormatOfSaveType(u32 saveType);

// The one settings object of the process, built at the first call (so that tests can point the
// known folders elsewhere before it takes its default output folder). Touched by the main thread
// only.
CSetting& TheSetting();
