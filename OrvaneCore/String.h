#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "OrvaneCore/Object.h"

namespace Orvane {

/// The core's text: UTF-16 code units with a cached 8-bit form in the system's ANSI code page
/// (Windows-1252 on Linux). A String is not shared between threads, each keeps its own copy: even
/// narrow() of a const String rewrites the cache.
/// Lack of memory is reported with std::bad_alloc, a length beyond 31 bits with std::length_error.
class String : public Object {
  public:
    /// What a search answers when there is nothing to be found.
    static constexpr std::int32_t notFound = 2147483647;

    String() noexcept = default;
    /// From 8-bit text in the ANSI code page; null is the empty text.
    String(const char* ansi);         // NOLINT(google-explicit-constructor): log lines read better
    String(const std::string& ansi);  // NOLINT(google-explicit-constructor)
    /// From UTF-16 code units, zeros included.
    explicit String(std::u16string_view wide);
    String(const String& other);
    String(String&& other) noexcept;
    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;
    ~String();

    void swap(String& other) noexcept;

    std::int32_t length() const noexcept { return used; }
    bool isEmpty() const noexcept { return used == 0; }
    /// The code units; valid until the next change.
    std::u16string_view view() const noexcept { return {data, static_cast<std::size_t>(used)}; }
    /// The code units with a zero behind them, for C interfaces; valid until the next change.
    const char16_t* terminated() const;

    String& operator+=(const String& other) { return append(other.view()); }
    String& append(std::u16string_view wide);
    /// Appends 8-bit text in the ANSI code page.
    String& appendNarrow(std::string_view ansi);
    /// Cuts the text to newLength code units; a longer length changes nothing. Storage is kept.
    void truncate(std::int32_t newLength) noexcept;

    /// Position of the first occurrence at or behind `from`, or notFound.
    std::int32_t find(std::u16string_view what, std::int32_t from = 0) const noexcept;

    /// Rebuilds the 8-bit form. Characters outside the code page become its default character.
    void toNarrow() const;
    /// toNarrow(), then the 8-bit form with its terminating zero; valid until the next call.
    const char* narrow() const;
    /// Bytes of the 8-bit form as of the last toNarrow(), without the terminating zero.
    std::int32_t narrowSize() const noexcept { return narrowLength > 0 ? narrowLength - 1 : 0; }

    friend bool operator==(const String& a, const String& b) noexcept {
        return a.view() == b.view();
    }

  private:
    void reserve(std::int64_t units) const;

    // Mutable because the terminator and the cache are written on behalf of readers.
    mutable char16_t* data = nullptr;
    mutable std::int32_t capacity = 0;
    std::int32_t used = 0;
    mutable char* narrowData = nullptr;
    mutable std::int32_t narrowCapacity = 0;
    mutable std::int32_t narrowLength = 0;  // terminator included
};

String operator+(String left, const String& right);

/// 8-bit text in the ANSI code page to wide text; what cannot be converted yields the empty text.
String toWide(std::string_view ansi);
/// Wide text to the ANSI code page, without touching the String's cache.
std::string toAnsi(const String& text);

}  // namespace Orvane
