// Preparing the encoder for a save type: the saver with its MIME type and parameters, and whether
// the chosen format keeps alpha.
#pragma once

#include <boost/shared_ptr.hpp>

#include "foundation/Types.h"
#include "image/ImageSaver.h"
#include "image/SaveType.h"

// The JPEG encoder's best quality. A larger number, from the store or a caller, is taken as it:
// libvips accepts 1 to 100 and would save anything else at its default with a warning.
constexpr u32 kBestJpegQuality = 100;

// Each preparation sets keepsAlpha to FormatKeepsAlpha of its format (image/OutputAlpha.h),
// replaces `saver` by a new saver (releasing any earlier one, so no parameter of an earlier
// preparation survives), and selects the encoder. When no encoder is found `saver` becomes empty
// and the lookup's code is returned. Run on the thread that builds the task, before the task runs.

// "image/bmp", no parameters; keepsAlpha false.
HResult PrepareBmpEncoder(boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha);

// "image/jpeg" with one parameter, EncoderQuality of type 4 holding `quality` as it is;
// keepsAlpha false. 0x80004001 when the parameter cannot be added; `saver` stays set then.
HResult PrepareJpegEncoder(u32 quality, boost::shared_ptr<Gdiplus::CImageSaver>& saver,
                           bool& keepsAlpha);

// "image/png", no parameters; keepsAlpha true.
HResult PreparePngEncoder(boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha);

// By save type: savetype::kBmp, savetype::kJpeg with jpegQuality, any other value PNG.
HResult PrepareEncoder(u32 saveType, u32 jpegQuality,
                       boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha);
