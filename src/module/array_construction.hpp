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
    const std::size_t elementCount = array->getNumberOfElements();
    return withConstructionErrors<U>(elementCount, [&] {
        fillShell(shell, ODArrayWrapper::adopt(std::move(*array)), supportedArrayEnum<U>, isComplexElement<U>);
        return true;
    });
}

template <class T>
bool construct(PyObject* shell, PyObject* args, PyObject* kwargs) {
    HeldArguments held;
    if (!held.read(args, kwargs))
        return false;
    const ConstructorArguments& arguments = held.get();
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

} // namespace detail

/// `tp_new` of the array type of `T`: `initializer`, `size`, `vector` and `is_complex`, by position or keyword.
template <class T>
PyObject* OCPyArray_New(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    PyRef shell = PyRef::steal(allocOCPyArray(type));
    if (!shell || !detail::construct<T>(shell.get(), args, kwargs))
        return nullptr;
    return shell.release();
}

} // namespace orvane::python
