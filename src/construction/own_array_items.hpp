// The short cut for arrays of this module, whole or views, as values to read.
#pragma once

#include <Python.h>

#include <cstddef>
#include <optional>

#include "core/selection.hpp"
#include "elements/plain_number.hpp"

namespace orvane::python {

/// What the sequence protocol of an array would show: numbers in reading order, the last dimension fastest. The
/// array must not change meanwhile; no code of the caller's runs.
struct OwnArrayItems {
    Selection selection;
    const std::byte* elements;
    char format;
    bool isComplex;

    /// Nothing for any other object, and for arrays of which the protocol shows faults or no number at all. Throws
    /// `std::bad_alloc`.
    static std::optional<OwnArrayItems> of(PyObject* value);

    std::size_t count() const noexcept { return static_cast<std::size_t>(selection.elementCount); }
    PlainNumber at(unsigned long offset) const noexcept {
        return isComplex ? PlainNumber::pairAt(elements + offset, format)
                         : PlainNumber::itemAt(elements + offset, format, 0);
    }
};

/// False when a number cannot be stored; the target, which has room for `items.count()`, is then partly filled.
template <class T, bool isConstruction>
bool readOwnArray(const OwnArrayItems& items, T* target) {
    SelectionOdometer odometer(items.selection);
    do {
        if (!storeNumber<T, isConstruction>(items.at(odometer.offset()), *target++))
            return false;
    } while (odometer.advance());
    return true;
}

} // namespace orvane::python
