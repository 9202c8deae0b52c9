#include "OrvaneCore/String.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "OrvaneCore/TextConversion.h"

namespace Orvane {

namespace {

// Grows to the larger of the need and double the capacity, so that appending stays linear.
template <class Unit>
void grow(Unit*& block, std::int32_t& capacity, std::int64_t need) {
    if (need <= capacity)
        return;
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    if (need > most)
        throw std::length_error("text too long");
    const std::int64_t units = std::min(most, std::max(need, std::int64_t{2} * capacity));
    void* larger = std::realloc(block, static_cast<std::size_t>(units) * sizeof(Unit));
    if (larger == nullptr)
        throw std::bad_alloc();
    block = static_cast<Unit*>(larger);
    capacity = static_cast<std::int32_t>(units);
}

}  // namespace

String::String(const char* ansi) {
    if (ansi != nullptr)
        appendNarrow(ansi);
}

String::String(const std::string& ansi) {
    appendNarrow(ansi);
}

String::String(std::u16string_view wide) {
    append(wide);
}

String::String(const String& other) : Object() {
    append(other.view());
}

String::String(String&& other) noexcept : Object() {
    swap(other);
}

String& String::operator=(const String& other) {
    if (this != &other) {
        used = 0;
        append(other.view());
    }
    return *this;
}

String& String::operator=(String&& other) noexcept {
    swap(other);
    return *this;
}

String::~String() {
    std::free(data);
    std::free(narrowData);
}

void String::swap(String& other) noexcept {
    std::swap(data, other.data);
    std::swap(capacity, other.capacity);
    std::swap(used, other.used);
    std::swap(narrowData, other.narrowData);
    std::swap(narrowCapacity, other.narrowCapacity);
    std::swap(narrowLength, other.narrowLength);
}

void String::reserve(std::int64_t units) const {
    grow(data, capacity, units);
}

const char16_t* String::terminated() const {
    reserve(std::int64_t{used} + 1);
    data[used] = 0;
    return data;
}

String& String::append(std::u16string_view wide) {
    if (wide.empty())
        return *this;
    // Appending a part of this text to itself must survive the move of the storage.
    const bool own = wide.data() >= data && wide.data() < data + capacity;
    const std::ptrdiff_t offset = own ? wide.data() - data : 0;
    reserve(used + static_cast<std::int64_t>(wide.size()));
    const char16_t* source = own ? data + offset : wide.data();
    std::copy_n(source, wide.size(), data + used);
    used += static_cast<std::int32_t>(wide.size());
    return *this;
}

String& String::appendNarrow(std::string_view ansi) {
    const std::int64_t units = TextConversion::ansiToWide(ansi, nullptr);
    if (units == 0)
        return *this;
    reserve(used + units);
    TextConversion::ansiToWide(ansi, data + used);
    used += static_cast<std::int32_t>(units);
    return *this;
}

void String::truncate(std::int32_t newLength) noexcept {
    used = std::clamp(newLength, 0, used);
}

std::int32_t String::find(std::u16string_view what, std::int32_t from) const noexcept {
    const std::size_t at = view().find(what, static_cast<std::size_t>(std::max(from, 0)));
    return at == std::u16string_view::npos ? notFound : static_cast<std::int32_t>(at);
}

void String::toNarrow() const {
    const std::int64_t bytes = TextConversion::wideToAnsi(view(), nullptr);
    grow(narrowData, narrowCapacity, bytes + 1);
    TextConversion::wideToAnsi(view(), narrowData);
    narrowData[bytes] = 0;
    narrowLength = static_cast<std::int32_t>(bytes + 1);
}

const char* String::narrow() const {
    toNarrow();
    return narrowData;
}

String operator+(String left, const String& right) {
    left += right;
    return left;
}

String toWide(std::string_view ansi) {
    String wide;
    wide.appendNarrow(ansi);
    return wide;
}

std::string toAnsi(const String& text) {
    const std::int64_t bytes = TextConversion::wideToAnsi(text.view(), nullptr);
    std::string ansi(static_cast<std::size_t>(bytes), '\0');
    TextConversion::wideToAnsi(text.view(), ansi.data());
    return ansi;
}

}  // namespace Orvane
