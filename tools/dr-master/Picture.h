#pragma once

#include "Image.h"
#include "OrvaneCore/String.h"

namespace Orvane {

/// The channels, as indices, that make up what a person sees: R, G and B, otherwise Y or the first
/// one; of full resolution only. Empty when there is none.
std::vector<std::size_t> channelsToShow(const ImageLayout& layout);

/// Writes what a person can look at: a PNG file, 8 bits, sRGB, in colour or, with one
/// channel to show, grey. Values outside 0 to 1 are cut. Throws Failure.
void writePicture(const Image& image, const String& path);

}  // namespace Orvane
