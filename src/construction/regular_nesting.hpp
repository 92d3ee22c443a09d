// The short cut for regular nested lists: exact lists and tuples, of equal lengths at each level, down to numbers.
#pragma once

#include <Python.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "construction/number_block.hpp"
#include "elements/conversion.hpp"
#include "vocabulary/caller_code.hpp"

namespace orvane::python {

/// The items of an exact list or tuple; nothing for any other object, and for an empty one. Valid as long as no
/// code of the caller's runs.
inline std::span<PyObject* const> exactItems(PyObject* object) noexcept {
    const PyTypeObject* type = Py_TYPE(object);
    if (type == &PyList_Type) {
        auto* list = reinterpret_cast<PyListObject*>(object);
        return {list->ob_item, static_cast<std::size_t>(Py_SIZE(object))};
    }
    if (type == &PyTuple_Type) {
        auto* tuple = reinterpret_cast<PyTupleObject*>(object);
        return {tuple->ob_item, static_cast<std::size_t>(Py_SIZE(object))};
    }
    return {};
}

/// The extents that a nested value has if it is regular, as its first items show them.
class RegularNesting {
public:
    static constexpr std::size_t maxRank = 16;

    /// Rank 0 when `value` is no exact list or tuple, when a level on the way is empty, and when there are too
    /// many: the short cut is not for it. Whether the value is regular, reading it will show.
    explicit RegularNesting(PyObject* value) noexcept {
        for (auto items = exactItems(value); !items.empty() && m_rank < maxRank; items = exactItems(value)) {
            m_extents[m_rank++] = items.size();
            value = items.front();
        }
        if (PyList_CheckExact(value) || PyTuple_CheckExact(value))
            m_rank = 0;
        m_firstScalar = value;
    }

    std::size_t rank() const noexcept { return m_rank; }
    std::span<const std::size_t> extents() const noexcept { return {m_extents.data(), m_rank}; }
    /// The innermost first item; borrowed. If it is no number, nothing can be regular.
    PyObject* firstScalar() const noexcept { return m_firstScalar; }

private:
    std::array<std::size_t, maxRank> m_extents;
    std::size_t m_rank = 0;
    PyObject* m_firstScalar = nullptr;
};

/// Reads a nested value into elements, checking on the way that it has the extents told. In column-major order a
/// group of outer items is read side by side, so that each cache line of the target is filled at once.
///
/// Types are compared exactly and nothing is called on the objects, so that no code of the caller's runs; but for the
/// handlers of signals, at which nothing but the value itself is held on to.
template <class T, bool isConstruction>
class RegularReader {
public:
    /// At most `RegularNesting::maxRank` extents, none of them 0, which outlive the reader.
    RegularReader(std::span<const std::size_t> extents, ElementOrder order, T* target) noexcept
        : m_extents(extents), m_groupSize(order == ElementOrder::ColumnMajor ? maxGroupSize : 1), m_target(target) {
        std::size_t stride = 1;
        const std::size_t rank = m_extents.size();
        for (std::size_t i = 0; i < rank; ++i) {
            const std::size_t level = order == ElementOrder::ColumnMajor ? i : rank - 1 - i;
            m_strides[level] = stride;
            stride *= m_extents[level];
        }
    }

    /// False when something irregular or unconvertible was met, or with an error set by a signal's handler; the target
    /// is then partly filled.
    bool read(PyObject* value) const {
        // Levels of a single list cannot be grouped; those inside can.
        std::size_t level = 0;
        while (m_extents[level] == 1 && level + 1 < m_extents.size())
            ++level;
        return level + 1 == m_extents.size() ? readFlat(value, level) : readGroups(value, level);
    }

private:
    /// A cache line's worth of elements; more lists at a time would be too many to read from side by side.
    static constexpr std::size_t maxGroupSize = std::min<std::size_t>(8, 64 / sizeof(T));
    /// So many numbers of a flat list are read between two looks for signals.
    static constexpr std::size_t numbersTogether = std::size_t{1} << 20;
    /// For each member of a group, the items of its list.
    using GroupItems = std::array<PyObject* const*, maxGroupSize>;

    /// The items of the list that lies `level` levels of single items below a value; nothing when there is none of the
    /// length told.
    std::span<PyObject* const> itemsBelow(PyObject* value, std::size_t level) const noexcept {
        auto items = exactItems(value);
        for (std::size_t above = 0; above < level && items.size() == 1; ++above)
            items = exactItems(items.front());
        return items.size() == m_extents[level] ? items : std::span<PyObject* const>();
    }

    /// Reads the list at the deepest level, when there is a single one.
    [[gnu::noinline]] bool readFlat(PyObject* value, std::size_t level) const {
        for (std::size_t start = 0; start < m_extents[level]; start += numbersTogether) {
            if (start > 0 && PyErr_CheckSignals() != 0)
                return false;
            const auto items = itemsBelow(value, level);
            if (items.empty())
                return false;
            T* target = m_target + start;
            for (PyObject* const item : items.subspan(start, std::min(numbersTogether, items.size() - start))) {
                if (!convertExactNumber<T, isConstruction>(item, *target++))
                    return false;
            }
        }
        return true;
    }

    bool readGroups(PyObject* value, std::size_t level) const {
        std::size_t numbersOfItem = 1;
        for (const std::size_t extent : m_extents.subspan(level + 1))
            numbersOfItem *= extent;
        PlainItemsWatch watch;
        for (std::size_t i = 0; i < m_extents[level]; i += m_groupSize) {
            const auto items = itemsBelow(value, level);
            if (items.empty())
                return false;
            const std::size_t members = std::min(m_groupSize, items.size() - i);
            if (!readLists(level + 1, &items[i], members, i * m_strides[level]) || !watch.pass(members * numbersOfItem))
                return false;
        }
        return true;
    }

    /// Reads one list per member of a group. The members' elements are neighbours in column-major order; those of
    /// the first begin at `offset`. Recursion ends at `RegularNesting::maxRank`.
    bool readLists(std::size_t level, PyObject* const* lists, std::size_t members, std::size_t offset) const {
        GroupItems items{};
        for (std::size_t member = 0; member < members; ++member) {
            const auto found = exactItems(lists[member]);
            if (found.size() != m_extents[level])
                return false;
            items[member] = found.data();
        }
        if (level + 1 == m_extents.size())
            return members == maxGroupSize ? readNumbers(level, items, maxGroupSize, offset)
                                           : readNumbers(level, items, members, offset);

        std::array<PyObject*, maxGroupSize> children;
        for (std::size_t i = 0; i < m_extents[level]; ++i, offset += m_strides[level]) {
            for (std::size_t member = 0; member < members; ++member)
                children[member] = items[member][i];
            if (!readLists(level + 1, children.data(), members, offset))
                return false;
        }
        return true;
    }

    [[gnu::always_inline]] bool readNumbers(std::size_t level, const GroupItems& items, std::size_t members,
                                            std::size_t offset) const {
        T* target = m_target + offset;
        for (std::size_t i = 0; i < m_extents[level]; ++i, target += m_strides[level]) {
            for (std::size_t member = 0; member < members; ++member) {
                if (!convertExactNumber<T, isConstruction>(items[member][i], target[member]))
                    return false;
            }
        }
        return true;
    }

    std::span<const std::size_t> m_extents;
    std::array<std::size_t, RegularNesting::maxRank> m_strides;
    std::size_t m_groupSize;
    T* m_target;
};

} // namespace orvane::python
