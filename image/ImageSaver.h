// Saving a CDib through an encoder chosen by MIME type, with the published encoder-parameter block.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/StreamConvert.h"

namespace Gdiplus {

// A class or parameter identifier in the published 16-byte layout.
struct GUID {
    u32 Data1 = 0;
    u16 Data2 = 0;
    u16 Data3 = 0;
    u8 Data4[8] = {};
    bool operator==(const GUID&) const = default;
};
static_assert(sizeof(GUID) == 16, "a GUID is 16 bytes");

// One encoder parameter: its identifier, how many values, their type and where they lie.
struct EncoderParameter {
    GUID Guid;
    u32 NumberOfValues;
    u32 Type;
    void* Value;
};
static_assert(sizeof(EncoderParameter) == 16 + 8 + sizeof(void*), "published layout");
#if defined(__x86_64__)
static_assert(sizeof(EncoderParameter) == 32, "the 64-bit size of an encoder parameter");
#endif

// A count followed by that many parameters.
struct EncoderParameters {
    u32 Count;
    EncoderParameter Parameter[1];
};

constexpr u32 EncoderParameterValueTypeLong = 4;

// {1D5BE4B5-FA4A-452D-9CDD-5DB35105E7EB}: the JPEG quality, 0 to 100.
constexpr GUID EncoderQuality{
    0x1D5BE4B5, 0xFA4A, 0x452D, {0x9C, 0xDD, 0x5D, 0xB3, 0x51, 0x05, 0xE7, 0xEB}};

// The parameters handed to an encoder: a block in the published layout whose entries point into
// a list of values that owns the numbers. Not copyable, since the block points into the list.
class CEncodeParams {
public:
    CEncodeParams() = default;
    CEncodeParams(const CEncodeParams&) = delete;
    CEncodeParams& operator=(const CEncodeParams&) = delete;
    virtual ~CEncodeParams();

    // Appends a parameter with one value; the index of the new entry, or -1 when memory runs out.
    i32 AddLongParam(const GUID& guid, u32 type, u32 value);

    // The block for the encoder; null when no parameter was added.
    const EncoderParameters* Block() const { return block_; }
    size_t ValueCount() const { return valueCount_; }

private:
    EncoderParameters* block_ = nullptr;
    // A list keeps the address of each value while more are appended.
    std::list<u32> values_;
    size_t valueCount_ = 0;
};

// An encoder chosen by MIME type and the parameters for it. Configured before a conversion and
// only read while saving, so one saver may serve any thread once configured.
class CImageSaver {
public:
    CImageSaver() = default;
    CImageSaver(const CImageSaver&) = delete;
    CImageSaver& operator=(const CImageSaver&) = delete;
    virtual ~CImageSaver() = default;

    // Looks up "image/bmp", "image/jpeg" or "image/png", exactly, case included; 0x80004005 when
    // there is no such encoder.
    HResult SelectEncoder(const std::wstring& mimeType);

    // Encodes a 32-bit image in memory and writes it to `path` in one step: a failed save leaves
    // no half-written file. Without keepAlpha the image counts as opaque. 0x80004005 when no
    // encoder was selected or the encoder refuses; the Win32 code of a failed file operation as a
    // result code. The file carries the resolution of a new bitmap, not the source's. A JPEG or
    // PNG carries the image's colour profile with its numbers; a bitmap, which has no place for
    // one, gets the numbers turned into sRGB. Without replaceExisting a file already at path
    // stays as it is, and the save fails with 80 (ERROR_FILE_EXISTS) as a result code.
    HResult SaveDib(const CDib& dib, bool keepAlpha, const std::wstring& path,
                    bool replaceExisting = true) const;

    // Encodes as SaveDib does, into bytes instead of a file.
    HResult EncodeDib(const CDib& dib, bool keepAlpha, std::vector<u8>& bytes) const;

    // Whether the selected encoder takes a stream of rows (JPEG and PNG do; BMP does not), with
    // the format and the JPEG quality set in output.
    bool StreamsRows(StreamOutput& output) const;
    // Writes an encoded file to path as SaveDib writes its file, with the same codes.
    HResult WriteEncoded(const std::vector<u8>& bytes, const std::wstring& path,
                         bool replaceExisting = true) const;

    GUID clsid;
    CEncodeParams params;
};

} // namespace Gdiplus
