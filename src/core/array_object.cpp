#include "core/array_object.hpp"

#include "module/vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

/// Header and core array lie in one block, so that a view costs a single allocation.
struct ArrayBlock {
    OCPyArray header;
    alignas(OCppPyArray) std::byte core[sizeof(OCppPyArray)];
};

} // namespace

PyObject* allocOCPyArray(PyTypeObject* type) {
    auto* block = static_cast<ArrayBlock*>(PyObject_Malloc(sizeof(ArrayBlock)));
    if (block == nullptr) {
        setError(PyExc_RuntimeError, "unable to initialize C object.");
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

PyObject* newViewObject(const OCppPyArray& source, IndexChain chain) {
    PyObject* object = allocOCPyArray(TypeObjectPointers[source.supportedArrayEnum()]);
    if (object != nullptr)
        fillShell(object, source, std::move(chain));
    return object;
}

OCppPyArray* requireCoreArray(PyObject* self) {
    OCppPyArray* core = self != nullptr ? getOCPyArrayFromPyObject(self)->m_cppArray : nullptr;
    if (core == nullptr)
        setError(PyExc_RuntimeError, "object not initialized.");
    return core;
}

} // namespace orvane::python
