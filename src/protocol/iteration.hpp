// `iter(a)`: a walk along the active dimension.
#pragma once

#include <Python.h>

#include <memory>

#include "core/core_array.hpp"
#include "protocol/recycled_numbers.hpp"

namespace orvane::python {

/// Whether an array has a dimension to walk. When its chain leaves none, which only a reshape can bring about, it
/// says so on standard output.
bool isIterable(const OCppPyArray& array);

/// Where an iteration stands. It holds a view of its own, not the array object, and follows a reshape of the array.
class OCPyIterState {
public:
    /// Throws for want of memory.
    explicit OCPyIterState(const OCppPyArray& source);

    /// The next view or number, or null with StopIteration or another error set. A step that fails has still
    /// consumed its position.
    PyObject* next();

private:
    /// The short cut for numbers: where they lie under one layout, all of them inside the elements. It holds for places
    /// below the count while the array has that layout; reshaped there and back, it has the layout again, and the walk
    /// may have passed the count meanwhile.
    struct NumberWalk {
        std::shared_ptr<const Layout> layout; ///< null when there is no such walk
        unsigned long origin = 0;             ///< byte offset of the first
        long stride = 0;                      ///< in bytes
        long count = 0;
        PyObject* (*read)(const std::byte* address, RecycledNumbers& numbers) = nullptr;

        static NumberWalk through(const OCppPyArray& view);
        bool holds(long place, const ODArrayWrapper& wrapper) const noexcept {
            return place < count && layout == wrapper.layout();
        }
    };

    PyObject* nextNumber();
    PyObject* itemAt(long position) const;
    void advance() noexcept;

    OCppPyView m_view;
    long m_place = 0; ///< of the next item, counted from the start of the view
    bool m_exhausted;
    bool m_yieldsSubarrays;
    NumberWalk m_numbers;
    RecycledNumbers m_yielded;
};

/// The Python iterator.
struct OCPyIter {
    PyObject_HEAD OCPyIterState* m_iterState; ///< owned; lies in the same block of memory, behind this structure
};

/// `tp_iter` of all array types.
PyObject* OCPyArray_GetIter(PyObject* self);

PyObject* OCPyIter_GetIter(PyObject* self);
PyObject* OCPyIter_GetIterNext(PyObject* self);
void OCPyIter_Delete(PyObject* self);

} // namespace orvane::python
