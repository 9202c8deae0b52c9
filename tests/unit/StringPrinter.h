#pragma once

#include <ostream>

#include "OrvaneCore/String.h"

namespace Orvane {

/// What GoogleTest shows of a text; it finds this by its name.
inline void PrintTo(const String& text, std::ostream* out) {
    *out << '"' << toAnsi(text) << '"';
}

}  // namespace Orvane
