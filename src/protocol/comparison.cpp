#include "protocol/comparison.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>

#include "core/array_object.hpp"
#include "core/element_access.hpp"
#include "core/selection.hpp"
#include "elements/equality.hpp"
#include "protocol/iteration.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

/// Equal or not; nothing with an error set.
using Verdict = std::optional<bool>;

/// One of the two arrays and what of it is walked.
struct Side {
    const OCppPyArray& array;
    Selection selection;
    const std::byte* elements;

    explicit Side(const OCppPyArray& compared)
        : array(compared), selection(selectionOf(compared)), elements(compared.wrapper().elements()) {
        if (!isIterable(compared)) { // iterating gives nothing, whatever a slice in the chain says
            selection.counts.assign(1, 0);
            selection.strides.assign(1, 0);
        }
    }
};

/// What the nesting alone says: unequal, equal (nothing to compare), or that the elements decide.
enum class Nesting { Unequal, Empty, Same };

Nesting compareNesting(const Selection& a, const Selection& b) {
    for (std::size_t d = 0;; ++d) {
        if (a.counts[d] != b.counts[d])
            return Nesting::Unequal;
        if (a.counts[d] == 0)
            return Nesting::Empty;
        const bool aIsDone = d + 1 == a.rank();
        const bool bIsDone = d + 1 == b.rank();
        if (aIsDone != bIsDone)
            return Nesting::Unequal;
        if (aIsDone)
            return Nesting::Same;
    }
}

template <class A, class B>
bool elementsInStepEqual(const std::byte* a, long aStride, const std::byte* b, long bStride, long count) {
    for (long i = 0; i < count; ++i) {
        if (!elementsEqual(loadElement<A>(a + i * aStride), loadElement<B>(b + i * bStride)))
            return false;
    }
    return true;
}

/// The short cut for real elements of one type without gaps: a block at a time, with no branch inside. Written with
/// vectors, because compilers do not make any of comparisons that end in truth values.
template <class T>
bool blocksEqual(const std::byte* a, const std::byte* b, long count) {
    using Number = std::conditional_t<std::is_same_v<T, bool>, std::uint8_t, T>;
    using Vector [[gnu::vector_size(16)]] = Number;
    constexpr long blockSize = 256;
    const long inBlocks = count * static_cast<long>(sizeof(T)) / blockSize * blockSize;
    for (long start = 0; start < inBlocks; start += blockSize) {
        decltype(Vector{} != Vector{}) differences{};
        for (long i = start; i < start + blockSize; i += static_cast<long>(sizeof(Vector))) {
            Vector x;
            Vector y;
            std::memcpy(&x, a + i, sizeof x);
            std::memcpy(&y, b + i, sizeof y);
            if constexpr (std::is_same_v<T, bool>)
                differences |= (x != 0) != (y != 0);
            else
                differences |= x != y;
        }
        if (std::bit_cast<std::array<std::uint64_t, 2>>(differences) != std::array<std::uint64_t, 2>{})
            return false;
    }
    const long compared = inBlocks / static_cast<long>(sizeof(T));
    return elementsInStepEqual<T, T>(a + inBlocks, sizeof(T), b + inBlocks, sizeof(T), count - compared);
}

template <class A, class B>
bool runsEqual(const std::byte* a, long aStride, const std::byte* b, long bStride, long count) {
    // The parts of complex 64-bit integers are equal as doubles, which is not bit by bit.
    constexpr bool equalAsDoubles = isComplexElement<A> && std::is_integral_v<RealElement<A>> && sizeof(A) == 16;
    if constexpr (std::is_same_v<A, B> && !equalAsDoubles) {
        constexpr long partsOfElement = sizeof(A) / sizeof(RealElement<A>);
        if (aStride == sizeof(A) && bStride == sizeof(B))
            return blocksEqual<RealElement<A>>(a, b, count * partsOfElement);
    }
    return elementsInStepEqual<A, B>(a, aStride, b, bStride, count);
}

/// Two selections of one nesting, both inside the elements and not empty, in storage order.
template <class A, class B>
bool selectionsEqual(const Side& a, const Side& b) {
    const Extents& counts = a.selection.counts;
    const Extents& aStrides = a.selection.strides;
    const Extents& bStrides = b.selection.strides;
    std::size_t outer = 1;
    long run = counts[0];
    while (outer < counts.size() && aStrides[outer] == run * aStrides[0] && bStrides[outer] == run * bStrides[0])
        run *= counts[outer++];

    unsigned long aRun = a.selection.origin;
    unsigned long bRun = b.selection.origin;
    DimensionVector<long> places(counts.size(), 0);
    while (runsEqual<A, B>(a.elements + aRun, aStrides[0], b.elements + bRun, bStrides[0], run)) {
        std::size_t d = outer;
        for (; d < counts.size(); ++d) {
            aRun += static_cast<unsigned long>(aStrides[d]);
            bRun += static_cast<unsigned long>(bStrides[d]);
            if (++places[d] < counts[d])
                break;
            aRun -= static_cast<unsigned long>(counts[d] * aStrides[d]);
            bRun -= static_cast<unsigned long>(counts[d] * bStrides[d]);
            places[d] = 0;
        }
        if (d >= counts.size())
            return true;
    }
    return false;
}

/// Reads an element for the guarded walk; nothing with an error set outside the storage.
template <class T>
std::optional<T> readGuarded(const Side& side, unsigned long offset, long place) {
    if (offset >= static_cast<unsigned long>(side.selection.layout->sizeInBytes())) {
        PyErr_Format(PyExc_IndexError, "index has an invalid value: %ld", place);
        return std::nullopt;
    }
    return loadElement<T>(side.elements + offset);
}

/// The walk in index order, item by item and with every place checked: for views that a reshape has left reaching
/// outside the elements, where the first difference or the first fault, whichever comes first, is the answer.
template <class A, class B>
class GuardedWalk {
public:
    GuardedWalk(const Side& a, const Side& b) : m_a(a), m_b(b) {}

    Verdict run() {
        m_levels.push_back({0, m_a.selection.origin, m_b.selection.origin});
        while (!m_levels.empty()) {
            const std::size_t d = m_levels.size() - 1;
            Level& level = m_levels.back();
            const long aCount = m_a.selection.counts[d];
            const long bCount = m_b.selection.counts[d];
            const bool aIsNumber = d + 1 == m_a.selection.rank();
            const bool bIsNumber = d + 1 == m_b.selection.rank();
            const Level item = level;
            if (level.place == std::min(aCount, bCount)) {
                // The longer side's next item is read before the shorter one is found to have none.
                if (aCount > bCount && aIsNumber && !readGuarded<A>(m_a, item.aOffset, position(m_a, item.place)))
                    return std::nullopt;
                if (bCount > aCount && bIsNumber && !readGuarded<B>(m_b, item.bOffset, position(m_b, item.place)))
                    return std::nullopt;
                if (aCount != bCount)
                    return false;
                m_levels.pop_back();
                continue;
            }
            ++level.place;
            level.aOffset += static_cast<unsigned long>(m_a.selection.strides[d]);
            level.bOffset += static_cast<unsigned long>(m_b.selection.strides[d]);
            if (!aIsNumber && !bIsNumber) {
                m_levels.push_back({0, item.aOffset, item.bOffset});
                continue;
            }
            const Verdict verdict = compareItems(item, aIsNumber, bIsNumber);
            if (!verdict || !*verdict)
                return verdict;
        }
        return true;
    }

private:
    struct Level {
        long place;
        unsigned long aOffset;
        unsigned long bOffset;
    };

    Verdict compareItems(const Level& item, bool aIsNumber, bool bIsNumber) {
        std::optional<A> a;
        std::optional<B> b;
        if (aIsNumber && !(a = readGuarded<A>(m_a, item.aOffset, position(m_a, item.place))))
            return std::nullopt;
        if (bIsNumber && !(b = readGuarded<B>(m_b, item.bOffset, position(m_b, item.place))))
            return std::nullopt;
        return a && b && elementsEqual(*a, *b);
    }

    /// The absolute position in the last dimension.
    long position(const Side& side, long place) const {
        return m_levels.size() == 1 ? side.array.chain().absolutePosition(place) : place;
    }

    const Side& m_a;
    const Side& m_b;
    boost::container::small_vector<Level, commonRank> m_levels;
};

template <class A, class B>
Verdict compareSides(const Side& a, const Side& b) {
    if (!a.selection.isInside || !b.selection.isInside)
        return GuardedWalk<A, B>(a, b).run();
    switch (compareNesting(a.selection, b.selection)) {
    case Nesting::Unequal:
        return false;
    case Nesting::Empty:
        return true;
    case Nesting::Same:
        break;
    }
    return selectionsEqual<A, B>(a, b);
}

Verdict compareArrays(const OCppPyArray& first, const OCppPyArray& second) {
    if (first.supportedArrayEnum() != second.supportedArrayEnum())
        return false;
    const Side a(first);
    const Side b(second);
    return visitElementTypeOf(first, [&]<class A>() {
        return visitElementTypeOf(second, [&]<class B>() -> Verdict {
            if constexpr (std::is_same_v<RealElement<A>, RealElement<B>>)
                return compareSides<A, B>(a, b);
            else
                return false;
        });
    });
}

} // namespace

PyObject* OCPyArray_RichCompare(PyObject* self, PyObject* other, int op) {
    const OCppPyArray* first = requireCoreArray(self);
    if (first == nullptr)
        return nullptr;
    if (op != Py_EQ && op != Py_NE) {
        setError(PyExc_NotImplementedError, "inequality operators not supported.");
        return nullptr;
    }
    Verdict equal = false;
    if (OCPyArray_Check(other)) {
        const OCppPyArray* second = requireCoreArray(other);
        if (second == nullptr)
            return nullptr;
        equal = withMemoryErrors(Verdict{}, [&] { return compareArrays(*first, *second); });
    }
    return equal ? PyBool_FromLong(*equal == (op == Py_EQ)) : nullptr;
}

} // namespace orvane::python
