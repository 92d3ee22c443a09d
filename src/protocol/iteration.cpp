#include "protocol/iteration.hpp"

#include <iostream>

#include "core/array_object.hpp"
#include "core/selection.hpp"
#include "protocol/element_objects.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/python_values.hpp"
#include "vocabulary/type_objects.hpp"

namespace orvane::python {

namespace {

struct IteratorBlock {
    OCPyIter header;
    alignas(OCPyIterState) std::byte state[sizeof(OCPyIterState)];
};

} // namespace

bool isIterable(const OCppPyArray& array) {
    if (array.hasActiveDimension())
        return true;
    std::cout << "numDims (" << array.chain().activeDimension() + 1 << ") >= numShapeDims (" << array.layout().rank()
              << ")" << std::endl;
    return false;
}

OCPyIterState::OCPyIterState(const OCppPyArray& source)
    : m_view(source, [&] { return source.chain(); }),
      m_exhausted(!isIterable(source) || source.getLengthOfActiveDimension() <= 0),
      m_yieldsSubarrays(source.layout().rank() > source.chain().activeDimension() + 1),
      m_numbers(NumberWalk::through(m_view)) {}

OCPyIterState::NumberWalk OCPyIterState::NumberWalk::through(const OCppPyArray& view) {
    if (!view.hasActiveDimension() || !view.activeDimensionIsLast())
        return {};
    Selection selection = selectionOf(view);
    if (!selection.isInside)
        return {};
    const auto read = visitElementTypeOf(view, []<class T>() -> decltype(NumberWalk::read) {
        return [](const std::byte* address, RecycledNumbers& numbers) {
            return numbers.numberFor(loadElement<T>(address));
        };
    });
    return {std::move(selection.layout), selection.origin, selection.strides[0], selection.counts[0], read};
}

PyObject* OCPyIterState::nextNumber() {
    const long place = m_place++;
    m_exhausted = m_place >= m_numbers.count;
    return m_numbers.read(m_view.wrapper().elements() + m_numbers.origin + place * m_numbers.stride, m_yielded);
}

PyObject* OCPyIterState::next() {
    if (!m_exhausted && m_numbers.holds(m_place, m_view.wrapper()))
        return nextNumber();
    if (!m_exhausted && !m_view.hasActiveDimension()) // reshaped to fewer dimensions meanwhile
        m_exhausted = true;
    if (m_exhausted) {
        PyErr_SetNone(PyExc_StopIteration);
        return nullptr;
    }
    const long position = m_view.chain().absolutePosition(m_place);
    // Before the item is asked for: raising an error may run code of the caller's that lets go of the iterator.
    advance();
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return itemAt(position); });
}

PyObject* OCPyIterState::itemAt(long position) const {
    if (m_yieldsSubarrays)
        return newSubarrayObject(m_view, position);
    const IndexChain chain = m_view.chain().withFixed(position);
    return visitElementTypeOf(m_view,
                              [&]<class T>() { return elementObjectAt<T>(m_view.wrapper(), chain.integers()); });
}

void OCPyIterState::advance() noexcept {
    ++m_place;
    m_exhausted = m_place >= m_view.getLengthOfActiveDimension();
}

PyObject* OCPyArray_GetIter(PyObject* self) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    auto* block = static_cast<IteratorBlock*>(PyObject_Malloc(sizeof(IteratorBlock)));
    if (block == nullptr) {
        PyErr_NoMemory();
        return nullptr;
    }
    block->header.m_iterState = nullptr;
    PyObject* iterator = PyObject_Init(reinterpret_cast<PyObject*>(block), &OCPyIter_Type);
    const bool isReady = withMemoryErrors(false, [&] {
        block->header.m_iterState = std::construct_at(reinterpret_cast<OCPyIterState*>(block->state), *core);
        return true;
    });
    if (!isReady)
        Py_CLEAR(iterator);
    return iterator;
}

PyObject* OCPyIter_GetIter(PyObject* self) {
    return Py_NewRef(self);
}

PyObject* OCPyIter_GetIterNext(PyObject* self) {
    return reinterpret_cast<OCPyIter*>(self)->m_iterState->next();
}

void OCPyIter_Delete(PyObject* self) {
    if (OCPyIterState* state = reinterpret_cast<OCPyIter*>(self)->m_iterState)
        std::destroy_at(state);
    PyObject_Free(self);
}

} // namespace orvane::python
