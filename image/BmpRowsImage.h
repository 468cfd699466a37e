// The rows of an uncompressed BMP as a libvips pipeline, decoded from the file as they are asked
// for, so that a streamed conversion never holds the whole image.
#pragma once

#include <memory>

#include <vips/vips8>

#include "image/BmpReader.h"

// An opened CBmpRows as a top-down image of four 8-bit bands, blue, green, red and alpha, laid
// out as a whole CDib wrapped in memory would be (no colour space, 1 pixel per millimetre), so
// that the operations behind it give the same bytes. The image keeps `rows` alive; the file's
// bytes must outlive it. Throws vips::VError when libvips cannot make it. Any thread.
vips::VImage BmpRowsImage(std::shared_ptr<const CBmpRows> rows);
