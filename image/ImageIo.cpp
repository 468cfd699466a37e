// Reading files whole into memory, and decoding built-in resources.
#include "image/ImageIo.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/FileIo.h"
#include "foundation/Paths.h"
#include "foundation/Win32Error.h"
#include "image/Decode.h"
#include "resources/ResourceData.h"

namespace {

// The read asks whether to stop after each chunk of this size.
constexpr size_t kChunkBytes = size_t{4} << 20;
constexpr u64 kLargestFile = 0xFFFFFFFFull;

// Fills `buffer` from the descriptor; stops early at the end of the file. Returns the bytes
// read, or a failure code in `result`.
size_t ReadChunks(int fd, u8* buffer, size_t size, const CTerminable* stop, HResult& result) {
    size_t done = 0;
    result = hr::kOk;
    while (done < size) {
        if (stop && stop->IsTerminated()) {
            result = hr::kAborted;
            return done;
        }
        const size_t want = std::min(kChunkBytes, size - done);
        const ssize_t got = ::read(fd, buffer + done, want);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            result = ResultFromErrno(errno);
            return done;
        }
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

} // namespace

HResult ReadFileToBuffer(CFileBytes& out, const std::wstring& path, const CTerminable* stop) {
    const std::string name = ToFileSystemPath(path);
    // A socket cannot be opened at all (ENXIO), so the kind of file is asked before the open.
    struct stat kind {};
    if (::stat(name.c_str(), &kind) == 0 && !S_ISREG(kind.st_mode) && !S_ISDIR(kind.st_mode))
        return hr::kNotOrdinaryFile;
    // Without O_NONBLOCK the open of a FIFO would wait for a writer before the type could be seen.
    CFileDescriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.Get() < 0)
        return ResultFromErrno(errno);
    struct stat info {};
    if (::fstat(file.Get(), &info) != 0)
        return ResultFromErrno(errno);
    if (S_ISDIR(info.st_mode))
        return ResultFromErrno(EISDIR);
    // A pipe, socket or device is no image file: only regular files are read.
    if (!S_ISREG(info.st_mode))
        return hr::kNotOrdinaryFile;
    const u64 size = static_cast<u64>(info.st_size);
    if (size > kLargestFile)
        return hr::kOutOfMemory;

    CFileBytes bytes;
    bytes.data.reset(new (std::nothrow) u8[size ? size : 1]);
    if (!bytes.data)
        return hr::kOutOfMemory;
    HResult result = hr::kOk;
    bytes.size = ReadChunks(file.Get(), bytes.data.get(), static_cast<size_t>(size), stop, result);
    if (Failed(result))
        return result;
    out = std::move(bytes);
    return hr::kOk;
}

HResult LoadImageResource(CDibPtr& out, u32 name, const char* type) {
    if (!type)
        return hr::kFail;
    const auto bytes = res::FindBinaryResource(name, type);
    if (bytes.empty())
        return hr::kFail;
    return DecodeImage(bytes.data(), bytes.size(), out);
}
