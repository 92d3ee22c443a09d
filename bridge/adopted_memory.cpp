#include "element_format.hpp"
#include "functions.hpp"
#include "shown_memory.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace orvane::bridge {

namespace {

/// The extents in a sequence of integers.
std::vector<std::size_t> extentsOf(PyObject* size) {
    const python::Reference items(PySequence_Tuple(size));
    if (!items) {
        throw python::PythonError();
    }
    std::vector<std::size_t> extents(static_cast<std::size_t>(PyTuple_GET_SIZE(items.get())));
    for (std::size_t d = 0; d < extents.size(); ++d) {
        extents[d] = PyLong_AsSize_t(PyTuple_GET_ITEM(items.get(), static_cast<Py_ssize_t>(d)));
        if (extents[d] == static_cast<std::size_t>(-1) && PyErr_Occurred() != nullptr) {
            throw python::PythonError();
        }
    }
    return extents;
}

/// Whether so many elements fill the bytes to the last, in products that cannot overflow.
bool fills(const std::vector<std::size_t>& extents, std::size_t elementSize, std::size_t bytes) {
    if (std::ranges::find(extents, std::size_t{0}) != extents.end()) {
        return bytes == 0;
    }
    for (const std::size_t extent : extents) {
        if (__builtin_mul_overflow(elementSize, extent, &elementSize)) {
            return false;
        }
    }
    return elementSize == bytes;
}

[[noreturn]] void refuse(PyObject* exception, const char* words) {
    PyErr_SetString(exception, words);
    throw python::PythonError();
}

/// The array that `make` makes of the memory, the format and the size in the arguments: called for the element type,
/// with the memory and the extents, which agree.
template <class Make>
PyObject* arrayOfMemory(PyObject* arguments, const char* wanted, Make make) {
    return python::guarded([&]() -> python::Reference {
        PyObject* source = nullptr;
        const char* format = nullptr;
        PyObject* size = nullptr;
        if (PyArg_ParseTuple(arguments, wanted, &source, &format, &size) == 0) {
            throw python::PythonError();
        }
        const std::vector<std::size_t> extents = extentsOf(size);
        ShownMemory memory(source);
        if (PyBuffer_IsContiguous(&*memory, 'A') == 0) {
            refuse(PyExc_ValueError, "the memory has gaps");
        }
        python::Reference array;
        const auto makeAs = [&]<class T>() {
            if (!fills(extents, sizeof(T), static_cast<std::size_t>((*memory).len))) {
                refuse(PyExc_ValueError, "the memory is not as large as the array");
            }
            array = make.template operator()<T>(std::move(memory), extents);
        };
        if (!visitFormat(format, makeAs)) {
            PyErr_Format(PyExc_TypeError, "arrays have no elements of the format '%s'", format);
            throw python::PythonError();
        }
        return array;
    });
}

} // namespace

PyObject* adopt(PyObject*, PyObject* arguments) {
    return arrayOfMemory(arguments, "OsO:adopt", []<class T>(ShownMemory memory, const auto& extents) {
        const Py_buffer& buffer = *memory;
        T* const elements = buffer.len > 0 ? static_cast<T*>(buffer.buf) : nullptr;
        return buffer.readonly != 0 ? python::adoptBlock(static_cast<const T*>(elements), extents, std::move(memory))
                                    : python::adoptBlock(elements, extents, std::move(memory));
    });
}

PyObject* copyMemory(PyObject*, PyObject* arguments) {
    return arrayOfMemory(arguments, "OsO:copy_memory", []<class T>(ShownMemory memory, const auto& extents) {
        const Py_buffer& buffer = *memory;
        const auto bytes = static_cast<std::size_t>(buffer.len);
        auto block = data::ArrayFactory().createBuffer<T>(bytes / sizeof(T));
        T* const elements = bytes > 0 ? block.get() : nullptr;
        if (bytes > 0) {
            std::memcpy(static_cast<void*>(elements), buffer.buf, bytes);
        }
        return python::adoptBlock(elements, extents, std::move(block));
    });
}

} // namespace orvane::bridge
