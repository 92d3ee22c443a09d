// The type `Elements`: the elements of an array or view, lent, as an exporter of buffers that says more of them than
// the array itself can: the shape and the strides of a view, that they may be written to, complex integers as
// structures.
#include "element_format.hpp"
#include "functions.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace orvane::bridge {

namespace {

struct GiveBack {
    void operator()(const OrvaneLoan* loan) const noexcept { exchange->giveBack(loan); }
};
using Loan = std::unique_ptr<const OrvaneLoan, GiveBack>;

Loan lend(PyObject* array, bool isWritable) {
    Loan loan(exchange->lend(array, isWritable ? ORVANE_LOAN_WRITABLE : 0));
    if (!loan) {
        throw python::PythonError();
    }
    return loan;
}

/// What buffers show, kept apart from the loan, which `close` may exchange under them.
class Elements {
public:
    Elements(PyObject* array, bool isWritable) : m_loan(lend(array, isWritable)), m_isWritable(isWritable) {
        const auto rank = static_cast<std::size_t>(m_loan->rank);
        m_shape.assign(m_loan->extents, m_loan->extents + rank);
        m_strides.assign(m_loan->strides, m_loan->strides + rank);
        Py_INCREF(array);
        m_array.reset(array);
    }

    void show(PyObject* exporter, Py_buffer* view, int flags) {
        if (!m_loan || m_isClosed) {
            refuse("the elements have been given back");
        }
        if ((flags & PyBUF_WRITABLE) != 0 && !m_isWritable) {
            refuse("the elements are lent for reading only");
        }
        static std::byte nothing{};
        view->buf = m_loan->elements != nullptr ? m_loan->elements : &nothing;
        view->itemsize = static_cast<Py_ssize_t>(m_loan->elementSize);
        view->len = static_cast<Py_ssize_t>(m_loan->elementCount) * view->itemsize;
        view->readonly = m_isWritable ? 0 : 1;
        view->ndim = static_cast<int>(m_shape.size());
        view->format = const_cast<char*>(exportedFormats[static_cast<std::size_t>(m_loan->type)]);
        view->shape = m_shape.data();
        view->strides = m_strides.data();
        view->suboffsets = nullptr;
        view->internal = nullptr;
        const auto isAsked = [flags](int wish) { return (flags & wish) == wish; };
        if ((!isAsked(PyBUF_STRIDES) || isAsked(PyBUF_C_CONTIGUOUS)) && PyBuffer_IsContiguous(view, 'C') == 0) {
            refuse("the elements do not lie in row-major order");
        }
        if ((isAsked(PyBUF_F_CONTIGUOUS) && PyBuffer_IsContiguous(view, 'F') == 0) ||
            (isAsked(PyBUF_ANY_CONTIGUOUS) && PyBuffer_IsContiguous(view, 'A') == 0)) {
            refuse("the elements have gaps between them");
        }
        view->format = isAsked(PyBUF_FORMAT) ? view->format : nullptr;
        view->shape = isAsked(PyBUF_ND) ? view->shape : nullptr;
        view->strides = isAsked(PyBUF_STRIDES) ? view->strides : nullptr;
        Py_INCREF(exporter);
        view->obj = exporter;
        ++m_users;
    }

    void release() noexcept {
        --m_users;
        giveBackIfUnused();
    }

    /// No further buffers. What is still in use stays where it is, but is written to no more: the loan becomes one for
    /// reading, so that what the program does next sees the array at rest.
    void close() {
        m_isClosed = true;
        giveBackIfUnused();
        if (m_loan && m_isWritable) {
            // A view that a reshape has left without its elements cannot be lent again; then the first loan stays.
            Loan reading(exchange->lend(m_array.get(), 0));
            if (reading && m_loan && reading->elements == m_loan->elements) { // lending may run code that ends the use
                m_loan = std::move(reading);
            } else if (!reading) {
                PyErr_Clear();
            }
        }
    }

private:
    [[noreturn]] static void refuse(const char* words) {
        PyErr_SetString(PyExc_BufferError, words);
        throw python::PythonError();
    }

    void giveBackIfUnused() noexcept {
        if (m_isClosed && m_users == 0) {
            m_loan.reset();
        }
    }

    python::Reference m_array;
    Loan m_loan; ///< goes before the array
    std::vector<Py_ssize_t> m_shape;
    std::vector<Py_ssize_t> m_strides;
    std::size_t m_users = 0;
    bool m_isWritable;
    bool m_isClosed = false;
};

/// The Python object around it.
struct ElementsObject {
    PyObject ob_base;
    Elements elements;
};

Elements& elementsIn(PyObject* self) {
    return reinterpret_cast<ElementsObject*>(self)->elements;
}

PyObject* newElements(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    return python::guarded([&]() -> PyObject* {
        static const char* names[] = {"", "writable", nullptr};
        PyObject* array = nullptr;
        int isWritable = 0;
        if (PyArg_ParseTupleAndKeywords(arguments, keywords, "O|p:Elements", const_cast<char**>(names), &array,
                                        &isWritable) == 0) {
            throw python::PythonError();
        }
        Elements elements(array, isWritable != 0);
        PyObject* const self = type->tp_alloc(type, 0);
        if (self != nullptr) {
            new (&elementsIn(self)) Elements(std::move(elements));
        }
        return self;
    });
}

void deallocElements(PyObject* self) {
    PyTypeObject* const type = Py_TYPE(self);
    elementsIn(self).~Elements();
    type->tp_free(self);
    Py_DECREF(type);
}

int showElements(PyObject* self, Py_buffer* view, int flags) {
    view->obj = nullptr;
    try {
        elementsIn(self).show(self, view, flags);
    } catch (const python::PythonError& error) {
        error.restore();
        return -1;
    }
    return 0;
}

void releaseElements(PyObject* self, Py_buffer*) {
    elementsIn(self).release();
}

PyObject* closeElements(PyObject* self, PyObject*) {
    return python::guarded([&] {
        elementsIn(self).close();
        Py_INCREF(Py_None);
        return Py_None;
    });
}

PyMethodDef elementsMethods[] = {
    {"close", closeElements, METH_NOARGS,
     "close($self, /)\n--\n\nShow the elements to nobody else, and write to them no more."},
    {nullptr, nullptr, 0, nullptr},
};

PyType_Slot elementsSlots[] = {
    {Py_tp_doc, const_cast<char*>("Elements(array, /, writable=False)\n--\n\n"
                                  "The elements of an array or view, lent, as an exporter of buffers.")},
    {Py_tp_new, reinterpret_cast<void*>(newElements)},
    {Py_tp_dealloc, reinterpret_cast<void*>(deallocElements)},
    {Py_tp_methods, elementsMethods},
    {Py_bf_getbuffer, reinterpret_cast<void*>(showElements)},
    {Py_bf_releasebuffer, reinterpret_cast<void*>(releaseElements)},
    {0, nullptr},
};

PyType_Spec elementsSpec = {"orvane._bridge.Elements", sizeof(ElementsObject), 0,
                            Py_TPFLAGS_DEFAULT | Py_TPFLAGS_IMMUTABLETYPE, elementsSlots};

} // namespace

PyObject* makeElementsType() {
    return PyType_FromSpec(&elementsSpec);
}

} // namespace orvane::bridge
