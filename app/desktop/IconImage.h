#pragma once

#include <cstddef>

/// The program's icon as a PNG file, generated from app/icon/orvane-dr-server.png by the build.
extern const unsigned char iconImage[];
extern const std::size_t iconImageSize;
