#include "protocol/read_access.hpp"

namespace orvane::python {

namespace detail {

PyObject* readSlice(const OCppPyArray& core, PyObject* slice) {
    if (!core.hasActiveDimension()) {
        raiseTooManyIndices();
        return nullptr;
    }
    const auto bounds = unpackSlice(slice);
    if (!bounds)
        return nullptr;
    if (!core.hasActiveDimension()) { // reading the bounds may have run code that reshaped the array
        raiseTooManyIndices();
        return nullptr;
    }
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] {
        return newSliceObject(core, bounds->measuredAgainst(core.getLengthOfActiveDimension()));
    });
}

PyObject* readSubarray(const OCppPyArray& core, long position) {
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return newSubarrayObject(core, position); });
}

} // namespace detail

Py_ssize_t OCPyArray_NumElemsInFirstDim(PyObject* self) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return -1;
    if (!core->hasActiveDimension()) {
        raiseTooManyIndices();
        return -1;
    }
    return core->getLengthOfActiveDimension();
}

} // namespace orvane::python
