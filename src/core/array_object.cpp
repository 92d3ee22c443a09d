#include "core/array_object.hpp"

#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

/// Header and core array lie in one block, so that a view costs a single allocation.
template <class Core>
struct ArrayBlock {
    OCPyArray header;
    alignas(Core) std::byte core[sizeof(Core)];
};

template <class Core>
PyObject* allocShell(PyTypeObject* type) {
    auto* block = static_cast<ArrayBlock<Core>*>(PyObject_Malloc(sizeof(ArrayBlock<Core>)));
    if (block == nullptr)
        return PyErr_NoMemory();
    block->header.m_cppArray = nullptr;
    return PyObject_Init(reinterpret_cast<PyObject*>(block), type);
}

/// Makes the core array of a shell that was allocated for a `Core`.
template <class Core, class... Arguments>
void fill(PyObject* shell, Arguments&&... arguments) {
    auto* block = reinterpret_cast<ArrayBlock<Core>*>(shell);
    block->header.m_cppArray =
        std::construct_at(reinterpret_cast<Core*>(block->core), std::forward<Arguments>(arguments)...);
}

/// A view of the storage of `source` with the chain that `makeChain` gives, which is made where it stays.
template <class MakeChain>
PyObject* newViewObject(const OCppPyArray& source, MakeChain makeChain) {
    PyRef object = PyRef::steal(allocShell<OCppPyView>(TypeObjectPointers[source.supportedArrayEnum()]));
    if (object)
        fill<OCppPyView>(object.get(), source, makeChain);
    return object.release();
}

} // namespace

PyObject* allocOCPyArray(PyTypeObject* type) {
    return allocShell<OCppPyArray>(type);
}

void fillShell(PyObject* shell, std::shared_ptr<ODArrayWrapper> wrapper, SupportedArrayEnum supportedArrayEnum,
               bool isComplex) noexcept {
    fill<OCppPyArray>(shell, std::move(wrapper), supportedArrayEnum, isComplex);
}

void OCPyArray_Delete(PyObject* self) {
    if (OCppPyArray* core = getOCPyArrayFromPyObject(self)->m_cppArray)
        OCppPyArray::destroy(core);
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

void raiseNotInitialized() {
    setError(PyExc_RuntimeError, "object not initialized.");
}

} // namespace orvane::python
