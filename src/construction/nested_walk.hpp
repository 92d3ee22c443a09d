// The walk over nested sequences of any kind.
#pragma once

#include <Python.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "construction/initializer_shape.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/py_ref.hpp"

namespace orvane::python {

class OCppPyArray;
struct Selection;

/// Visits every scalar of a nested value depth-first, index 0 first at every level, infers the extents and proves
/// them rectangular. Each sequence is asked for its length and, if it has two items or more, for all its items, to
/// compare them and their lengths with each other, before its items are asked for again and visited. Arrays of this
/// module are compared by their extents, of which a reshape can leave any number.
///
/// The code of sequence classes runs meanwhile and may do anything; no borrowed object is kept. Depth costs heap
/// and no stack.
class NestedWalk {
public:
    /// Takes the scalars as they come. Each function is false with an error set to end the walk.
    class Sink {
    public:
        virtual bool append(PyObject* scalar) = 0;
        /// Called once, after the first scalar: how many there will be if the value is rectangular. Nothing when
        /// that is beyond 64 bits.
        virtual bool reserve(std::optional<std::size_t> count) = 0;
        virtual std::size_t count() const = 0;

    protected:
        ~Sink() = default;
    };

    /// The extents go into `dims`, which must be empty.
    NestedWalk(Sink& sink, Dims& dims) noexcept : m_sink(sink), m_dims(dims) {}
    NestedWalk(const NestedWalk&) = delete;
    NestedWalk& operator=(const NestedWalk&) = delete;

    /// Null is refused like an item that could not be fetched. False with an error set; throws for want of memory.
    bool run(PyObject* value);

private:
    /// A sequence under way.
    struct Level {
        PyRef sequence;
        Py_ssize_t length;
        Py_ssize_t next; ///< index of the item to visit next
    };

    bool visit(PyRef value);
    bool visitScalar(PyObject* scalar);
    bool enter(PyRef sequence);
    bool measureOwnArray(const OCppPyArray& array, Py_ssize_t& length, bool& isPassed);
    bool passEmptyOwnArray(const Selection& selection);
    bool settleExtent(std::size_t depth, std::size_t length);
    bool leave();
    bool isRectangular() const;

    Sink& m_sink;
    Dims& m_dims;
    FetchedItemsWatch m_watch;
    std::vector<Level> m_levels;
    std::size_t m_leafDepth = 0; ///< depth of the first scalar below the top, 0 until one was met
    bool m_reserved = false;
};

} // namespace orvane::python
