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

/// What was passed at a position; null, which no test passes on, where there is none.
PyObject* argument(PyObject* arguments, Py_ssize_t i) {
    return PyTuple_GetItem(arguments, i);
}

std::string text(PyObject* arguments, Py_ssize_t i) {
    return PyUnicode_AsUTF8(argument(arguments, i));
}

Reference none() {
    return Reference(Py_NewRef(Py_None));
}

/// make(format, extents, bytes): a new Python array and the address that its elements had here.
Reference make(PyObject* arguments) {
    std::vector<unsigned long> dims;
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(argument(arguments, 1)); ++i) {
        dims.push_back(PyLong_AsUnsignedLong(PyTuple_GET_ITEM(argument(arguments, 1), i)));
    }
    return visitFormat(text(arguments, 0), [&]<class T>() {
        Py_buffer bytes;
        PyObject_GetBuffer(argument(arguments, 2), &bytes, PyBUF_SIMPLE);
        auto array = makeArray<T>(dims, bytes.buf);
        PyBuffer_Release(&bytes);
        Reference address = addressObject(std::as_const(array).begin().get());
        // By position 0: native code goes on using the array that it gave.
        Reference object(Orvane_ImportCapsule()->arrayFromImpl(array.detach()));
        return Reference(Py_BuildValue("(NN)", object.release(), address.release()));
    });
}

/// take(format, object): what `fromPython` gives for that element type.
Reference take(PyObject* arguments) {
    return visitFormat(text(arguments, 0),
                       [&]<class T>() { return describe(python::fromPython<T>(argument(arguments, 1))); });
}

Reference takeAny(PyObject* arguments) {
    return data::apply_numeric_visitor(python::anyFromPython(argument(arguments, 0)),
                                       [](const auto& array) -> Reference { return describe(array); });
}

Reference takeNull(PyObject* arguments) {
    if (argument(arguments, 0) == Py_True) {
        PyErr_SetString(PyExc_KeyError, "the true reason");
    }
    return describe(python::fromPython<double>(nullptr));
}

/// take_gapless(format, object): the bytes of the elements where they are lent without gaps.
Reference takeGapless(PyObject* arguments) {
    return visitFormat(text(arguments, 0), [&]<class T>() {
        const auto lent = python::lendContiguousElements<T>(argument(arguments, 1));
        return Reference(PyBytes_FromStringAndSize(reinterpret_cast<const char*>(lent.data()),
                                                   static_cast<Py_ssize_t>(lent.size() * sizeof(T))));
    });
}

Reference fromBuffer(PyObject* arguments) {
    return python::arrayFromBuffer(argument(arguments, 0));
}

std::optional<data::TypedArray<double>> kept;

Reference describeKept(PyObject*) {
    return describe(*kept);
}

/// keep(object, copied): holds a handle to the object's elements, or to a copy of them.
Reference keep(PyObject* arguments) {
    PyObject* const object = argument(arguments, 0);
    kept =
        argument(arguments, 1) == Py_True ? python::copyFromPython<double>(object) : python::fromPython<double>(object);
    return describe(*kept);
}

/// Drops the kept handle on another thread, while this one holds the lock or not.
Reference dropKeptElsewhere(PyObject* arguments) {
    std::optional<python::WithoutInterpreterLock> unlocked;
    if (argument(arguments, 0) != Py_True) {
        unlocked.emplace();
    }
    std::thread([] { kept.reset(); }).join();
    unlocked.reset();
    return none();
}

/// hold(object, callable): calls, or for None waits without the lock, with a handle and a reference on the stack.
Reference hold(PyObject* arguments) {
    const auto array = python::fromPython<double>(argument(arguments, 0));
    PyObject* const callable = argument(arguments, 1);
    const Reference held(Py_NewRef(callable));
    if (callable != Py_None) {
        return Reference(PyObject_CallNoArgs(callable));
    }
    const python::WithoutInterpreterLock unlocked;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return none();
}

Reference setWhenFreed(PyObject* arguments) {
    PyObject* const callable = argument(arguments, 0);
    const Reference former(std::exchange(whenFreed, callable != Py_None ? Py_NewRef(callable) : nullptr));
    return none();
}

/// An array of native code's goes, also when the object is refused.
Reference dropArray(PyObject* arguments) {
    const auto dropped = makeArray<double>({1, 0}, "");
    python::fromPython<double>(argument(arguments, 0));
    return none();
}

/// The address of an implementation for position 0, some of which Python cannot have.
Reference foreignImpl(PyObject* arguments) {
    data::Array array;
    const std::vector<char16_t> zeros(6);
    const std::string kind = text(arguments, 0);
    if (kind == "character") {
        array = makeArray<char16_t>({2, 3}, zeros.data());
    } else if (kind == "one dimension") {
        array = makeArray<std::int16_t>({6}, zeros.data());
    } else if (kind == "matrix") {
        array = makeArray<std::int16_t>({2, 3}, zeros.data());
    } else if (kind == "null block") {
        data::Buffer<double> nothing(nullptr, [](double*) {});
        array = data::ArrayFactory().createArrayFromBuffer<double>({0, 3}, std::move(nothing));
    }
    return addressObject(array.detach());
}

Reference throwFault(PyObject* arguments) {
    const std::string kind = text(arguments, 0);
    if (kind == "memory") {
        data::ArrayFactory().createBuffer<double>(1UL << 58);
    } else if (kind == "refusal") {
        data::TypedArray<float>(data::ArrayFactory().createScalar(1.0));
    } else if (kind == "bytes") {
        throw std::runtime_error("caf\xe9");
    }
    throw std::runtime_error("a fault of the client's own");
}

Reference countFreedBuffers(PyObject*) {
    return Reference(PyLong_FromLong(std::exchange(freedBuffers, 0)));
}

template <Reference (*function)(PyObject* arguments)>
constexpr PyMethodDef method(const char* name) {
    const auto call = [](PyObject*, PyObject* arguments) {
        return python::guarded([&] { return function(arguments); });
    };
    return {name, call, METH_VARARGS, nullptr};
}

PyMethodDef methods[] = {
    method<make>("make"),
    method<take>("take"),
    method<takeAny>("take_any"),
    method<takeGapless>("take_gapless"),
    method<takeNull>("take_null"),
    method<fromBuffer>("from_buffer"),
    method<keep>("keep"),
    method<describeKept>("describe_kept"),
    method<dropKeptElsewhere>("drop_kept_elsewhere"),
    method<hold>("hold"),
    method<setWhenFreed>("set_when_freed"),
    method<dropArray>("drop_array"),
    method<foreignImpl>("foreign_impl"),
    method<throwFault>("throw_fault"),
    method<countFreedBuffers>("count_freed_buffers"),
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "typed_client", nullptr, -1, methods, nullptr, nullptr, nullptr, nullptr};

} // namespace

PyMODINIT_FUNC PyInit_typed_client() {
    return PyModule_Create(&definition);
}
