#include "protocol/reshape.hpp"

#include <string>
#include <vector>

#include "core/array_object.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"
#include "vocabulary/type_objects.hpp"

namespace orvane::python {

namespace {

void raiseNoExtents() {
    replaceError(PyExc_ValueError, "reshape() must be passed a nonempty sequence of nonnegative integers.");
}

/// The extents that a sequence of at least two integers gives, without trailing ones; empty with an error set.
std::vector<long> getDimsFromReshapeArg(PyObject* arg) {
    const Py_ssize_t length = arg != Py_None && PySequence_Check(arg) ? PySequence_Size(arg) : 0;
    if (length <= 1) {
        raiseNoExtents();
        return {};
    }
    std::vector<long> dims;
    FetchedItemsWatch watch;
    for (Py_ssize_t i = 0; i < length; ++i) {
        if (!watch.pass())
            return {};
        const PyRef item = PyRef::steal(PySequence_GetItem(arg, i));
        if (!item) {
            if (mayReplaceError())
                PyErr_Format(PyExc_RuntimeError, "Item %zd could not be retrieved from the value passed to reshape().",
                             i);
            return {};
        }
        const Py_ssize_t extent = pyObjectIsLong(item.get()) ? PyLong_AsSsize_t(item.get()) : -1;
        if (extent < 0) {
            raiseNoExtents();
            return {};
        }
        if (dims.size() == extentsReadOnTrust)
            dims.reserve(static_cast<std::size_t>(length));
        dims.push_back(extent);
    }
    while (dims.size() > 2 && dims.back() == 1)
        dims.pop_back();
    return dims;
}

std::vector<long> getDimsFromArguments(PyObject* args) {
    if (pyObjectIsEmpty(args) || PySequence_Size(args) == 0) {
        raiseNoExtents();
        return {};
    }
    if (PySequence_Size(args) > 1)
        return getDimsFromReshapeArg(args);
    const PyRef only = PyRef::steal(PySequence_GetItem(args, 0));
    if (!only) {
        raiseNoExtents();
        return {};
    }
    // Reading it may run code of the caller's that comes back here.
    using Dims = std::vector<long>;
    return withRecursionCounted(
        Dims(), [&] { return withMemoryErrors(Dims(), [&] { return getDimsFromReshapeArg(only.get()); }); });
}

/// False with ShapeError set when the extents do not hold exactly the elements that there are.
bool checkElementCount(const std::vector<long>& dims, const Layout& layout) {
    if (checkedProduct(std::span(dims)) == layout.elementCount())
        return true;
    unsigned long product = 1;
    for (const long extent : dims)
        product *= static_cast<unsigned long>(extent);
    PyErr_Format(OCPyError::shapeErr,
                 "number of elements specified by arguments to reshape() (%lu) does not match current number (%ld).",
                 product, layout.elementCount());
    return false;
}

PyObject* reshape(PyObject* self, const OCppPyArray& core, PyObject* args, PyObject* kwargs) {
    if (core.chain().activeDimension() > 0) {
        setError(PyExc_RuntimeError, "reshape() not supported for a partial array.");
        return nullptr;
    }
    const std::vector<long> dims = getDimsFromArguments(args);
    if (dims.empty() || !checkElementCount(dims, core.layout()))
        return nullptr;
    if (kwargs != nullptr) {
        setError(PyExc_ValueError, "reshape() does not accept keyword arguments.");
        return nullptr;
    }
    const Layout& present = core.layout();
    core.wrapper().reshape(RecentLayouts::find(dims, present.elementSize(), [&] { return present.elementCount(); }));
    return Py_NewRef(self);
}

} // namespace

PyObject* OCPyArray_Reshape(PyObject* self, PyObject* args, PyObject* kwargs) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return reshape(self, *core, args, kwargs); });
}

} // namespace orvane::python
