#include "module/array_construction.hpp"

#include "vocabulary/caller_code.hpp"

namespace orvane::python::detail {

namespace {

/// A copy of a dictionary that no code of the caller's can come upon: not even comparing the keys, which it may do by
/// methods of their own, reaches it through the garbage collector's lists. Null with an error set.
PyRef copyKeywords(PyObject* dictionary) {
    PyRef copy = PyRef::steal(PyDict_Copy(dictionary));
    if (copy)
        PyObject_GC_UnTrack(copy.get());
    return copy;
}

} // namespace

bool HeldArguments::read(PyObject* args, PyObject* kwargs) {
    const bool hasKeywords = kwargs != nullptr && PyDict_GET_SIZE(kwargs) > 0;
    const Py_ssize_t count = args != nullptr ? PyTuple_GET_SIZE(args) : 0;
    if (!hasKeywords && count > 0 && PyDict_Check(PyTuple_GET_ITEM(args, 0))) {
        m_keywords = copyKeywords(PyTuple_GET_ITEM(args, 0));
        m_positional = PyRef::steal(PyTuple_GetSlice(args, 1, count));
        if (!m_keywords || !m_positional)
            return false;
        args = m_positional.get();
        kwargs = m_keywords.get();
    }
    if (!readPlainConstructorArguments(args, kwargs, m_arguments)) {
        if (kwargs != nullptr && !m_keywords && !(m_keywords = copyKeywords(kwargs)))
            return false;
        if (!withRecursionCounted(false,
                                  [&] { return parseConstructorArguments(args, m_keywords.get(), m_arguments); }))
            return false;
    }
    m_objects[0] = PyRef::borrow(m_arguments.initializer);
    m_objects[1] = PyRef::borrow(m_arguments.size);
    m_objects[2] = PyRef::borrow(m_arguments.vector);
    return true;
}

bool PackedArguments::pack(PyObject* const* args, std::size_t given, PyObject* names) {
    const auto count = static_cast<Py_ssize_t>(given);
    positional = PyRef::steal(PyTuple_New(count));
    if (!positional)
        return false;
    for (Py_ssize_t i = 0; i < count; ++i)
        PyTuple_SET_ITEM(positional.get(), i, Py_NewRef(args[i]));
    const Py_ssize_t named = names != nullptr ? PyTuple_GET_SIZE(names) : 0;
    if (named == 0)
        return true;
    keywords = PyRef::steal(PyDict_New());
    for (Py_ssize_t i = 0; keywords && i < named; ++i) {
        if (PyDict_SetItem(keywords.get(), PyTuple_GET_ITEM(names, i), args[count + i]) != 0)
            return false;
    }
    return static_cast<bool>(keywords);
}

} // namespace orvane::python::detail
