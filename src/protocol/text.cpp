#include "protocol/text.hpp"

#include <string>

#include "core/array_object.hpp"
#include "core/element_access.hpp"
#include "core/selection.hpp"
#include "protocol/number_text.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

/// How many brackets and commas the nested form takes, or the greatest number there is. Known in advance, so that
/// an array of no elements under huge dimensions fails at once rather than after filling the memory.
std::size_t countPunctuation(const Selection& selection) {
    std::size_t lists = 1;
    std::size_t characters = 2;
    for (const long count : selection.counts) {
        const auto items = static_cast<std::size_t>(count);
        std::size_t inThisLevel = 0;
        if (__builtin_mul_overflow(lists, items, &lists) || __builtin_mul_overflow(lists, 3, &inThisLevel) ||
            __builtin_add_overflow(characters, inThisLevel, &characters))
            return std::string().max_size();
        if (items == 0)
            break;
    }
    return characters;
}

/// Writes a selection, inside the elements, in nested form. Works through any number of dimensions. False with an error
/// set when the handler of a signal has raised one.
template <class T>
bool appendNested(std::string& text, const Selection& selection, const ODArrayWrapper& wrapper) {
    const std::size_t last = selection.rank() - 1;
    DimensionVector<long> places(selection.rank(), 0);
    unsigned long offset = selection.origin;
    std::size_t depth = 0;
    PlainItemsWatch watch;
    text += '[';
    while (true) {
        if (depth < last && places[depth] < selection.counts[depth]) {
            text += '[';
            places[++depth] = 0;
            continue;
        }
        if (depth == last) {
            for (long i = 0; i < selection.counts[last]; ++i) {
                if (i > 0)
                    text += ',';
                appendNumber(text, loadElement<T>(wrapper.elements() + offset + i * selection.strides[last]));
                if (!watch.pass())
                    return false;
            }
        } else {
            offset -= static_cast<unsigned long>(selection.counts[depth] * selection.strides[depth]);
        }
        text += ']';
        if (depth == 0)
            return true;
        if (!watch.pass())
            return false;
        offset += static_cast<unsigned long>(selection.strides[--depth]);
        if (++places[depth] < selection.counts[depth])
            text += ',';
    }
}

PyObject* textFormAsPyObject(const OCppPyArray& array, bool withTypeName) {
    const Selection selection = selectionOf(array);
    if (!selection.isInside) {
        raiseUnreadable(selection);
        return nullptr;
    }
    std::string text;
    text.reserve(countPunctuation(selection) + 48);
    if (withTypeName)
        text.append("orvane.")
            .append(elementTable[static_cast<std::size_t>(array.supportedArrayEnum())].name)
            .append("(");
    if (!visitElementTypeOf(array, [&]<class T>() { return appendNested<T>(text, selection, array.wrapper()); }))
        return nullptr;
    if (withTypeName)
        text += array.isComplex() ? ", is_complex=True)" : ")";
    return PyUnicode_DecodeASCII(text.data(), static_cast<Py_ssize_t>(text.size()), nullptr);
}

PyObject* textOf(PyObject* self, bool withTypeName) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    const PyRef held = PyRef::borrow(self); // a list that is written holds its items no longer than they stand in it
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return textFormAsPyObject(*core, withTypeName); });
}

} // namespace

PyObject* OCPyArray_GetStr(PyObject* self) {
    return textOf(self, false);
}

PyObject* OCPyArray_GetRepr(PyObject* self) {
    return textOf(self, true);
}

} // namespace orvane::python
