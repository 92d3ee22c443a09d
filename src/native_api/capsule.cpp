#include "native_api/capsule.hpp"

#include <orvane/capsule.h>

#include <algorithm>
#include <optional>

#include "core/array_object.hpp"
#include "native_api/exchange.hpp"
#include "native_api/foreign_buffer.hpp"
#include "native_api/loan.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

using namespace orvane;
using namespace orvane::python;

namespace {

constexpr int noTypeFound = 32;
constexpr int complexOffset = 10;

/// Moves `array` into a new Python object; null with an error set, and perhaps with `array` still holding.
PyObject* wrapArray(data::Array& array, ODArrayWrapper::Reach reach) {
    const TypeAndComplexity type = getTypeAndComplexityFromArrayType(array.getType());
    const auto extents = array.extents();
    const bool fitsPython =
        std::all_of(extents.begin(), extents.end(), [](unsigned long extent) { return extent <= PY_SSIZE_T_MAX; });
    if (!type.supported || extents.size() < 2 || !fitsPython) {
        setError(PyExc_RuntimeError, "invalid type.");
        return nullptr;
    }
    PyRef object = PyRef::steal(allocOCPyArray(TypeObjectPointers[type.supportedArrayEnum]));
    if (!object)
        return nullptr;
    fillShell(object.get(), ODArrayWrapper::adopt(std::move(array), reach), type.supportedArrayEnum, type.isComplex);
    return object.release();
}

PyObject* arrayFromImpl(void* impl, ODArrayWrapper::Reach reach) {
    if (impl == nullptr) {
        setError(PyExc_RuntimeError, "null data pointer.");
        return nullptr;
    }
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] {
        std::optional<data::Array> array(std::in_place, static_cast<data::impl::ArrayImpl*>(impl));
        PyObject* const object = wrapArray(*array, reach);
        const PendingError kept; // what is refused is destroyed, and that may run code of others
        array.reset();
        return object;
    });
}

} // namespace

namespace OCPyArrayAPI {

PyObject* OCPyArray_ODAImplToOCPyArray(void* impl) {
    return arrayFromImpl(impl, ODArrayWrapper::Reach::Native);
}

PyObject* arrayFromOwnImpl(void* impl) {
    return arrayFromImpl(impl, ODArrayWrapper::Reach::GivenUp);
}

void* OCPyArray_OCPyArrayToODAImpl(PyObject* object) {
    OCppPyArray* core = requireCoreArray(OCPyArray_Check(object) ? object : nullptr);
    if (core == nullptr)
        return nullptr;
    const PyRef held = PyRef::borrow(object); // while code of others runs
    settleReturnedLoans();
    return withMemoryErrors(static_cast<void*>(nullptr), [&]() -> void* {
        return core->chain().isEmpty() ? core->wrapper().handOut() : core->materialisedForNative();
    });
}

PyObject* OCPyArray_BufferObjectToOCPyArray(PyObject* object, int* typeCode) {
    if (typeCode == nullptr) {
        setError(PyExc_RuntimeError, "null data pointer.");
        return nullptr;
    }
    *typeCode = noTypeFound;
    BufferView view;
    bool isComplex = false;
    const int code = fillPyBuffer(object, &view, &isComplex);
    if (code < 0)
        return nullptr;
    *typeCode = code + (isComplex ? complexOffset : 0);

    const PyRef arguments = PyRef::steal(PyTuple_Pack(1, object));
    const PyRef keywords = PyRef::steal(isComplex ? PyDict_New() : nullptr);
    if (!arguments || (isComplex && (!keywords || PyDict_SetItemString(keywords.get(), "is_complex", Py_True) < 0)))
        return nullptr;
    PyTypeObject* type = TypeObjectPointers[code - typeCodeOffset];
    return type->tp_new(type, arguments.get(), keywords.get());
}

void OCPyArray_DestroyOCPyArray(PyObject* object) {
    if (!OCPyArray_Check(object))
        return;
    Py_SET_REFCNT(object, 1); // whatever it was; an interpreter that counts all references sees this one go
    Py_DECREF(object);
}

bool OCPyArray_SatisfiesBufferProtocol(PyObject* object) {
    return object != nullptr && PyObject_CheckBuffer(object) != 0;
}

PyObject* newCapsule() {
    static OrvaneCapsule capiTable = {
        .arrayFromImpl = OCPyArray_ODAImplToOCPyArray,
        .implOfArray = OCPyArray_OCPyArrayToODAImpl,
        .arrayFromBuffer = OCPyArray_BufferObjectToOCPyArray,
        .destroyArray = OCPyArray_DestroyOCPyArray,
        .exportsBuffer = OCPyArray_SatisfiesBufferProtocol,
    };
    // Clients may as well index an array of five pointers.
    static_assert(sizeof(capiTable) == 5 * sizeof(void*));
    PyRef capsule = PyRef::steal(PyCapsule_New(&capiTable, ORVANE_CAPSULE_NAME, nullptr));
    // The context is the only place where the second table shows, to who asks for it.
    if (!capsule || PyCapsule_SetContext(capsule.get(), const_cast<OrvaneExchange*>(exchangeTable())) != 0)
        return nullptr;
    return capsule.release();
}

} // namespace OCPyArrayAPI
