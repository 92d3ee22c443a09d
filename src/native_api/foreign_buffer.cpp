#include "native_api/foreign_buffer.hpp"

#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

int typeCodeOfFormat(const Py_buffer& view, bool& isComplex) {
    if (view.format == nullptr) {
        setError(PyExc_RuntimeError, "format field is null.");
        return -4;
    }
    char character = view.format[0];
    if (character == 'Z') {
        isComplex = true;
        character = view.format[1] != '\0' ? view.format[1] : 'd';
    }
    if (character == '\0') {
        setError(PyExc_RuntimeError, "format field is empty.");
        return -5;
    }
    // The item size is that of the whole pair, so 'l' and 'L' of complex elements always resolve to 64 bits.
    return getArrayTypeEnumFromChar(resolvePlatformLong(character, view.itemsize)).value_or(-6);
}

} // namespace

int fillPyBuffer(PyObject* object, BufferView* view, bool* isComplex) {
    if (object == nullptr || !PyObject_CheckBuffer(object))
        return -1;
    if (view == nullptr || isComplex == nullptr) {
        setError(PyExc_RuntimeError, "null data pointer.");
        return -2;
    }
    *isComplex = false;
    if (!view->acquire(object, PyBUF_ANY_CONTIGUOUS | PyBUF_FORMAT))
        return -3;
    const int code = typeCodeOfFormat(**view, *isComplex);
    if (code < 0)
        view->release();
    return code;
}

} // namespace orvane::python
