#pragma once

#include <cstdint>
#include <exception>

#include "OrvaneCore/Object.h"
#include "OrvaneCore/String.h"

namespace Orvane {

/// The one exception of the core: a wide message and a code that the throw site chooses.
class Exception : public std::exception, public Polymorphic {
  public:
    explicit Exception(String text, std::uint32_t number = 0);

    /// The message in the ANSI code page, rebuilt at each call; valid until the next one.
    const char* what() const noexcept override;
    virtual const String& getMessage() const noexcept { return message; }
    virtual std::uint32_t getCode() const noexcept { return code; }

  private:
    String message;
    std::uint32_t code;
};

constexpr std::uint32_t fileErrorCode = 456;
constexpr std::uint32_t fatalJobErrorCode = 123;

/// What every failure to open, read or write the file at `path` throws.
Exception fileException(const String& path);

}  // namespace Orvane
