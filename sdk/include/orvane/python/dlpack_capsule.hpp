// DLPack tensors in capsules, as they change hands in Python.
//
// A capsule owns its tensor until a consumer renames it: "dltensor_versioned" becomes "used_dltensor_versioned", and
// of the older form "dltensor" becomes "used_dltensor".
#pragma once

#include <orvane/python/dlpack_abi.hpp>
#include <orvane/python/dlpack_array.hpp>
#include <orvane/python/dlpack_tensor.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/reference.hpp>

#include <type_traits>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

template <DlpackForm Form>
inline constexpr const char* capsuleName =
    std::is_same_v<Form, dlpack::ManagedTensor> ? "dltensor" : "dltensor_versioned";
template <DlpackForm Form>
inline constexpr const char* usedCapsuleName =
    std::is_same_v<Form, dlpack::ManagedTensor> ? "used_dltensor" : "used_dltensor_versioned";

/// The tensor in a capsule that nobody has used.
template <DlpackForm Form>
Form* tensorIn(PyObject* capsule) {
    return static_cast<Form*>(PyCapsule_GetPointer(capsule, capsuleName<Form>));
}

template <DlpackForm Form>
void dropUnused(PyObject* capsule) {
    if (PyCapsule_IsValid(capsule, capsuleName<Form>) != 0) {
        const DlpackTensor<Form> dropped(tensorIn<Form>(capsule));
    }
}

template <DlpackForm Form>
Reference consume(PyObject* capsule, DlpackCopy copy) {
    Form* const tensor = tensorIn<Form>(capsule);
    const TensorContent content = contentOf(*tensor, copy); // refuses before the capsule is used
    if (PyCapsule_SetName(capsule, usedCapsuleName<Form>) != 0) {
        throw PythonError();
    }
    return arrayOf(content, DlpackTensor<Form>(tensor));
}

} // namespace detail

/// A new capsule that owns a tensor.
template <DlpackForm Form>
Reference toDlpackCapsule(DlpackTensor<Form> tensor) {
    Reference capsule(PyCapsule_New(tensor.get(), detail::capsuleName<Form>, detail::dropUnused<Form>));
    if (!capsule) {
        throw PythonError();
    }
    static_cast<void>(tensor.release()); // now the capsule's
    return capsule;
}

/// What the consumer of a Python array asks for, by the words of `__dlpack__`.
struct DlpackRequest {
    bool isVersioned = true; ///< whether `max_version` reaches (1, 0)
    bool forWriting = false; ///< whether the consumer may write to the elements
    DlpackCopy copy = DlpackCopy::IfNeeded;
};

/// A new capsule with a tensor of a Python array or view of any type: its elements, lent, or a copy of them, which may
/// always be written to. TypeError for what is no array; BufferError for complex integers, and for the older form of
/// elements that are not to be written to.
inline Reference toDlpackCapsule(PyObject* object, const DlpackRequest& request = {}) {
    const int type = detail::exchange().kindOf(object);
    if (type < 0) {
        detail::refuse("an orvane array", object);
    }
    detail::requireDlpackKind(type);
    const bool isCopied = request.copy == DlpackCopy::Always;
    if (!request.isVersioned && !request.forWriting && !isCopied) {
        detail::refuseTensor("only version 1 of DLPack can say that a tensor must not be written to");
    }
    const bool forWriting = request.forWriting && !isCopied;
    const unsigned flags = forWriting ? ORVANE_LOAN_WRITABLE : 0;
    detail::OwnedLoan loan(detail::exchange().lend(object, flags));
    if (!loan) {
        throw PythonError();
    }
    detail::DlpackElements elements = detail::elementsOf(*loan, forWriting ? 0 : dlpack::readOnlyFlag);
    const auto put = [&](auto owner) {
        return request.isVersioned
                   ? toDlpackCapsule(detail::makeTensor<dlpack::ManagedTensorVersioned>(elements, std::move(owner)))
                   : toDlpackCapsule(detail::makeTensor<dlpack::ManagedTensor>(elements, std::move(owner)));
    };
    if (!isCopied) {
        return put(std::move(loan));
    }
    auto block = detail::copyOf(elements, loan->elementCount);
    elements.first = block.get();
    elements.strides = data::ColumnMajorSpan<std::byte>(nullptr, elements.extents).strides();
    elements.flags = dlpack::isCopiedFlag;
    return put(std::move(block));
}

/// A new Python array of the tensor in a capsule, as `fromDlpack` makes it. The capsule counts as used from then on;
/// one whose tensor is refused does not, and goes on owning it. TypeError for what is no capsule of DLPack's,
/// ValueError for one that has been used.
inline Reference fromDlpackCapsule(PyObject* capsule, DlpackCopy copy = DlpackCopy::IfNeeded) {
    using Older = dlpack::ManagedTensor;
    using Versioned = dlpack::ManagedTensorVersioned;
    if (PyCapsule_IsValid(capsule, detail::capsuleName<Versioned>) != 0) {
        return detail::consume<Versioned>(capsule, copy);
    }
    if (PyCapsule_IsValid(capsule, detail::capsuleName<Older>) != 0) {
        return detail::consume<Older>(capsule, copy);
    }
    if (PyCapsule_IsValid(capsule, detail::usedCapsuleName<Versioned>) != 0 ||
        PyCapsule_IsValid(capsule, detail::usedCapsuleName<Older>) != 0) {
        PyErr_SetString(PyExc_ValueError, "the DLPack capsule has been used already");
        throw PythonError();
    }
    detail::refuse("a DLPack capsule", capsule);
}

} // namespace python
} // namespace orvane
