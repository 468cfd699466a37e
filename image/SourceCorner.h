// Reading one corner of an image file again at full resolution, for a preview whose copy was
// decoded at a reduced size.
#pragma once

#include <string>

#include <vips/vips8>

#include "foundation/Types.h"
#include "image/DecodeLimits.h"

// The square of at most side x side pixels at `anchor` (a corner of paneanchor::) of the picture
// as the file at `path` stores it (no turn), as four bands in memory: blue, green, red and
// straight alpha, 255 where the file has no alpha. The decoder reads rows from the top down to
// the square and keeps only the square. The codes of ReadFileToBuffer and CDecodeStream::Open;
// hr::kFail when the file declares another size than `expected` (it changed since the copy was
// made) or its pixels could not be read. Any thread.
HResult ReadSourceCorner(const std::wstring& path, const CDecodeLimits& limits, Size expected,
                         u32 anchor, i32 side, vips::VImage& out);
