#include "core/array_object.hpp"

#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

/// Header and core array lie in one block, so that a view costs a single allocation.
struct ArrayBlock {
    OCPyArray header;
    alignas(OCppPyArray) std::byte core[sizeof(OCppPyArray)];
};

/// A view of the storage of `source` with the chain that `makeChain` gives, which is made where it stays.
template <class MakeChain>
PyObject* newViewObject(const OCppPyArray& source, MakeChain makeChain) {
    PyRef object = PyRef::steal(allocOCPyArray(TypeObjectPointers[source.supportedArrayEnum()]));
    if (object)
        fillShell(object.get(), source, makeChain);
    return object.release();
}

} // namespace

PyObject* allocOCPyArray(PyTypeObject* type) {
    auto* block = static_cast<ArrayBlock*>(PyObject_Malloc(sizeof(ArrayBlock)));
    if (block == nullptr) {
        PyErr_NoMemory();
        return nullptr;
    }
    block->header.m_cppArray = nullptr;
    return PyObject_Init(reinterpret_cast<PyObject*>(block), type);
}

void* roomForCoreArray(PyObject* shell) noexcept {
    return reinterpret_cast<ArrayBlock*>(shell)->core;
}

void OCPyArray_Delete(PyObject* self) {
    if (OCppPyArray* core = getOCPyArrayFromPyObject(self)->m_cppArray)
        std::destroy_at(core);
    PyObject_Free(self);
}

PyObject* newArrayObject(const OCppPyArray& source, std::shared_ptr<ODArrayWrapper> wrapper, bool isComplex) {
    PyObject* object = allocOCPyArray(TypeObjectPointers[source.supportedArrayEnum()]);
    if (object != nullptr)
        fillShell(object, std::move(wrapper), source.supportedArrayEnum(), isComplex);
    return object;
}

PyObject* newSubarrayObject(const OCppPyArray& source, long position) {
    return newViewObject(source, [&] { return source.chain().withFixed(position); });
}

PyObject* newSliceObject(const OCppPyArray& source, const SliceIndexItem& slice) {
    return newViewObject(source, [&] { return source.chain().narrowed(slice); });
}

OCppPyArray* requireCoreArray(PyObject* self) {
    OCppPyArray* core = self != nullptr ? getOCPyArrayFromPyObject(self)->m_cppArray : nullptr;
    if (core == nullptr)
        setError(PyExc_RuntimeError, "object not initialized.");
    return core;
}

} // namespace orvane::python
