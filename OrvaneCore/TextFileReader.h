#pragma once

#include <array>
#include <cstdio>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Reads a text file in the ANSI code page line by line. One thread at a time.
class TextFileReader {
  public:
    TextFileReader() = default;
    ~TextFileReader() { close(); }
    TextFileReader(const TextFileReader&) = delete;
    TextFileReader& operator=(const TextFileReader&) = delete;

    /// Others may read the file meanwhile but not write it. Throws the file exception on failure.
    void open(const String& path);
    /// The next line without its line feed and without zeros; at the end what is left, possibly
    /// nothing.
    void readLine(String& line);
    /// True once a read has met the end. A read error ends the file as well, or a folder in the
    /// place of a file would be read for ever.
    bool atEnd() const;
    void close();

  private:
    std::FILE* stream = nullptr;
    std::array<char, 1024> chunk{};
};

}  // namespace Orvane
