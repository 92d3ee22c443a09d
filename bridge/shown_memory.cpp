// The type `Shown`: the memory of an exporter once it has been looked at. The interpreter's memoryviews believe
// exporters everything, and divide by an item size of 0 or copy as many bytes as the extents make into a block of
// another length.
#include "shown_memory.hpp"

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace orvane::bridge {

namespace {

/// How many bytes the elements take; negative where no memory has so many.
Py_ssize_t bytesOf(const Py_buffer& buffer) {
    Py_ssize_t bytes = buffer.itemsize;
    bool isTooMuch = false;
    for (int d = 0; d < buffer.ndim; ++d) {
        if (buffer.shape[d] == 0) {
            return 0;
        }
        isTooMuch |= __builtin_mul_overflow(bytes, buffer.shape[d], &bytes);
    }
    return isTooMuch ? -1 : bytes;
}

/// Whether the way from the first element to any other leads out of all memory.
bool leadsAstray(const Py_buffer& buffer) {
    const auto first = reinterpret_cast<std::uintptr_t>(buffer.buf);
    std::uintptr_t lowest = first;
    std::uintptr_t highest = first;
    bool isLost = false;
    for (int d = 0; d < buffer.ndim; ++d) {
        Py_ssize_t reach = 0;
        isLost |= __builtin_mul_overflow(buffer.shape[d] - 1, buffer.strides[d], &reach);
        std::uintptr_t& end = reach < 0 ? lowest : highest;
        isLost |= __builtin_add_overflow(end, reach, &end);
    }
    return isLost;
}

/// What cannot be true of a description; null where nothing is known to be wrong.
const char* faultOf(const Py_buffer& buffer) {
    if (buffer.ndim < 0 || buffer.itemsize < 0 || buffer.len < 0) {
        return "a length is negative";
    }
    if (buffer.buf == nullptr && buffer.len > 0) {
        return "it has bytes, but no address";
    }
    if (buffer.ndim > 0 && buffer.shape == nullptr) { // of one dimension the length tells the extent
        const bool isLine = buffer.ndim == 1 && buffer.itemsize > 0 && buffer.len % buffer.itemsize == 0;
        return isLine && buffer.strides == nullptr ? nullptr : "it does not tell its extents";
    }
    for (int d = 0; d < buffer.ndim; ++d) {
        if (buffer.shape[d] < 0) {
            return "an extent is negative";
        }
    }
    if (bytesOf(buffer) != buffer.len) {
        return "its extents make another length than it tells";
    }
    const bool hasWays = buffer.len > 0 && buffer.strides != nullptr && buffer.suboffsets == nullptr;
    return hasWays && leadsAstray(buffer) ? "its strides lead out of all memory" : nullptr;
}

} // namespace

ShownMemory::ShownMemory(PyObject* exporter) {
    const bool isView = PyMemoryView_Check(exporter);
    const python::Reference own(isView ? PyMemoryView_FromObject(exporter) : nullptr);
    auto buffer = std::make_unique<Py_buffer>();
    if ((isView && !own) || PyObject_GetBuffer(isView ? own.get() : exporter, buffer.get(), PyBUF_FULL_RO) != 0) {
        throw python::PythonError();
    }
    m_buffer.reset(buffer.release());
    const char* const fault = PyErr_Occurred() == nullptr ? faultOf(*m_buffer) : nullptr;
    if (fault != nullptr) {
        PyErr_Format(PyExc_ValueError, "the buffer contradicts itself: %s", fault);
    }
    if (PyErr_Occurred() != nullptr) {
        throw python::PythonError();
    }
}

/// The exporter may run code of others: it sees no pending error, and leaves none.
void ShownMemory::Release::operator()(Py_buffer* buffer) const noexcept {
    python::detail::releaseAtScopeEnd([buffer] {
        const python::PendingError kept;
        const std::unique_ptr<Py_buffer> owned(buffer);
        PyBuffer_Release(buffer);
    });
}

namespace {

struct ShownObject {
    PyObject ob_base;
    ShownMemory memory;
};

ShownMemory& memoryOf(PyObject* self) {
    return reinterpret_cast<ShownObject*>(self)->memory;
}

PyObject* newShown(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    return python::guarded([&]() -> PyObject* {
        static const char* names[] = {"", nullptr};
        PyObject* exporter = nullptr;
        if (PyArg_ParseTupleAndKeywords(arguments, keywords, "O:Shown", const_cast<char**>(names), &exporter) == 0) {
            throw python::PythonError();
        }
        ShownMemory memory(exporter);
        PyObject* const self = type->tp_alloc(type, 0);
        if (self != nullptr) {
            new (&memoryOf(self)) ShownMemory(std::move(memory));
        }
        return self;
    });
}

void deallocShown(PyObject* self) {
    PyTypeObject* const type = Py_TYPE(self);
    memoryOf(self).~ShownMemory();
    type->tp_free(self);
    Py_DECREF(type);
}

/// For memoryviews, which ask for all there is, and give others what these ask for.
int showMemory(PyObject* self, Py_buffer* view, int flags) {
    view->obj = nullptr;
    if (flags != PyBUF_FULL_RO) {
        PyErr_SetString(PyExc_BufferError, "the memory is for memoryviews");
        return -1;
    }
    *view = *memoryOf(self);
    view->internal = nullptr;
    Py_INCREF(self);
    view->obj = self;
    return 0;
}

PyType_Slot shownSlots[] = {
    {Py_tp_doc, const_cast<char*>("Shown(exporter, /)\n--\n\n"
                                  "The memory of an exporter of buffers that does not contradict itself.")},
    {Py_tp_new, reinterpret_cast<void*>(newShown)},
    {Py_tp_dealloc, reinterpret_cast<void*>(deallocShown)},
    {Py_bf_getbuffer, reinterpret_cast<void*>(showMemory)},
    {0, nullptr},
};

PyType_Spec shownSpec = {"orvane._bridge.Shown", sizeof(ShownObject), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_IMMUTABLETYPE,
                         shownSlots};

} // namespace

PyObject* makeShownType() {
    return PyType_FromSpec(&shownSpec);
}

} // namespace orvane::bridge
