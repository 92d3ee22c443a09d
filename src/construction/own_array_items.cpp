#include "construction/own_array_items.hpp"

#include "core/array_object.hpp"
#include "vocabulary/element_vocabulary.hpp"

namespace orvane::python {

std::optional<OwnArrayItems> OwnArrayItems::of(PyObject* value) {
    const OCppPyArray* array = OCPyArray_Check(value) ? getOCPyArrayFromPyObject(value)->m_cppArray : nullptr;
    if (array == nullptr || !array->hasActiveDimension())
        return std::nullopt;
    Selection selection = selectionOf(*array);
    if (!selection.isInside || selection.elementCount == 0)
        return std::nullopt;
    const char format = TypeAsChar[array->supportedArrayEnum()];
    return OwnArrayItems{std::move(selection), array->wrapper(), format, array->isComplex()};
}

} // namespace orvane::python
