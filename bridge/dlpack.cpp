#include "functions.hpp"

#include <orvane/dlpack.hpp>

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace orvane::bridge {

namespace {

/// What the word `copy` of Python's protocol says: None, True or False.
python::DlpackCopy copyOf(PyObject* word) {
    if (word == Py_None) {
        return python::DlpackCopy::IfNeeded;
    }
    const int truth = PyObject_IsTrue(word);
    if (truth < 0) {
        throw python::PythonError();
    }
    return truth != 0 ? python::DlpackCopy::Always : python::DlpackCopy::Never;
}

/// Whether a view shows its elements in reverse. Some libraries end the process when they see steps backwards.
bool isReversed(PyObject* array) {
    const OrvaneLoan* const loan = exchange->lend(array, 0);
    if (loan == nullptr) {
        throw python::PythonError();
    }
    const bool isBackwards = std::any_of(loan->strides, loan->strides + loan->rank, [](auto step) { return step < 0; });
    exchange->giveBack(loan);
    return isBackwards;
}

/// What other libraries believe of a tensor, whose memory they may read on more devices than the CPU.
template <python::DlpackForm Form>
void check(PyObject* capsule) {
    const auto* const managed =
        static_cast<const Form*>(PyCapsule_GetPointer(capsule, python::detail::capsuleName<Form>));
    if constexpr (std::is_same_v<Form, dlpack::ManagedTensorVersioned>) {
        if (managed->version.major > dlpack::knownVersion.major) {
            return; // what stands behind the version is not known
        }
    }
    const dlpack::Tensor& tensor = managed->dl_tensor;
    const auto size = static_cast<std::size_t>(tensor.dtype.bits * tensor.dtype.lanes + 7) / 8;
    const python::detail::DlpackKind kind{-1, tensor.dtype, std::max(size, std::size_t{1}), 1};
    if (python::detail::countOf(tensor, kind.size) > 0) {
        const std::vector<std::size_t> extents(tensor.shape, tensor.shape + tensor.ndim);
        static_cast<void>(
            python::detail::firstOf(tensor, {nullptr, &kind, extents, python::detail::stridesOf(tensor)}));
    }
}

} // namespace

PyObject* checkCapsule(PyObject*, PyObject* capsule) {
    return python::guarded([&] {
        using Older = dlpack::ManagedTensor;
        using Versioned = dlpack::ManagedTensorVersioned;
        if (PyCapsule_IsValid(capsule, python::detail::capsuleName<Versioned>) != 0) {
            check<Versioned>(capsule);
        } else if (PyCapsule_IsValid(capsule, python::detail::capsuleName<Older>) != 0) {
            check<Older>(capsule);
        }
        Py_INCREF(Py_None);
        return Py_None;
    });
}

PyObject* toCapsule(PyObject*, PyObject* arguments) {
    return python::guarded([&] {
        PyObject* array = nullptr;
        int isVersioned = 1;
        int forWriting = 0;
        PyObject* copy = Py_None;
        if (PyArg_ParseTuple(arguments, "OppO:to_capsule", &array, &isVersioned, &forWriting, &copy) == 0) {
            throw python::PythonError();
        }
        python::DlpackCopy wish = copyOf(copy);
        if (wish != python::DlpackCopy::Always && isReversed(array)) {
            if (forWriting != 0 || wish == python::DlpackCopy::Never) {
                PyErr_SetString(PyExc_BufferError, "the elements are shown in reverse, which tensors are not");
                throw python::PythonError();
            }
            wish = python::DlpackCopy::Always;
        }
        return python::toDlpackCapsule(array, {isVersioned != 0, forWriting != 0, wish});
    });
}

PyObject* fromCapsule(PyObject*, PyObject* arguments) {
    return python::guarded([&] {
        PyObject* capsule = nullptr;
        PyObject* copy = Py_None;
        if (PyArg_ParseTuple(arguments, "OO:from_capsule", &capsule, &copy) == 0) {
            throw python::PythonError();
        }
        return python::fromDlpackCapsule(capsule, copyOf(copy));
    });
}

} // namespace orvane::bridge
