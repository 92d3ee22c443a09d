#include "protocol/buffer_export.hpp"

#include "core/array_object.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

int refuse(Py_buffer* view, const char* message) {
    setError(PyExc_ValueError, message);
    view->obj = nullptr;
    return -1;
}

int fillView(PyObject* self, OCppPyArray& core, Py_buffer* view, int flags) {
    const PyRef held = PyRef::borrow(self); // `bytes.join` holds items no longer than they stand in their list
    bool isSnapshot = false;
    ODArrayWrapper* source = core.exportSource(isSnapshot);
    if (source == nullptr) {
        replaceError(PyExc_RuntimeError, "null data pointer.");
        view->obj = nullptr;
        return -1;
    }

    if ((flags & PyBUF_WRITABLE) != 0)
        return refuse(view, "underlying buffer is not writable.");
    const char* format = nullptr;
    if ((flags & PyBUF_FORMAT) != 0) {
        format = classid2format(source->type());
        if (format == nullptr)
            return refuse(view, "format field is null.");
    }
    if ((flags & PyBUF_C_CONTIGUOUS) == PyBUF_C_CONTIGUOUS)
        return refuse(view, "underlying buffer not C-contiguous.");
    if (source->layout()->rank() > static_cast<std::size_t>(PyBUF_MAX_NDIM))
        return refuse(view, "memoryview: number of dimensions must not exceed 64");

    const auto [elements, layout] = source->exportElements(isSnapshot);
    view->buf = elements;
    view->obj = Py_NewRef(self);
    view->len = layout->sizeInBytes();
    view->itemsize = layout->elementSize();
    view->readonly = 1;
    view->ndim = static_cast<int>(layout->rank());
    view->format = const_cast<char*>(format);
    // Consumers only read them, though the protocol's fields are not const.
    view->shape = const_cast<Py_ssize_t*>(layout->shape().data());
    view->strides = const_cast<Py_ssize_t*>(layout->bytewiseStrides().data());
    view->suboffsets = nullptr;
    view->internal = nullptr;
    return 0;
}

} // namespace

int OCPyArray_GetBuffer(PyObject* self, Py_buffer* view, int flags) {
    OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr) {
        if (view != nullptr)
            view->obj = nullptr;
        return -1;
    }
    if (view == nullptr) {
        setError(PyExc_RuntimeError, "null pointer to view object null.");
        return -1;
    }
    view->obj = nullptr;
    return withMemoryErrors(-1, [&] { return fillView(self, *core, view, flags); });
}

void OCPyArray_ReleaseBuffer(PyObject*, Py_buffer*) {}

} // namespace orvane::python
