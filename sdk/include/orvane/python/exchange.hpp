// Orvane's second table as other modules see it.
#pragma once

#include <orvane/exchange.h>
#include <orvane/python/errors.hpp>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

inline const OrvaneExchange*& exchangeSlot() noexcept {
    static constinit const OrvaneExchange* table = nullptr;
    return table;
}

/// The table, fetched once per client module. ImportError when the package at hand has none.
inline const OrvaneExchange& exchange() {
    const OrvaneExchange*& slot = exchangeSlot();
    if (slot == nullptr) [[unlikely]] {
        slot = Orvane_ImportExchange();
        if (slot == nullptr) {
            throw PythonError();
        }
    }
    return *slot;
}

} // namespace detail

/// Whether the package at hand can lend elements and take over blocks. Where it is too old for that, what needs it
/// raises ImportError.
inline bool hasExchange() {
    try {
        detail::exchange();
        return true;
    } catch (const PythonError& error) {
        error.restore();
        if (PyErr_ExceptionMatches(PyExc_ImportError) == 0) {
            throw PythonError();
        }
        PyErr_Clear();
        return false;
    }
}

} // namespace python
} // namespace orvane
