// How `FinalConstructorParser` collects nested values in reading order: the right side of an assignment, and whatever
// initializer no short cut has read.
#pragma once

#include "construction/constructor_parser.hpp"

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>

#include "blocks/number_runs.hpp"
#include "construction/block_nesting.hpp"
#include "construction/construction_errors.hpp"
#include "construction/nested_walk.hpp"
#include "construction/number_block.hpp"
#include "construction/regular_nesting.hpp"
#include "elements/conversion.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/extents.hpp"

namespace orvane::python {

namespace detail {

template <class T>
std::byte* asBytes(T* elements) noexcept {
    return reinterpret_cast<std::byte*>(elements);
}

} // namespace detail

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::openBlock(NumberBlock& block, PyObject* value) {
    return block.open(value) && RunConversion<T>::template from<isConstruction>(block.kind()) != Conversion::Never;
}

template <class T>
bool FinalConstructorParser<T>::processNestedInitializer(PyObject* value, bool isConstruction) {
    return withConstructionErrors<T>(m_requestedElements, [&] {
        const bool isCollected = isConstruction ? collectByShortCut<true>(value) : collectByShortCut<false>(value);
        return isCollected || (mayTakeTheLongRoad() && walkNestedInitializer(value, isConstruction));
    });
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectByShortCut(PyObject* value) {
    return value != nullptr && (collectRegularNesting<isConstruction>(value) || collectBlock<isConstruction>(value));
}

/// Common to the short cuts that collect: `read` is given room for the elements and fills it. If there is no memory
/// for them, the walk will run short of it too, after the faults that come first.
template <class T>
template <class Range, class Read>
bool FinalConstructorParser<T>::collect(std::size_t count, const Range& extents, Read&& read) {
    try {
        if (read(m_elements.resizeForOverwrite(count))) {
            m_shape.initializerDims().assign(extents.begin(), extents.end());
            return true;
        }
    } catch (const std::bad_alloc&) {
    }
    m_elements.clear();
    return false;
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectRegularNesting(PyObject* value) {
    const RegularNesting nesting(value);
    if (nesting.rank() == 0)
        return false;
    T scalar;
    if (!convertExactNumber<T, isConstruction>(nesting.firstScalar(), scalar))
        return collectNestedBlocks<isConstruction>(value, nesting);
    const auto count = checkedProduct(nesting.extents());
    return count && collect(static_cast<std::size_t>(*count), nesting.extents(), [&](T* target) {
               return RegularReader<T, isConstruction>(nesting.extents(), ElementOrder::RowMajor, target).read(value);
           });
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectNestedBlocks(PyObject* value, const RegularNesting& nesting) {
    const BlockNesting blocks(nesting, &RunConversion<T>::template from<isConstruction>);
    const auto count = checkedProduct(blocks.extents());
    return !blocks.extents().empty() && count &&
           collect(static_cast<std::size_t>(*count), blocks.extents(), [&](T* target) {
               return blocks.read(value, ElementOrder::RowMajor, detail::asBytes(target), ElementWriter::of<T>());
           });
}

template <class T>
template <bool isConstruction>
bool FinalConstructorParser<T>::collectBlock(PyObject* value) {
    NumberBlock block;
    return openBlock<isConstruction>(block, value) && collectBlock(block);
}

template <class T>
bool FinalConstructorParser<T>::collectBlock(const NumberBlock& block) {
    return collect(static_cast<std::size_t>(block.elementCount()), block.counts(), [&](T* target) {
        return readGapless(block, ElementOrder::RowMajor, detail::asBytes(target), ElementWriter::of<T>());
    });
}

template <class T>
bool FinalConstructorParser<T>::walkNestedInitializer(PyObject* value, bool isConstruction) {
    struct Collector final : NestedWalk::Sink {
        FinalConstructorParser& parser;
        bool isConstruction;
        std::size_t taken = 0;

        Collector(FinalConstructorParser& p, bool construction) : parser(p), isConstruction(construction) {}
        bool append(PyObject* scalar) override {
            const ElementResult<T> result = convertToElement<T>(scalar, isConstruction);
            if (!result.hasValue) {
                setError(result.exceptionType, result.message);
                return false;
            }
            // What `size` cannot take will be refused once all values are known to be good, and is not kept.
            if (taken++ < parser.m_elementsOfSize) {
                parser.m_requestedElements = std::max(parser.m_requestedElements, taken);
                parser.m_elements.push_back(result.value);
            }
            return true;
        }
        bool reserve(std::optional<std::size_t> expected) override {
            // What `size` asks for has been reserved, and the lengths met so far need not come true.
            return parser.m_shape.isSizeGiven() || parser.reserveElements(expected);
        }
        std::size_t count() const override { return taken; }
    };
    Collector collector(*this, isConstruction);
    return countingRecursion([&] { return NestedWalk(collector, m_shape.initializerDims()).run(value); });
}

} // namespace orvane::python
