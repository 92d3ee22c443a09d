// The short cut for arrays of this module, whole or views, as values to read.
#pragma once

#include <Python.h>

#include <algorithm>
#include <cstddef>
#include <optional>

#include "core/selection.hpp"
#include "elements/plain_number.hpp"
#include "vocabulary/caller_code.hpp"

namespace orvane::python {

/// What the sequence protocol of an array would show: numbers in reading order, the last dimension fastest.
struct OwnArrayItems {
    Selection selection;
    const ODArrayWrapper& wrapper; ///< of the array, which is held by whoever reads
    char format;
    bool isComplex;

    /// Nothing for any other object, and for arrays of which the protocol shows faults or no number at all. Throws
    /// `std::bad_alloc`.
    static std::optional<OwnArrayItems> of(PyObject* value);

    std::size_t count() const noexcept { return static_cast<std::size_t>(selection.elementCount); }
    PlainNumber at(const std::byte* address) const noexcept {
        return isComplex ? PlainNumber::pairAt(address, format) : PlainNumber::itemAt(address, format, 0);
    }
};

/// False when a number cannot be stored, or with an error set by the handler of a signal; the target, which has room
/// for `items.count()`, is then partly filled.
template <class T, bool isConstruction>
bool readOwnArray(const OwnArrayItems& items, T* target) {
    constexpr long numbersTogether = 1L << 20;
    const long length = items.selection.counts.back();
    const long stride = items.selection.strides.back();
    SelectionOdometer rows(items.selection);
    PlainItemsWatch watch;
    do {
        for (long start = 0; start < length; start += numbersTogether) {
            // Where the elements lie is asked anew after handlers of signals.
            const std::byte* const first = items.wrapper.elements() + rows.offset() + start * stride;
            const long count = std::min(length - start, numbersTogether);
            for (long i = 0; i < count; ++i) {
                if (!storeNumber<T, isConstruction>(items.at(first + i * stride), *target++))
                    return false;
            }
            if (!watch.pass(static_cast<unsigned long>(count)))
                return false;
        }
    } while (rows.advanceRow());
    return true;
}

} // namespace orvane::python
