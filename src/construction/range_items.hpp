// The integers of a range, without making them.
#pragma once

#include <Python.h>

#include <optional>

#include "elements/conversion.hpp"

namespace orvane::python {

/// The integers `first`, `first + step`, ..., `length` of them.
struct RangeItems {
    long long first;
    long long step;
    long length; ///< one or more

    long long last() const noexcept { return first + (length - 1) * step; }
};

/// Nothing, with no error set, when a range is empty or one of its integers is beyond 64 bits.
std::optional<RangeItems> itemsOfRange(PyObject* range);

/// Whether all integers of a range can be stored.
template <class Real>
bool canStore(const RangeItems& items) {
    Real part{};
    return storeInteger(items.first, part) && storeInteger(items.last(), part);
}

} // namespace orvane::python
