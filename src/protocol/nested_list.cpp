#include "protocol/nested_list.hpp"

#include <algorithm>

#include "protocol/element_objects.hpp"
#include "vocabulary/py_ref.hpp"

namespace orvane::python {

namespace {

/// Lists under construction, one for each nesting level, the innermost last.
class NestedListBuilder {
public:
    NestedListBuilder(const OCppPyArray& array, const Selection& selection) : m_array(array), m_selection(selection) {}

    template <class T>
    PyObject* build() {
        PyRef outermost = PyRef::steal(newHiddenList(m_selection.counts[0]));
        if (!outermost)
            return nullptr;
        // Lists below the outermost belong to the list above them from the start; the levels only borrow.
        m_levels.push_back({outermost.get(), 0, m_selection.origin});
        while (!m_levels.empty()) {
            const std::size_t depth = m_levels.size() - 1;
            Level& level = m_levels.back();
            if (depth + 1 == m_selection.rank()) {
                if (!fill<T>(level))
                    return nullptr;
                finish();
            } else if (level.next == m_selection.counts[depth]) {
                finish();
            } else if (!descend(level, depth)) {
                return nullptr;
            }
        }
        return outermost.release();
    }

private:
    struct Level {
        PyObject* list;
        long next;
        unsigned long offset;
    };

    /// A list that the garbage collector does not know yet. Making the next list may run a collection, and code of the
    /// caller's with it, which must not come upon lists with empty places.
    static PyObject* newHiddenList(long length) {
        PyObject* list = PyList_New(length);
        if (list != nullptr)
            PyObject_GC_UnTrack(list);
        return list;
    }
    void finish() {
        PyObject_GC_Track(m_levels.back().list);
        m_levels.pop_back();
    }

    bool descend(Level& level, std::size_t depth) {
        PyObject* inner = newHiddenList(m_selection.counts[depth + 1]);
        if (inner == nullptr)
            return false;
        PyList_SET_ITEM(level.list, level.next++, inner);
        const unsigned long offset = level.offset;
        level.offset += static_cast<unsigned long>(m_selection.strides[depth]);
        m_levels.push_back({inner, 0, offset});
        return true;
    }

    /// Elements of one list mostly lie far from each other, and the processor does not see which come next.
    static constexpr long elementsAhead = 16;

    template <class T>
    bool fill(Level& level) {
        const std::size_t last = m_selection.rank() - 1;
        const long count = m_selection.counts[last];
        const long stride = m_selection.strides[last];
        // Making a list may have run code that wrote to the array: where the elements lie is asked for every list.
        const std::byte* const first = m_array.wrapper().elements() + level.offset;
        for (long i = 0; i < count; ++i) {
            __builtin_prefetch(first + std::min(i + elementsAhead, count - 1) * stride);
            PyObject* number = toPyObject(loadElement<T>(first + i * stride));
            if (number == nullptr)
                return false;
            PyList_SET_ITEM(level.list, i, number);
        }
        return true;
    }

    const OCppPyArray& m_array;
    const Selection& m_selection;
    boost::container::small_vector<Level, commonRank> m_levels;
};

} // namespace

PyObject* toNestedPyList(const OCppPyArray& array, const Selection& selection) {
    if (!selection.isInside) {
        raiseUnreadable(selection);
        return nullptr;
    }
    return visitElementTypeOf(array, [&]<class T>() { return NestedListBuilder(array, selection).build<T>(); });
}

} // namespace orvane::python
