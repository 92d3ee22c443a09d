#include "module/array_construction.hpp"

namespace orvane::python::detail {

bool HeldArguments::read(PyObject* args, PyObject* kwargs) {
    const bool hasKeywords = kwargs != nullptr && PyDict_GET_SIZE(kwargs) > 0;
    const Py_ssize_t count = args != nullptr ? PyTuple_GET_SIZE(args) : 0;
    if (!hasKeywords && count > 0 && PyDict_Check(PyTuple_GET_ITEM(args, 0))) {
        m_keywords = PyRef::steal(PyDict_Copy(PyTuple_GET_ITEM(args, 0)));
        m_positional = PyRef::steal(PyTuple_GetSlice(args, 1, count));
        if (!m_keywords || !m_positional)
            return false;
        args = m_positional.get();
        kwargs = m_keywords.get();
    }
    if (!parseConstructorArguments(args, kwargs, m_arguments))
        return false;
    m_objects[0] = PyRef::borrow(m_arguments.initializer);
    m_objects[1] = PyRef::borrow(m_arguments.size);
    m_objects[2] = PyRef::borrow(m_arguments.vector);
    return true;
}

} // namespace orvane::python::detail
