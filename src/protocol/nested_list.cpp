#include "protocol/nested_list.hpp"

#include <algorithm>

#include "protocol/element_objects.hpp"
#include "vocabulary/caller_code.hpp"
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
            if (!m_watch.pass())
                return nullptr;
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
        // Asked by CPython too, but the free-threaded 3.13 crashes where it refuses.
        if (length > PY_SSIZE_T_MAX / static_cast<long>(sizeof(PyObject*)))
            return PyErr_NoMemory();
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

    /// So many numbers of a list are made between two looks for signals.
    static constexpr long numbersTogether = 1L << 20;
    /// Elements of one list mostly lie far from each other, and the processor does not see which come next. Making so
    /// many numbers takes longer than any memory takes to answer, and their lines fit any first cache.
    static constexpr long elementsAhead = 16;

    template <class T>
    bool fill(Level& level) {
        const std::size_t last = m_selection.rank() - 1;
        const long count = m_selection.counts[last];
        const long stride = m_selection.strides[last];
        for (long i = 0; i < count;) {
            // Making a list or answering a signal may have run code that wrote to the array: where the elements lie is
            // asked anew.
            const std::byte* const first = m_array.wrapper().elements() + level.offset;
            const long end = std::min(count - i, numbersTogether) + i;
            for (; i < end; ++i) {
                __builtin_prefetch(first + std::min(i + elementsAhead, count - 1) * stride);
                PyObject* number = toPyObject(loadElement<T>(first + i * stride));
                if (number == nullptr)
                    return false;
                PyList_SET_ITEM(level.list, i, number);
            }
            if (i < count && !m_watch.pass(static_cast<unsigned long>(numbersTogether)))
                return false;
        }
        return m_watch.pass(static_cast<unsigned long>(count % numbersTogether));
    }

    const OCppPyArray& m_array;
    const Selection& m_selection;
    boost::container::small_vector<Level, commonRank> m_levels;
    PlainItemsWatch m_watch;
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
