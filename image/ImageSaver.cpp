// The encoder list, the encoder-parameter block and the atomic write of an encoded image.
#include "image/ImageSaver.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "foundation/FileIo.h"
#include "foundation/Win32Error.h"
#include "image/BmpWriter.h"
#include "image/Codec.h"
#include "image/SaveType.h"

namespace Gdiplus {
namespace {

enum class Format { kBmp, kJpeg, kPng };

struct EncoderEntry {
    const wchar_t* mimeType;
    GUID clsid;
    Format format;
};

// The encoders of this program, under the class identifiers that the graphics library publishes
// for them.
const EncoderEntry kEncoders[] = {
    {L"image/bmp",
     {0x557CF400, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}},
     Format::kBmp},
    {L"image/jpeg",
     {0x557CF401, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}},
     Format::kJpeg},
    {L"image/png",
     {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}},
     Format::kPng},
};

EncoderParameter* Entries(EncoderParameters* block) {
    return reinterpret_cast<EncoderParameter*>(reinterpret_cast<u8*>(block) +
                                               offsetof(EncoderParameters, Parameter));
}

const EncoderParameter* Entries(const EncoderParameters* block) {
    return reinterpret_cast<const EncoderParameter*>(reinterpret_cast<const u8*>(block) +
                                                     offsetof(EncoderParameters, Parameter));
}

u32 JpegQuality(const EncoderParameters* block) {
    if (!block)
        return kDefaultJpegQuality;
    const EncoderParameter* entry = Entries(block);
    for (u32 i = 0; i < block->Count; ++i, ++entry) {
        if (entry->Guid == EncoderQuality && entry->NumberOfValues >= 1 &&
            entry->Type == EncoderParameterValueTypeLong && entry->Value)
            return *static_cast<const u32*>(entry->Value);
    }
    return kDefaultJpegQuality;
}

} // namespace

CEncodeParams::~CEncodeParams() {
    std::free(block_);
}

i32 CEncodeParams::AddLongParam(const GUID& guid, u32 type, u32 value) {
    const u32 count = block_ ? block_->Count : 0;
    const size_t bytes =
        (static_cast<size_t>(count) + 1) * sizeof(EncoderParameter) + sizeof(EncoderParameters);
    void* grown = std::realloc(block_, bytes);
    if (!grown)
        return -1;
    block_ = static_cast<EncoderParameters*>(grown);
    block_->Count = count;
    try {
        values_.push_back(value);
    } catch (const std::bad_alloc&) {
        return -1;
    }
    ++valueCount_;
    EncoderParameter& entry = Entries(block_)[count];
    entry.Guid = guid;
    entry.NumberOfValues = 1;
    entry.Type = type;
    entry.Value = &values_.back();
    block_->Count = count + 1;
    return static_cast<i32>(count);
}

HResult CImageSaver::SelectEncoder(const std::wstring& mimeType) {
    for (const EncoderEntry& entry : kEncoders) {
        if (mimeType == entry.mimeType) {
            clsid = entry.clsid;
            return hr::kOk;
        }
    }
    return hr::kFail;
}

HResult CImageSaver::SaveDib(const CDib& dib, bool keepAlpha, const std::wstring& path,
                             bool replaceExisting) const {
    std::vector<u8> bytes;
    HResult result = EncodeDib(dib, keepAlpha, bytes);
    if (Failed(result))
        return result;
    return WriteEncoded(bytes, path, replaceExisting);
}

HResult CImageSaver::EncodeDib(const CDib& dib, bool keepAlpha, std::vector<u8>& bytes) const {
    const EncoderEntry* encoder = nullptr;
    for (const EncoderEntry& entry : kEncoders) {
        if (entry.clsid == clsid)
            encoder = &entry;
    }
    if (!encoder || !IsDib32(dib))
        return hr::kFail;

    bytes.clear();
    HResult result = hr::kFail;
    try {
        switch (encoder->format) {
        case Format::kBmp:
            // A bitmap has no place for a colour profile: its numbers are taken as sRGB.
            if (dib.ColourProfile().empty()) {
                result = EncodeBmp(dib, keepAlpha, bytes);
            } else {
                CDibPtr srgb;
                result = ConvertToSrgb(dib, srgb);
                if (Succeeded(result))
                    result = EncodeBmp(*srgb, keepAlpha, bytes);
            }
            break;
        case Format::kJpeg:
            result = EncodeJpeg(dib, JpegQuality(params.Block()), bytes);
            break;
        case Format::kPng:
            result = EncodePng(dib, keepAlpha, bytes);
            break;
        }
    } catch (const std::bad_alloc&) {
        return hr::kOutOfMemory;
    }
    return result;
}

bool CImageSaver::StreamsRows(StreamOutput& output) const {
    for (const EncoderEntry& entry : kEncoders) {
        if (entry.clsid != clsid)
            continue;
        if (entry.format == Format::kBmp)
            return false;
        output.jpeg = entry.format == Format::kJpeg;
        output.jpegQuality = JpegQuality(params.Block());
        return true;
    }
    return false;
}

HResult CImageSaver::WriteEncoded(const std::vector<u8>& bytes, const std::wstring& path,
                                  bool replaceExisting) const {
    // The output replaces whatever stands under its name, a link included: a link planted in an
    // output folder never leads the write to a file elsewhere. Without replaceExisting whatever
    // stands there stays, and the write fails instead.
    AtomicWriteOptions options;
    options.replaceExisting = replaceExisting;
    return ResultFromWin32(WriteFileAtomically(path, bytes.data(), bytes.size(), options));
}

} // namespace Gdiplus
