// Copying what a selection chooses, run by run, with signals answered on the way.
#pragma once

#include <Python.h>

#include <algorithm>
#include <cstddef>

#include "core/core_array.hpp"
#include "core/selection.hpp"
#include "vocabulary/caller_code.hpp"

namespace orvane::python {

/// Copies a selection of `view` that is inside and not empty, in column-major order: `copyRun(target, source, count,
/// stride)` copies so many elements that lie so many bytes apart. False with an error set by the handler of a signal;
/// one that set none may have moved the elements. The caller keeps the view alive.
template <class T, class CopyRun>
bool copySelection(T* target, const OCppPyArray& view, const Selection& selection, CopyRun&& copyRun) {
    constexpr auto itemsTogether = static_cast<long>(PlainItemsWatch::itemsBetween); // between two looks for signals
    const std::byte* elements = view.wrapper().elements();
    long untilLook = itemsTogether;
    return visitRuns(selection, [&](unsigned long offset, long length, long stride) {
        const std::byte* source = elements + offset;
        for (long left = length; true;) {
            const long count = std::min(left, untilLook);
            copyRun(target, source, count, stride);
            target += count;
            untilLook -= count;
            if (untilLook > 0) [[likely]]
                return true;
            if (PyErr_CheckSignals() != 0)
                return false;
            untilLook = itemsTogether;
            elements = view.wrapper().elements();
            left -= count;
            if (left == 0)
                return true;
            source = elements + offset + (length - left) * stride;
        }
    });
}

} // namespace orvane::python
