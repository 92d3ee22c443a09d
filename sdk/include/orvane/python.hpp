// For C++ extension modules: arrays from Python objects and back.
//
// Every function here needs the interpreter lock, unless it says otherwise. Faults of the caller's become Python
// errors: functions set the error and throw `PythonError`, and `guarded` turns that, and whatever else C++ throws,
// into the null that the interpreter expects.
#pragma once

#include <orvane/capsule.h>
#include <orvane/data.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#if !defined(__cpp_rtti) || !defined(__cpp_exceptions)
#error "orvane/python.hpp needs run-time type information and exceptions"
#endif

// Hidden, so that client modules built against different releases never share what lies in here.
namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// An element type that Python's arrays can have: the ten numeric types, real and complex, and `bool`.
template <class T>
concept PythonElement = data::ArrayElement<T> && !std::is_same_v<T, char16_t>;

/// Says that a Python error is set: catch it where null goes back to the interpreter. `guarded` does.
class PythonError : public std::exception {
public:
    const char* what() const noexcept override { return "a Python error is set"; }
};

namespace detail {

struct DropReference {
    void operator()(PyObject* object) const noexcept { Py_DECREF(object); }
};

} // namespace detail

/// An owned reference to a Python object, or none. `release()` gives it away.
using Reference = std::unique_ptr<PyObject, detail::DropReference>;

/// Lets other Python threads run while it lives. What is done meanwhile must not touch Python objects, nor arrays
/// that `fromPython` lent: others may assign to them. Work on arrays of your own (`copyFromPython`).
class WithoutInterpreterLock {
public:
    WithoutInterpreterLock() noexcept : m_state(PyEval_SaveThread()) {}
    ~WithoutInterpreterLock() { PyEval_RestoreThread(m_state); }
    WithoutInterpreterLock(const WithoutInterpreterLock&) = delete;
    WithoutInterpreterLock& operator=(const WithoutInterpreterLock&) = delete;

private:
    PyThreadState* m_state;
};

namespace detail {

/// What this layer needs of Orvane's module, fetched once per client module and kept to the end of the process.
struct Module {
    const OrvaneCapsule* capsule = nullptr;
    std::array<PyTypeObject*, elementTypeCount> types{}; ///< in the order of the element table; owned
};

inline Module& moduleSlot() noexcept {
    // No guarded initialisation: the import may let another thread run, which would then wait here for ever.
    static constinit Module module;
    return module;
}

inline Module importModule() {
    Module module;
    module.capsule = Orvane_ImportCapsule();
    if (module.capsule == nullptr) {
        throw PythonError();
    }
    constexpr std::string_view path = ORVANE_CAPSULE_NAME;
    const std::string moduleName(path.substr(0, path.rfind('.')));
    const Reference pythonModule(PyImport_ImportModule(moduleName.c_str()));
    if (!pythonModule) {
        throw PythonError();
    }
    std::array<Reference, elementTypeCount> types;
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        types[i] = Reference(PyObject_GetAttrString(pythonModule.get(), std::string(elementTable[i].name).c_str()));
        if (!types[i]) {
            throw PythonError();
        }
    }
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        module.types[i] = reinterpret_cast<PyTypeObject*>(types[i].release());
    }
    return module;
}

inline const Module& module() {
    Module& slot = moduleSlot();
    if (slot.capsule == nullptr) [[unlikely]] {
        slot = importModule();
    }
    return slot;
}

/// "orvane.double" and its like, as a character array of exactly that length.
template <PythonElement T>
struct PythonTypeName {
    static constexpr std::string_view prefix = "orvane.";
    static constexpr std::string_view ending = elementRow<T>.name;
    static constexpr auto joined = [] {
        struct {
            char text[prefix.size() + ending.size() + 1]{};
        } name;
        std::copy(ending.begin(), ending.end(), std::copy(prefix.begin(), prefix.end(), name.text));
        return name;
    }();
    static constexpr const auto& text = joined.text;
};

/// The array behind an object, lent: the handle holds a reference to the object. Throws as position 1 fails.
inline data::Array lend(PyObject* object) {
    void* impl = module().capsule->implOfArray(object);
    if (impl == nullptr) {
        throw PythonError();
    }
    Py_INCREF(object);
    // The last handle may go on any thread, with the lock or without, and after the interpreter's end.
    const auto dropObject = [object](data::impl::ArrayImpl*) noexcept {
        if (Py_IsInitialized()) {
            const PyGILState_STATE state = PyGILState_Ensure();
            Py_DECREF(object);
            PyGILState_Release(state);
        }
    };
    return data::Array(std::shared_ptr<data::impl::ArrayImpl>(static_cast<data::impl::ArrayImpl*>(impl), dropObject));
}

/// Sets the TypeError that names what was expected and what came, and throws. A null that comes with an error set
/// keeps that error, which tells more.
[[noreturn]] inline void refuse(const std::string& expected, const std::string& came) {
    PyErr_Format(PyExc_TypeError, "expected %s, got %s", expected.c_str(), came.c_str());
    throw PythonError();
}

[[noreturn]] inline void refuse(const std::string& expected, PyObject* object) {
    if (object == nullptr && PyErr_Occurred() != nullptr) {
        throw PythonError();
    }
    refuse(expected, object == nullptr ? "null" : Py_TYPE(object)->tp_name);
}

/// "a complex orvane.double array"; logical arrays are never complex, and their kind is not told.
template <PythonElement T>
std::string describe(bool isComplex) {
    std::string text = std::is_same_v<T, bool> ? "an " : isComplex ? "a complex " : "a real ";
    return text.append(PythonTypeName<T>::text).append(" array");
}

template <PythonElement T>
bool isOfTypeOf(PyObject* object) {
    return object != nullptr && Py_TYPE(object) == module().types[elementIndex<T>];
}

/// Whether the elements of an array are complex. Asked before the array is handed out, which costs a copy once.
inline bool isComplexArray(PyObject* array) {
    const Reference answer(PyObject_GetAttrString(array, "_is_complex"));
    if (!answer) {
        throw PythonError();
    }
    return answer.get() == Py_True;
}

} // namespace detail

/// Whether an object is an array of any of the eleven types; false for null.
inline bool isArray(PyObject* object) {
    if (object == nullptr) {
        return false;
    }
    for (const PyTypeObject* type : detail::module().types) {
        if (Py_TYPE(object) == type) {
            return true;
        }
    }
    return false;
}

/// As `fromPython`, but nothing, without an error set, when the object is not an array of that type and kind.
template <PythonElement T>
std::optional<data::TypedArray<T>> tryFromPython(PyObject* object) {
    if (!detail::isOfTypeOf<T>(object) || detail::isComplexArray(object) != isComplexElement<T>) {
        return std::nullopt;
    }
    return data::TypedArray<T>(detail::lend(object));
}

/// The elements of a Python array, without a copy: time does not depend on how many there are. (Two cases copy once:
/// the first hand-over of an array that Python made, and that of a view, whose selected elements are gathered.)
///
/// The handle is lent: it keeps the Python object alive, but not the elements in their place. An assignment to the
/// array changes what it reads or leaves it behind, and a `reshape` makes it stale, not to be touched any more; so use
/// it up before any Python code runs again, or take `copyFromPython`. Writing through it is safe at any time: like
/// every shared array it is copied first, and Python's stays as it was.
///
/// TypeError, naming what was expected and what came, unless the object is an array of that element type, real or
/// complex as `T` is. The error of the materialisation when a view cannot be gathered.
template <PythonElement T>
data::TypedArray<T> fromPython(PyObject* object) {
    if (auto array = tryFromPython<T>(object)) {
        return *std::move(array);
    }
    const std::string expected = detail::describe<T>(isComplexElement<T>);
    if (detail::isOfTypeOf<T>(object)) {
        detail::refuse(expected, detail::describe<T>(!isComplexElement<T>));
    }
    detail::refuse(expected, object);
}

/// The same with elements of the handle's own, for keeping, for other threads and for writing: one copy.
template <PythonElement T>
data::TypedArray<T> copyFromPython(PyObject* object) {
    data::TypedArray<T> array = fromPython<T>(object);
    array.unshare();
    return array;
}

/// An array of any element type, lent in the same way, for `orvane::data::apply_numeric_visitor`.
inline data::Array anyFromPython(PyObject* object) {
    if (!isArray(object)) {
        detail::refuse("an orvane array", object);
    }
    return detail::lend(object);
}

/// A new Python array. It takes the library's array over when `array` is the only handle to it: move it in, and no
/// element is copied but for what Python's side reads. A handle that shares its array, or was lent, gives a copy.
template <PythonElement T>
Reference toPython(data::TypedArray<T> array) {
    const OrvaneCapsule& capsule = *detail::module().capsule;
    Reference object(capsule.arrayFromImpl(array.detach()));
    if (!object) {
        throw PythonError();
    }
    return object;
}

/// A new Python array with a copy of any object's buffer, of the type that the buffer's format names. TypeError when
/// the object exports none; the exporter's or the constructor's error when they refuse.
inline Reference arrayFromBuffer(PyObject* object) {
    int typeCode = ORVANE_NO_TYPE_CODE;
    Reference array(detail::module().capsule->arrayFromBuffer(object, &typeCode));
    if (!array && PyErr_Occurred() == nullptr) {
        detail::refuse("an object with a buffer", object);
    }
    if (!array) {
        throw PythonError();
    }
    return array;
}

/// Runs the body of a function that Python calls. `body` gives a `Reference` or a new `PyObject*`; what it throws
/// becomes a Python error and null: `PythonError` the error that is set, want of memory `MemoryError`, everything else
/// that derives from `std::exception`, the data-array library's refusals among them, `RuntimeError` with its words.
template <class Body>
PyObject* guarded(Body&& body) noexcept {
    using OutOfMemory = data::detail::ArrayException<Exception, data::ExceptionType::OutOfMemory>;
    try {
        return Reference(std::forward<Body>(body)()).release();
    } catch (const PythonError&) {
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const OutOfMemory&) {
        PyErr_NoMemory();
    } catch (const std::exception& fault) {
        PyErr_SetString(PyExc_RuntimeError, fault.what());
    } catch (...) {
        PyErr_SetString(PyExc_RuntimeError, "unknown C++ exception");
    }
    return nullptr;
}

} // namespace python
} // namespace orvane
