// Editing a source's EXIF and XMP for an output: the orientation set to 1 (the output is written
// upright), the embedded thumbnail dropped and, when asked, the location taken out.
// Any thread: works on bytes only.
#pragma once

#include <string>
#include <vector>

#include "foundation/Types.h"

// `tiff` is an EXIF block as it follows "Exif\0\0": a byte order mark, 42 and the first
// directory. The orientation tag of the first directory becomes 1 for a picture written upright
// (otherwise it stays, and viewers turn the stored picture as before); the second directory (the
// thumbnail) is unlinked and its entries and data are zeroed; with dropLocation the GPS
// directory is unlinked and zeroed the same way, so that no byte of the location stays. The size
// stays. False, with `tiff` unchanged, for a block that this does not read (the caller leaves
// it out).
bool EditExif(std::vector<u8>& tiff, bool dropLocation, bool upright = true);

// `xmp` is an XMP packet. A tiff:Orientation property becomes 1 for a picture written upright; with
// dropLocation every exif:GPS property and the location properties of Photoshop and IPTC (City,
// State, Country, Location, CountryCode, LocationCreated, LocationShown), as attributes or as
// elements, are taken out.
void EditXmp(std::string& xmp, bool dropLocation, bool upright = true);
