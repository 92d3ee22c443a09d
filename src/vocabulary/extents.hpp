// Lists of extents, and how many elements they make.
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <span>

#include <boost/container/small_vector.hpp>

namespace orvane::python {

/// Room for this many dimensions without a heap allocation.
inline constexpr std::size_t commonRank = 4;

template <class T>
using DimensionVector = boost::container::small_vector<T, commonRank>;
using Extents = DimensionVector<long>;

/// So many extents are read on the word of a sequence that says how many it has. Before reading on, make room for
/// all of them: that fails at once where filling the memory would take hours.
inline constexpr std::size_t extentsReadOnTrust = std::size_t{1} << 20;

/// The product of `extents` as a signed 64-bit number, 1 when there are none; nothing when it does not fit.
/// A zero among them makes the product 0, however large the others are.
template <class Integer>
std::optional<long> checkedProduct(std::span<const Integer> extents) noexcept {
    unsigned long product = 1;
    bool overflowed = false;
    for (const Integer extent : extents) {
        if (extent == 0)
            return 0;
        overflowed |= __builtin_mul_overflow(product, static_cast<unsigned long>(extent), &product);
    }
    if (overflowed || product > static_cast<unsigned long>(std::numeric_limits<long>::max()))
        return std::nullopt;
    return static_cast<long>(product);
}

} // namespace orvane::python
