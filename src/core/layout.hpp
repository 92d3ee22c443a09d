// Extents and strides of a column-major block of elements.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <memory>
#include <optional>

#include "vocabulary/extents.hpp"

namespace orvane::python {

/// How the elements of one array lie in memory: column-major, without gaps. Immutable, so that a buffer
/// handed out with pointers into it stays described as it was.
class Layout {
public:
    /// `extents` hold at least two nonnegative lengths whose product is the element count. Strides of empty
    /// arrays may wrap; nothing is ever addressed with them.
    template <class Range>
    Layout(const Range& extents, long elementCount, long elementSize)
        : m_shape(extents.begin(), extents.end()), m_elementCount(elementCount), m_elementSize(elementSize) {
        m_bytewiseStrides.reserve(m_shape.size());
        auto stride = static_cast<unsigned long>(elementSize);
        for (const long extent : m_shape) {
            m_bytewiseStrides.push_back(static_cast<long>(stride));
            stride *= static_cast<unsigned long>(extent);
        }
    }

    std::size_t rank() const noexcept { return m_shape.size(); }
    const Extents& shape() const noexcept { return m_shape; }
    long extent(std::size_t dimension) const noexcept { return m_shape[dimension]; }
    /// In bytes, one for each dimension.
    const Extents& bytewiseStrides() const noexcept { return m_bytewiseStrides; }
    long elementCount() const noexcept { return m_elementCount; }
    /// In bytes; of a complex element both parts together.
    long elementSize() const noexcept { return m_elementSize; }
    long sizeInBytes() const noexcept { return m_elementCount * m_elementSize; }

    /// The byte offset of the element at `indices`, of which there may be fewer than dimensions (the rest
    /// count as 0), or nothing when they are too many or lead outside the elements.
    template <class Indices>
    std::optional<std::size_t> byteOffset(const Indices& indices) const noexcept {
        if (indices.size() > rank())
            return std::nullopt;
        unsigned long offset = 0;
        auto stride = m_bytewiseStrides.begin();
        for (const long index : indices)
            offset += static_cast<unsigned long>(index) * static_cast<unsigned long>(*stride++);
        if (offset >= static_cast<unsigned long>(sizeInBytes()))
            return std::nullopt;
        return offset;
    }

private:
    Extents m_shape;
    Extents m_bytewiseStrides;
    long m_elementCount;
    long m_elementSize;
};

/// Layouts that were asked for lately, for arrays of the same extents to share. The interpreter lock guards it.
class RecentLayouts {
public:
    /// The layout of those extents. A new one is made of them and the number of elements that `countElements` gives.
    /// Throws for want of memory.
    template <class Range, std::invocable CountElements>
    static std::shared_ptr<const Layout> find(const Range& extents, long elementSize, CountElements countElements) {
        if (extents.size() > commonRank)
            return std::make_shared<const Layout>(extents, countElements(), elementSize);
        auto hash = static_cast<unsigned long>(elementSize);
        for (const long extent : extents)
            hash = (hash ^ static_cast<unsigned long>(extent)) * multiplier;
        std::shared_ptr<const Layout>& place = s_recent.places[hash >> (64 - placeBits)];
        if (!place || place->elementSize() != elementSize || !std::ranges::equal(place->shape(), extents))
            place = std::make_shared<const Layout>(extents, countElements(), elementSize);
        return place;
    }

private:
    static constexpr int placeBits = 6;
    static constexpr unsigned long multiplier = 0x9E3779B97F4A7C15; ///< spreads what is near over all places

    /// Outlives every array.
    union Places {
        std::array<std::shared_ptr<const Layout>, 1 << placeBits> places{};

        constexpr Places() noexcept {}
        ~Places() {}
    };
    static Places s_recent;
};

} // namespace orvane::python
