// The constructors of the eleven array types.
#pragma once

#include <Python.h>

#include <optional>

#include "construction/construction_errors.hpp"
#include "construction/constructor_arguments.hpp"
#include "construction/create_array.hpp"
#include "core/array_object.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace detail {

/// The arguments of one constructor call with all objects that they consist of held. A dictionary in first place, when
/// there are no keywords, stands for the keywords. Dictionaries are copied where reading them may run code that changes
/// them.
class HeldArguments {
public:
    /// False with TypeError set for unknown keywords and excess arguments.
    bool read(PyObject* args, PyObject* kwargs);
    const ConstructorArguments& get() const noexcept { return m_arguments; }

private:
    PyRef m_positional;
    PyRef m_keywords; ///< known to nobody else
    PyRef m_objects[3];
    ConstructorArguments m_arguments;
};

/// Makes an array of element type `U` in a shell; false with an error set.
template <class U>
[[gnu::noinline]] bool constructInto(PyObject* shell, const ConstructorArguments& arguments) {
    std::optional<data::TypedArray<U>> array = createArrayFromConstructorArgs<U>(arguments);
    if (!array)
        return false;
    // Taking the array over leaves it as it is where that fails.
    return withConstructionErrors<U>([&] { return array->getNumberOfElements(); },
                                     [&] {
                                         fillShell(shell, ODArrayWrapper::adopt(std::move(*array)),
                                                   supportedArrayEnum<U>, isComplexElement<U>);
                                         return true;
                                     });
}

template <class T>
bool construct(PyObject* shell, const ConstructorArguments& arguments) {
    bool isComplex = false;
    if (arguments.isComplex != nullptr) {
        bool success = false;
        isComplex = retrieveBoolKwarg(arguments.isComplex, "is_complex", success);
        if (!success)
            return false;
    }
    if (!isComplex)
        return constructInto<T>(shell, arguments);
    if constexpr (std::is_same_v<T, bool>) {
        setError(PyExc_TypeError, "logical arrays must not be complex.");
        return false;
    } else {
        return constructInto<std::complex<T>>(shell, arguments);
    }
}

/// A tuple and, if there are names, a dictionary of a vectorcall's arguments.
struct PackedArguments {
    PyRef positional;
    PyRef keywords;

    /// False with MemoryError set.
    bool pack(PyObject* const* args, std::size_t given, PyObject* names);
};

} // namespace detail

/// `tp_new` of the array type of `T`: `initializer`, `size`, `vector` and `is_complex`, by position or keyword.
template <class T>
PyObject* OCPyArray_New(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    PyRef shell = PyRef::steal(allocOCPyArray(type));
    detail::HeldArguments held;
    if (!shell || !held.read(args, kwargs) || !detail::construct<T>(shell.get(), held.get()))
        return nullptr;
    return shell.release();
}

/// `tp_vectorcall` of the type: the same without a tuple and a dictionary in the usual calls. The arguments are held
/// here too, since not every caller holds them to the end: a `functools.partial` hands on what code of the caller's
/// may take from it meanwhile.
template <class T>
PyObject* OCPyArray_Vectorcall(PyObject* type, PyObject* const* args, std::size_t countAndFlag, PyObject* names) {
    const auto given = static_cast<std::size_t>(PyVectorcall_NARGS(countAndFlag));
    auto* const arrayType = reinterpret_cast<PyTypeObject*>(type);
    ConstructorArguments arguments;
    if (!readPlainConstructorArguments(args, given, names, arguments)) {
        detail::PackedArguments packed;
        return packed.pack(args, given, names)
                   ? OCPyArray_New<T>(arrayType, packed.positional.get(), packed.keywords.get())
                   : nullptr;
    }
    const PyRef held[] = {PyRef::borrow(arguments.initializer), PyRef::borrow(arguments.size),
                          PyRef::borrow(arguments.vector)};
    PyRef shell = PyRef::steal(allocOCPyArray(arrayType));
    if (!shell || !detail::construct<T>(shell.get(), arguments))
        return nullptr;
    return shell.release();
}

} // namespace orvane::python
