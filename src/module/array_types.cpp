#include "module/array_types.hpp"

#include <algorithm>
#include <array>
#include <iostream>

#include "core/array_object.hpp"
#include "module/array_construction.hpp"
#include "protocol/assignment.hpp"
#include "protocol/attributes.hpp"
#include "protocol/buffer_export.hpp"
#include "protocol/comparison.hpp"
#include "protocol/iteration.hpp"
#include "protocol/methods.hpp"
#include "protocol/pickling.hpp"
#include "protocol/read_access.hpp"
#include "protocol/reshape.hpp"
#include "protocol/text.hpp"

namespace orvane::python {

namespace {

// ---- what the eleven types have in common -----------------------------------------------------------------------

PyCFunction takingKeywords(PyCFunctionWithKeywords method) {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(method));
}

PyMethodDef methods[] = {
    {"reshape", takingKeywords(OCPyArray_Reshape), METH_VARARGS | METH_KEYWORDS,
     "reshape changes the dimensions of an N-dimensional array while preserving the values"},
    {"buffer_info", OCPyArray_BufferInfo, METH_NOARGS,
     "buffer_info returns a two-element tuple containing the address of the buffer and the number of elements"},
    {"get_bytewise_strides", OCPyArray_GetBytewiseStrides, METH_NOARGS,
     "get_bytewise_strides returns a tuple containing the bytewise strides"},
    {"clone", OCPyArray_Clone, METH_NOARGS, "clone returns an independent copy of the input object"},
    {"real", OCPyArray_Real, METH_NOARGS, "real returns the real part of the input object as a 1-by-N array"},
    {"imag", OCPyArray_Imag, METH_NOARGS, "imag returns the imaginary part of the input object as a 1-by-N array"},
    {"noncomplex", OCPyArray_Noncomplex, METH_NOARGS,
     "noncomplex returns the the input object (which must be noncomplex) as a 1-by-N array"},
    {"toarray", OCPyArray_ToArrayArray, METH_NOARGS,
     "toarray returns an array.array initialized from the input object"},
    {"tomemoryview", OCPyArray_ToMemoryView, METH_NOARGS,
     "tomemoryview returns a memoryview initialized from the input object"},
    {"__reduce__", OCPyArray_Reduce, METH_NOARGS, "__reduce__ pickles the input object"},
    {nullptr, nullptr, 0, nullptr},
};

} // namespace

extern "C" {

ORVANE_EXPORT PyBufferProcs OCPyArray_BufferProcs = {OCPyArray_GetBuffer, OCPyArray_ReleaseBuffer};

ORVANE_EXPORT PyGetSetDef OCPyArray_GetSetMethods[] = {
    {"size", OCPyArray_GetArraySize, nullptr, "dimensions", nullptr},
    {"_size", OCPyArray_GetArraySize, nullptr, "dimensions", nullptr},
    {"itemsize", OCPyArray_GetElementSize, nullptr, "size of an element in bytes", nullptr},
    {"_real", OCPyArray_GetRealAsAttrib, nullptr, "real part of elements; equivalent to real()", nullptr},
    {"_imag", OCPyArray_GetImagAsAttrib, nullptr, "imaginary part of elements; equivalent to imag()", nullptr},
    {"_data", OCPyArray_GetNoncomplexAsAttrib, nullptr, "elements in storage order; equivalent to noncomplex()",
     nullptr},
    {"_is_complex", OCPyArray_GetIsComplexAsAttrib, nullptr, "whether array is complex", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};
}

namespace {

// ---- what differs from type to type -----------------------------------------------------------------------------

template <class T>
constexpr PySequenceMethods sequenceMethods() {
    PySequenceMethods slots{};
    slots.sq_length = OCPyArray_NumElemsInFirstDim;
    slots.sq_item = OCPyArray_GetItem<T>;
    return slots;
}

template <class T>
constexpr PyMappingMethods mappingMethods() {
    return {OCPyArray_NumElemsInFirstDim, OCPyArray_GetViaIndex<T>, OCPyArray_SetViaIndex};
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers" // the interpreter's header macro leaves the rest empty
PyTypeObject emptyType() {
    return {PyVarObject_HEAD_INIT(nullptr, 0)};
}
#pragma GCC diagnostic pop

/// Name and documentation come at start-up. No flags: the types cannot be subclassed, and since arrays refer to no
/// Python object the garbage collector need not know them.
template <class T>
PyTypeObject arrayType(PySequenceMethods* sequence, PyMappingMethods* mapping) {
    PyTypeObject type = emptyType();
    type.tp_basicsize = sizeof(OCPyArray);
    type.tp_dealloc = OCPyArray_Delete;
    type.tp_repr = OCPyArray_GetRepr;
    type.tp_as_sequence = sequence;
    type.tp_as_mapping = mapping;
    type.tp_str = OCPyArray_GetStr;
    type.tp_as_buffer = &OCPyArray_BufferProcs;
    type.tp_richcompare = OCPyArray_RichCompare;
    type.tp_iter = OCPyArray_GetIter;
    type.tp_methods = methods;
    type.tp_getset = OCPyArray_GetSetMethods;
    type.tp_new = OCPyArray_New<T>;
    type.tp_vectorcall = OCPyArray_Vectorcall<T>;
    return type;
}

} // namespace

// Symbols of the dynamic linker cannot come out of a template, so here, and only here, the types are spelled out.
#define ORVANE_FOR_EACH_ELEMENT_TYPE(DO)                                                                               \
    DO(double)                                                                                                         \
    DO(float)                                                                                                          \
    DO(int8_t)                                                                                                         \
    DO(uint8_t)                                                                                                        \
    DO(int16_t)                                                                                                        \
    DO(uint16_t)                                                                                                       \
    DO(int32_t)                                                                                                        \
    DO(uint32_t)                                                                                                       \
    DO(int64_t)                                                                                                        \
    DO(uint64_t)                                                                                                       \
    DO(bool)

#define ORVANE_DEFINE_TYPE(T)                                                                                          \
    ORVANE_EXPORT PySequenceMethods OCPyArray_SequenceMethods_##T = sequenceMethods<T>();                              \
    ORVANE_EXPORT PyMappingMethods OCPyArray_MappingMethods_##T = mappingMethods<T>();                                 \
    ORVANE_EXPORT PyTypeObject OCPyArray_Type_##T =                                                                    \
        arrayType<T>(&OCPyArray_SequenceMethods_##T, &OCPyArray_MappingMethods_##T);
#define ORVANE_POINT_TO_TYPE(T) &OCPyArray_Type_##T,
#define ORVANE_POSITION_OF_TYPE(T) elementIndex<T>,

extern "C" {

ORVANE_FOR_EACH_ELEMENT_TYPE(ORVANE_DEFINE_TYPE)

PyTypeObject* TypeObjectPointers[] = {ORVANE_FOR_EACH_ELEMENT_TYPE(ORVANE_POINT_TO_TYPE)};

PyTypeObject OCPyIter_Type = [] {
    PyTypeObject type = emptyType();
    type.tp_name = "orvane.OCPyIter";
    type.tp_basicsize = sizeof(OCPyIter);
    type.tp_dealloc = OCPyIter_Delete;
    type.tp_doc = "Internal iterator object";
    type.tp_iter = OCPyIter_GetIter;
    type.tp_iternext = OCPyIter_GetIterNext;
    return type;
}();
}

namespace {

constexpr std::size_t positions[] = {ORVANE_FOR_EACH_ELEMENT_TYPE(ORVANE_POSITION_OF_TYPE)};
static_assert(std::size(positions) == elementTypeCount && std::is_sorted(std::begin(positions), std::end(positions)),
              "the types above must stand in the order of the element table");

using DottedName = std::array<char, 16>;

constexpr std::array<DottedName, elementTypeCount> dottedNames = [] {
    std::array<DottedName, elementTypeCount> names{};
    constexpr std::string_view prefix = "orvane.";
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        const std::string_view name = elementTable[i].name;
        std::copy(name.begin(), name.end(), std::copy(prefix.begin(), prefix.end(), names[i].begin()));
    }
    return names;
}();

bool addType(PyObject* module, const char* name, PyTypeObject* type, const char* complaint) {
    if (PyType_Ready(type) < 0) {
        std::cerr << complaint << std::endl;
        return false;
    }
    return PyModule_AddObjectRef(module, name, reinterpret_cast<PyObject*>(type)) == 0;
}

} // namespace

} // namespace orvane::python

PyObject* init_types(PyObject* module) {
    using namespace orvane;
    using namespace orvane::python;
    if (module == nullptr) {
        std::cerr << "Could not initialize module." << std::endl;
        return nullptr;
    }
    for (std::size_t i = 0; i < elementTypeCount; ++i) {
        PyTypeObject* type = TypeObjectPointers[i];
        type->tp_doc = elementTable[i].name.data();
        type->tp_name = dottedNames[i].data();
        if (!addType(module, type->tp_doc, type, "Could not initialize type."))
            return nullptr;
    }
    return addType(module, "OCPyIter", &OCPyIter_Type, "Could not initialize OCPyIter_Type.") ? module : nullptr;
}
