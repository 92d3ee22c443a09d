#include "elements/plain_number.hpp"

#include <concepts>
#include <cstring>
#include <utility>

namespace orvane::python {

namespace {

template <class Item>
PlainNumber load(const void* block, std::size_t i) noexcept {
    Item item;
    std::memcpy(&item, static_cast<const std::byte*>(block) + i * sizeof item, sizeof item);
    PlainNumber number;
    if constexpr (std::floating_point<Item>) {
        number.kind = PlainNumber::Kind::Float;
        number.real = static_cast<double>(item);
    } else if (std::in_range<long long>(item)) {
        number.kind = PlainNumber::Kind::Integer;
        number.integer = static_cast<long long>(item);
    } else {
        number.kind = PlainNumber::Kind::Natural;
        number.natural = static_cast<std::uint64_t>(item);
    }
    return number;
}

/// Any byte but 0 is true.
PlainNumber loadTruthValue(const void* block, std::size_t i) noexcept {
    PlainNumber number = load<unsigned char>(block, i);
    number.integer = number.integer != 0;
    return number;
}

double toDouble(const PlainNumber& number) noexcept {
    switch (number.kind) {
    case PlainNumber::Kind::Integer:
        return static_cast<double>(number.integer);
    case PlainNumber::Kind::Natural:
        return static_cast<double>(number.natural);
    default:
        return number.real;
    }
}

} // namespace

PlainNumber PlainNumber::itemAt(const void* block, char format, std::size_t i) noexcept {
    switch (format) {
    case 'b':
        return load<signed char>(block, i);
    case 'B':
        return load<unsigned char>(block, i);
    case 'h':
        return load<short>(block, i);
    case 'H':
        return load<unsigned short>(block, i);
    case 'i':
        return load<int>(block, i);
    case 'I':
        return load<unsigned int>(block, i);
    case 'l':
        return load<long>(block, i);
    case 'L':
        return load<unsigned long>(block, i);
    case 'q':
        return load<long long>(block, i);
    case 'Q':
        return load<unsigned long long>(block, i);
    case 'f':
        return load<float>(block, i);
    case 'd':
        return load<double>(block, i);
    case '?':
        return loadTruthValue(block, i);
    default:
        return {};
    }
}

PlainNumber PlainNumber::pairAt(const void* block, char format) noexcept {
    PlainNumber number;
    number.kind = Kind::Complex;
    number.real = toDouble(itemAt(block, format, 0));
    number.imaginary = toDouble(itemAt(block, format, 1));
    return number;
}

} // namespace orvane::python
