// The encoder list, the encoder-parameter block and the atomic write of an encoded image.
#include "image/ImageSaver.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"
#include "image/BmpWriter.h"
#include "image/Codec.h"

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

// The JPEG encoder's quality when no parameter says otherwise.
constexpr u32 kDefaultJpegQuality = 75;

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

HResult ResultFromErrno(int error) {
    return ResultFromWin32(Win32FromErrno(error));
}

// A temporary file beside the target, created exclusively.
int CreateTemporary(const std::string& folder, std::string& name) {
    static std::atomic<u32> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = folder + ".lvx" + std::to_string(::getpid()) + "-" +
               std::to_string(counter.fetch_add(1)) + ".tmp";
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    errno = EEXIST;
    return -1;
}

bool WriteAll(int fd, const u8* data, size_t size) {
    while (size > 0) {
        const ssize_t done = ::write(fd, data, size);
        if (done < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += done;
        size -= static_cast<size_t>(done);
    }
    return true;
}

// Writes the bytes to a temporary file in the target's folder, flushes it to the disk and moves
// it over the target, so that the target is either the old file or the whole new one.
HResult WriteFileAtomic(const std::wstring& path, const std::vector<u8>& bytes) {
    const std::string target = Utf8FromWide(path);
    const size_t slash = target.rfind('/');
    const std::string folder =
        slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    std::string temporary;
    const int fd = CreateTemporary(folder, temporary);
    if (fd < 0)
        return ResultFromErrno(errno);
    bool ok = WriteAll(fd, bytes.data(), bytes.size()) && ::fsync(fd) == 0;
    int error = ok ? 0 : errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        error = errno;
    }
    if (ok && ::rename(temporary.c_str(), target.c_str()) != 0) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        ::unlink(temporary.c_str());
        return ResultFromErrno(error);
    }
    return hr::kOk;
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

HResult CImageSaver::SaveDib(const CDib& dib, bool keepAlpha, const std::wstring& path) const {
    const EncoderEntry* encoder = nullptr;
    for (const EncoderEntry& entry : kEncoders) {
        if (entry.clsid == clsid)
            encoder = &entry;
    }
    if (!encoder || !IsDib32(dib))
        return hr::kFail;

    std::vector<u8> bytes;
    HResult result = hr::kFail;
    try {
        switch (encoder->format) {
        case Format::kBmp:
            result = EncodeBmp(dib, keepAlpha, bytes) ? hr::kOk : hr::kFail;
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
    if (Failed(result))
        return result;
    return WriteFileAtomic(path, bytes);
}

} // namespace Gdiplus
