// The TIFF structure of an EXIF block, and the properties of an XMP packet, edited in place.
#include "image/MetadataEdit.h"

#include <algorithm>
#include <regex>

namespace {

constexpr u16 kOrientationTag = 0x0112;
constexpr u16 kGpsTag = 0x8825;
constexpr size_t kEntryBytes = 12;

// A TIFF block read in its byte order, every access checked against its size.
class CTiff {
public:
    explicit CTiff(std::vector<u8>& bytes) : b_(bytes) {}

    bool Open() {
        if (b_.size() < 8)
            return false;
        if (b_[0] == 'I' && b_[1] == 'I')
            little_ = true;
        else if (b_[0] == 'M' && b_[1] == 'M')
            little_ = false;
        else
            return false;
        return Read16(2) == 42;
    }

    bool Fits(size_t at, size_t size) const { return at <= b_.size() && size <= b_.size() - at; }
    u32 Read16(size_t at) const {
        return little_ ? b_[at] | (b_[at + 1] << 8) : (b_[at] << 8) | b_[at + 1];
    }
    u32 Read32(size_t at) const {
        return little_ ? Read16(at) | (Read16(at + 2) << 16) : (Read16(at) << 16) | Read16(at + 2);
    }
    void Write16(size_t at, u32 value) {
        b_[at + (little_ ? 0 : 1)] = static_cast<u8>(value);
        b_[at + (little_ ? 1 : 0)] = static_cast<u8>(value >> 8);
    }
    void Write32(size_t at, u32 value) {
        Write16(at + (little_ ? 0 : 2), value & 0xFFFF);
        Write16(at + (little_ ? 2 : 0), value >> 16);
    }
    void Zero(size_t at, size_t size) {
        std::fill(b_.begin() + static_cast<std::ptrdiff_t>(at),
                  b_.begin() + static_cast<std::ptrdiff_t>(at + size), u8{0});
    }

    // The directory at `at`: its entry count, when the whole of it and its next offset fit.
    bool Directory(size_t at, size_t& count) const {
        if (!Fits(at, 2))
            return false;
        count = Read16(at);
        return Fits(at + 2, count * kEntryBytes + 4);
    }

    // The bytes of an entry's value that lie outside it, as offset and size; size 0 when the
    // value lies in the entry itself.
    bool OutsideValue(size_t entry, size_t& at, size_t& size) const {
        static constexpr size_t kTypeSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
        const u32 type = Read16(entry + 2);
        const u64 count = Read32(entry + 4);
        const u64 bytes = type < std::size(kTypeSizes) ? kTypeSizes[type] * count : 0;
        size = 0;
        if (bytes <= 4)
            return true;
        at = Read32(entry + 8);
        size = static_cast<size_t>(bytes);
        return Fits(at, size);
    }

    // Zeroes a directory with the values of its entries, and the data that `dataTags` point at
    // (offset tag, length tag).
    bool Wipe(size_t at, u16 offsetTag = 0, u16 lengthTag = 0) {
        size_t count = 0;
        if (!Directory(at, count))
            return false;
        size_t dataAt = 0, dataSize = 0;
        for (size_t i = 0; i < count; ++i) {
            const size_t entry = at + 2 + i * kEntryBytes;
            size_t valueAt = 0, valueSize = 0;
            if (!OutsideValue(entry, valueAt, valueSize))
                return false;
            if (valueSize > 0)
                Zero(valueAt, valueSize);
            if (offsetTag != 0 && Read16(entry) == offsetTag)
                dataAt = Read32(entry + 8);
            if (lengthTag != 0 && Read16(entry) == lengthTag)
                dataSize = Read32(entry + 8);
        }
        if (dataSize > 0 && Fits(dataAt, dataSize))
            Zero(dataAt, dataSize);
        Zero(at, 2 + count * kEntryBytes + 4);
        return true;
    }

private:
    std::vector<u8>& b_;
    bool little_ = true;
};

} // namespace

bool EditExif(std::vector<u8>& tiff, bool dropLocation, bool upright) {
    std::vector<u8> edited = tiff;
    CTiff t(edited);
    if (!t.Open())
        return false;
    const size_t first = t.Read32(4);
    size_t count = 0;
    if (!t.Directory(first, count))
        return false;
    for (size_t i = 0; i < count; ++i) {
        const size_t entry = first + 2 + i * kEntryBytes;
        const u32 tag = t.Read16(entry);
        if (upright && tag == kOrientationTag) {
            // SHORT as the standard says; some cameras write a LONG or a signed type.
            const u32 type = t.Read16(entry + 2);
            if (type == 3 || type == 8)
                t.Write16(entry + 8, 1);
            else if (type == 4 || type == 9)
                t.Write32(entry + 8, 1);
        }
        if (tag != kGpsTag || !dropLocation)
            continue;
        if (!t.Wipe(t.Read32(entry + 8)))
            return false;
        // The entry goes; the ones after it move up, and the directory ends 12 bytes sooner.
        const size_t end = first + 2 + count * kEntryBytes + 4;
        std::copy(edited.begin() + static_cast<std::ptrdiff_t>(entry + kEntryBytes),
                  edited.begin() + static_cast<std::ptrdiff_t>(end),
                  edited.begin() + static_cast<std::ptrdiff_t>(entry));
        t.Zero(end - kEntryBytes, kEntryBytes);
        t.Write16(first, static_cast<u32>(--count));
        --i;
    }
    // The thumbnail's directory, with the JPEG that it points at, goes.
    const size_t next = first + 2 + count * kEntryBytes;
    if (const u32 thumbnail = t.Read32(next); thumbnail != 0) {
        if (!t.Wipe(thumbnail, 0x0201, 0x0202))
            return false;
        t.Write32(next, 0);
    }
    tiff.swap(edited);
    return true;
}

void EditXmp(std::string& xmp, bool dropLocation, bool upright) {
    // The value of tiff:Orientation, as an attribute or as an element.
    static const std::regex attributeOrientation(R"re((tiff:Orientation\s*=\s*["'])\d+(["']))re");
    static const std::regex elementOrientation(
        R"((<tiff:Orientation>)\s*\d+\s*(</tiff:Orientation>))");
    if (upright) {
        xmp = std::regex_replace(xmp, attributeOrientation, "$011$02");
        xmp = std::regex_replace(xmp, elementOrientation, "$011$02");
    }
    if (!dropLocation)
        return;
    const std::string names = R"((exif:GPS\w*|photoshop:(?:City|State|Country)|)"
                              R"(Iptc4xmpCore:(?:Location|CountryCode)|)"
                              R"(Iptc4xmpExt:Location(?:Created|Shown)))";
    static const std::regex attribute(R"(\s+)" + names + R"re(\s*=\s*(?:"[^"]*"|'[^']*'))re");
    static const std::regex empty("<" + names + R"(\b[^>]*/>)");
    static const std::regex element("<" + names + R"(\b[^>]*>[\s\S]*?</\1\s*>)");
    xmp = std::regex_replace(xmp, attribute, "");
    xmp = std::regex_replace(xmp, empty, "");
    xmp = std::regex_replace(xmp, element, "");
}
