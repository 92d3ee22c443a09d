// Between C++ exceptions and Python errors.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/pending_error.hpp>
#include <orvane/python/reference.hpp>

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// How the header of a binding library has that library translate the exceptions of this layer.
using RegisterTranslator = void (*)();

/// What is still to be registered. Set while the module is loaded, when the binding library is not ready for it.
inline constinit RegisterTranslator pendingTranslator = nullptr;

inline void registerPendingTranslator() {
    if (pendingTranslator != nullptr) [[unlikely]] {
        std::exchange(pendingTranslator, nullptr)();
    }
}

} // namespace detail

/// Carries the Python error that is set when it is made, so that what is destroyed on the way out, deleters of blocks
/// among it, comes upon none and can lose none. Catch it where null goes back to the interpreter, and call `restore`.
/// `guarded` does, and so do pybind11 and nanobind when their header of this folder is included.
class PythonError : public std::exception {
public:
    PythonError() {
        PyErr_Fetch(&m_type, &m_value, &m_traceback);
        detail::registerPendingTranslator();
    }
    PythonError(const PythonError& other) noexcept
        : m_type(other.m_type), m_value(other.m_value), m_traceback(other.m_traceback), m_words(other.m_words) {
        Py_XINCREF(m_type);
        Py_XINCREF(m_value);
        Py_XINCREF(m_traceback);
        Py_XINCREF(m_words);
    }
    PythonError& operator=(const PythonError&) = delete;
    ~PythonError() override {
        if (m_type != nullptr) {
            const PendingError kept;
            const Reference type(m_type), value(m_value), traceback(m_traceback);
        }
        const Reference words(m_words); // bytes, with which no code of others goes
    }

    /// Sets the error again, for once. What is pending instead by then is reported as what nobody can handle.
    void restore() const {
        if (m_type != nullptr) {
            detail::reportPendingError();
            PyErr_Restore(std::exchange(m_type, nullptr), std::exchange(m_value, nullptr),
                          std::exchange(m_traceback, nullptr));
        }
    }

    /// The error in words, "KeyError: 'name'", for handlers that know nothing of Python. Without the interpreter lock
    /// only if they were kept.
    const char* what() const noexcept override {
        if (detail::holdsInterpreterLock()) {
            keepWords();
        }
        return m_words != nullptr ? PyBytes_AsString(m_words) : "a Python error was set";
    }

    /// Has `what` know the words from now on. Runs the error's code, which makes them, and needs the lock.
    void keepWords() const noexcept {
        if (m_words != nullptr || m_type == nullptr) {
            return;
        }
        detail::sleepIfEnded([this] {
            const PendingError kept;
            PyErr_NormalizeException(&m_type, &m_value, &m_traceback);
            const Reference name(PyObject_GetAttrString(m_type, "__name__"));
            const Reference text(name ? PyUnicode_FromFormat("%S: %S", name.get(), m_value) : nullptr);
            m_words = text ? PyUnicode_AsEncodedString(text.get(), "utf-8", "backslashreplace") : nullptr;
            PyErr_Clear();
        });
    }

private:
    mutable PyObject* m_type = nullptr; ///< null once the error has been set again
    mutable PyObject* m_value = nullptr;
    mutable PyObject* m_traceback = nullptr;
    mutable PyObject* m_words = nullptr; ///< bytes, or null
};

namespace detail {

using OutOfMemory = data::detail::ArrayException<Exception, data::ExceptionType::OutOfMemory>;

/// RuntimeError with the words of an exception, of whatever encoding: bytes that are not UTF-8 show as "\\xe9".
inline void setRuntimeError(const char* words) {
    PyErr_Clear();
    const Reference text(PyUnicode_DecodeUTF8(words, static_cast<Py_ssize_t>(std::char_traits<char>::length(words)),
                                              "backslashreplace"));
    if (text) {
        PyErr_SetObject(PyExc_RuntimeError, text.get());
    }
}

/// Sets the Python errors of the exceptions that a binding library does not know, and lets all others go on.
inline void translate(const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const PythonError& error) {
        error.restore();
    } catch (const OutOfMemory&) {
        PyErr_NoMemory();
    }
}

/// The name that refusals call an object's type by.
inline std::string typeNameOf(PyObject* object) {
#ifdef Py_LIMITED_API
    const Reference name(PyObject_GetAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__name__"));
    const Reference bytes(name ? PyUnicode_AsUTF8String(name.get()) : nullptr);
    const char* const text = bytes ? PyBytes_AsString(bytes.get()) : nullptr;
    PyErr_Clear();
    return text != nullptr ? text : "an object";
#else
    return Py_TYPE(object)->tp_name;
#endif
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
    refuse(expected, object == nullptr ? "null" : typeNameOf(object));
}

} // namespace detail

/// Runs the body of a function that Python calls. `body` gives a `Reference` or a new `PyObject*`; what it throws
/// becomes a Python error and null: `PythonError` the error that it carries, want of memory `MemoryError`, everything
/// else that derives from `std::exception`, the data-array library's refusals among them, `RuntimeError` with its
/// words.
template <class Body>
PyObject* guarded(Body&& body) {
    try {
        Reference result(std::forward<Body>(body)());
        if (result) {
            detail::reportPendingError(); // of code that ran while the body's variables went
        }
        return result.release();
    } catch (const PythonError& error) {
        error.restore();
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const detail::OutOfMemory&) {
        PyErr_NoMemory();
    } catch (const std::exception& fault) {
        detail::setRuntimeError(fault.what());
    } catch (detail::ThreadEnd&) {
        throw;
    } catch (...) {
        PyErr_SetString(PyExc_RuntimeError, "unknown C++ exception");
    }
    return nullptr;
}

} // namespace python
} // namespace orvane
