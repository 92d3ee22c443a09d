// Arrays of every element kind in and out through orvane/python.hpp, and what can be known only from inside: addresses,
// deleters, handles that are kept.
#include <orvane/python.hpp>

#include <chrono>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace orvane;
using python::Reference;

int freedBuffers = 0;
PyObject* whenFreed = nullptr; // called for every buffer, whatever comes of it

template <class T>
data::TypedArray<T> makeArray(const std::vector<unsigned long>& dims, const void* elements) {
    std::size_t count = 1;
    for (const unsigned long extent : dims) {
        count *= extent;
    }
    data::Buffer<T> buffer(new T[count], [](T* block) {
        ++freedBuffers;
        delete[] block;
        const Reference result(whenFreed != nullptr ? PyObject_CallNoArgs(whenFreed) : nullptr);
    });
    std::memcpy(static_cast<void*>(buffer.get()), elements, count * sizeof(T));
    return data::ArrayFactory().createArrayFromBuffer<T>(dims, std::move(buffer));
}

Reference addressObject(const void* address) {
    return Reference(PyLong_FromVoidPtr(const_cast<void*>(address)));
}

/// (extents, strides in elements, bytes of the elements, their address)
template <class T>
Reference describe(const data::TypedArray<T>& array) {
    const auto elements = data::elementsOf(array);
    const auto tupleOf = [](const auto& numbers) {
        Reference tuple(PyTuple_New(static_cast<Py_ssize_t>(numbers.size())));
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(i), PyLong_FromSize_t(numbers[i]));
        }
        return tuple;
    };
    const auto bytes = std::as_bytes(elements.flat());
    PyObject* copy =
        PyBytes_FromStringAndSize(reinterpret_cast<const char*>(bytes.data()), static_cast<Py_ssize_t>(bytes.size()));
    return Reference(Py_BuildValue("(NNNN)", tupleOf(elements.extents()).release(),
                                   tupleOf(elements.strides()).release(), copy, addressObject(bytes.data()).release()));
}

/// Calls `visit.operator()<T>()` for the element type that a PEP 3118 format names.
template <class Visit>
Reference visitFormat(const std::string& format, Visit visit) {
    using Call = Reference (*)(Visit&);
    static const auto calls = []<class... T>(std::type_identity<std::tuple<T...>>) {
        std::map<std::string, Call> table;
        (table.emplace(std::string(isComplexElement<T> ? 1 : 0, 'Z') + elementRow<T>.format,
                       [](Visit& v) { return v.template operator()<T>(); }),
         ...);
        return table;
    }(std::type_identity<decltype(std::tuple_cat(ElementTypes(), ComplexElementTypes()))>());
    return calls.at(format)(visit);
}

std::vector<unsigned long> extentsOf(PyObject* tuple) {
    std::vector<unsigned long> dims;
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(tuple); ++i) {
        dims.push_back(PyLong_AsUnsignedLong(PyTuple_GET_ITEM(tuple, i)));
    }
    return dims;
}

/// make(format, extents, bytes): a new Python array and the address that its elements had here.
PyObject* make(PyObject*, PyObject* args) {
    const char* format;
    PyObject* dims;
    Py_buffer bytes;
    if (PyArg_ParseTuple(args, "sO!y*", &format, &PyTuple_Type, &dims, &bytes) == 0) {
        return nullptr;
    }
    return python::guarded([&] {
        return visitFormat(format, [&]<class T>() {
            auto array = makeArray<T>(extentsOf(dims), bytes.buf);
            PyBuffer_Release(&bytes);
            Reference address = addressObject(std::as_const(array).begin().get());
            // By position 0: native code goes on using the array that it gave.
            Reference object(Orvane_ImportCapsule()->arrayFromImpl(array.detach()));
            return Reference(Py_BuildValue("(NN)", object.release(), address.release()));
        });
    });
}

/// take(format, object): what `fromPython` gives for that element type.
PyObject* take(PyObject*, PyObject* args) {
    const char* format;
    PyObject* object;
    if (PyArg_ParseTuple(args, "sO", &format, &object) == 0) {
        return nullptr;
    }
    return python::guarded(
        [&] { return visitFormat(format, [&]<class T>() { return describe(python::fromPython<T>(object)); }); });
}

PyObject* takeAny(PyObject*, PyObject* object) {
    return python::guarded([&] {
        return data::apply_numeric_visitor(python::anyFromPython(object),
                                           [](const auto& array) -> Reference { return describe(array); });
    });
}

PyObject* takeNull(PyObject*, PyObject* withErrorSet) {
    return python::guarded([&] {
        if (PyObject_IsTrue(withErrorSet) == 1) {
            PyErr_SetString(PyExc_KeyError, "the true reason");
        }
        return describe(python::fromPython<double>(nullptr));
    });
}

PyObject* fromBuffer(PyObject*, PyObject* object) {
    return python::guarded([&] { return python::arrayFromBuffer(object); });
}

std::optional<data::TypedArray<double>> kept;

/// keep(object, copied): holds a handle to the object's elements, or to a copy of them.
PyObject* keep(PyObject*, PyObject* args) {
    PyObject* object;
    int copied;
    if (PyArg_ParseTuple(args, "Op", &object, &copied) == 0) {
        return nullptr;
    }
    return python::guarded([&] {
        kept = copied != 0 ? python::copyFromPython<double>(object) : python::fromPython<double>(object);
        return describe(*kept);
    });
}

PyObject* describeKept(PyObject*, PyObject*) {
    return python::guarded([&] { return describe(*kept); });
}

/// Drops the kept handle on another thread, while this one holds the lock or not.
PyObject* dropKeptElsewhere(PyObject*, PyObject* holdingLock) {
    std::optional<python::WithoutInterpreterLock> unlocked;
    if (holdingLock != Py_True) {
        unlocked.emplace();
    }
    std::thread([] { kept.reset(); }).join();
    unlocked.reset();
    return Py_NewRef(Py_None);
}

/// hold(object, callable): calls, or for None waits without the lock, with a handle and a reference on the stack.
PyObject* hold(PyObject*, PyObject* args) {
    return python::guarded([&] {
        const auto array = python::fromPython<double>(PyTuple_GetItem(args, 0));
        PyObject* const callable = PyTuple_GetItem(args, 1);
        const Reference held(Py_NewRef(callable));
        if (callable != Py_None) {
            return Reference(PyObject_CallNoArgs(callable));
        }
        const python::WithoutInterpreterLock unlocked;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return Reference(Py_NewRef(Py_None));
    });
}

PyObject* setWhenFreed(PyObject*, PyObject* callable) {
    const Reference former(std::exchange(whenFreed, callable != Py_None ? Py_NewRef(callable) : nullptr));
    return Py_NewRef(Py_None);
}

/// The address of an implementation for position 0, some of which Python cannot have.
PyObject* foreignImpl(PyObject*, PyObject* kind) {
    return python::guarded([&] {
        data::Array array;
        const std::vector<char16_t> zeros(6);
        if (PyUnicode_CompareWithASCIIString(kind, "character") == 0) {
            array = makeArray<char16_t>({2, 3}, zeros.data());
        } else if (PyUnicode_CompareWithASCIIString(kind, "one dimension") == 0) {
            array = makeArray<std::int16_t>({6}, zeros.data());
        } else if (PyUnicode_CompareWithASCIIString(kind, "matrix") == 0) {
            array = makeArray<std::int16_t>({2, 3}, zeros.data());
        } else if (PyUnicode_CompareWithASCIIString(kind, "null block") == 0) {
            data::Buffer<double> none(nullptr, [](double*) {});
            array = data::ArrayFactory().createArrayFromBuffer<double>({0, 3}, std::move(none));
        }
        return addressObject(array.detach());
    });
}

PyObject* throwFault(PyObject*, PyObject* kind) {
    return python::guarded([&]() -> Reference {
        if (PyUnicode_CompareWithASCIIString(kind, "memory") == 0) {
            data::ArrayFactory().createBuffer<double>(1UL << 58);
        }
        if (PyUnicode_CompareWithASCIIString(kind, "refusal") == 0) {
            data::TypedArray<float>(data::ArrayFactory().createScalar(1.0));
        }
        throw std::runtime_error("a fault of the client's own");
    });
}

PyObject* countFreedBuffers(PyObject*, PyObject*) {
    return PyLong_FromLong(std::exchange(freedBuffers, 0));
}

PyMethodDef methods[] = {
    {"make", make, METH_VARARGS, nullptr},
    {"take", take, METH_VARARGS, nullptr},
    {"take_any", takeAny, METH_O, nullptr},
    {"take_null", takeNull, METH_O, nullptr},
    {"from_buffer", fromBuffer, METH_O, nullptr},
    {"keep", keep, METH_VARARGS, nullptr},
    {"describe_kept", describeKept, METH_NOARGS, nullptr},
    {"drop_kept_elsewhere", dropKeptElsewhere, METH_O, nullptr},
    {"hold", hold, METH_VARARGS, nullptr},
    {"set_when_freed", setWhenFreed, METH_O, nullptr},
    {"foreign_impl", foreignImpl, METH_O, nullptr},
    {"throw_fault", throwFault, METH_O, nullptr},
    {"count_freed_buffers", countFreedBuffers, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "typed_client", nullptr, -1, methods, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_typed_client() {
    return PyModule_Create(&definition);
}
