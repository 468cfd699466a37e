// Reading a file whole into memory, and decoding a built-in resource into a CDib.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "foundation/Terminable.h"
#include "foundation/Types.h"
#include "image/Dib.h"

// The whole content of a file, owned.
struct CFileBytes {
    std::unique_ptr<u8[]> data;
    size_t size = 0;
};

// Reads the whole file into memory, in chunks, asking `stop` between them. The Win32 code of the
// failing call as a result code when the file cannot be opened or read (a folder gives the code
// of EISDIR), hr::kNotOrdinaryFile for a socket, pipe or device, 0x8007000E for a file of 4 GiB or
// more (refused before reading) or when memory runs out, 0x800703E3 when stopped. Any thread.
HResult ReadFileToBuffer(CFileBytes& out, const std::wstring& path,
                         const CTerminable* stop = nullptr);

// Decodes a built-in binary resource, e.g. (138, "IMAGE"); 0x80004005 when there is none.
HResult LoadImageResource(CDibPtr& out, u32 name, const char* type);
