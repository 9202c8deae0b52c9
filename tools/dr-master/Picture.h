#pragma once

#include "Image.h"
#include "OrvaneCore/String.h"

namespace Orvane {

/// Writes what a person can look at: a PNG file, 8 bits, sRGB. Colour from R, G and B, otherwise
/// grey from Y or the first full channel; an alpha channel is left out, values outside 0 to 1 are
/// cut. Throws Failure.
void writePicture(const Image& image, const String& path);

}  // namespace Orvane
