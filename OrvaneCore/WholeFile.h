#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "OrvaneCore/String.h"

/// Small files as a whole. Any thread; nothing is thrown but for lack of memory.
namespace Orvane::WholeFile {

/// Puts the bytes in the file's place; whoever reads it sees what it was or what it is now. False,
/// and the file as it was, when that fails: on Windows also while a reader keeps it to himself.
bool replace(const String& path, std::string_view bytes);

/// What stands behind the byte `from`, at most the last `most` bytes of it; empty when there is
/// nothing that can be read.
std::string readEnd(const String& path, std::int64_t from, std::size_t most);

}  // namespace Orvane::WholeFile
