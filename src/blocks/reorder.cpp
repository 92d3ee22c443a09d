#include "blocks/reorder.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "blocks/strided_dimensions.hpp"
#include "blocks/transpose_tile.hpp"
#include "vocabulary/extents.hpp"

namespace orvane::python {

namespace {

using Offsets = std::vector<std::size_t>;

/// Dimensions are taken together until they make so many rows, or columns, of the matrices to transpose: for long runs
/// in the target, as each begins and ends with lines that were not asked for or are not full.
constexpr std::size_t enoughPlaces = placesPerTile / 2;

/// With strides in elements.
using Dimension = StridedDimension<std::size_t>;
using Dimensions = DimensionVector<Dimension>;

/// The dimensions of an array, those of extent 1 left out: they have no say in the order of the elements.
Dimensions decisiveDimensions(std::span<const std::size_t> extents) {
    Dimensions dimensions;
    std::size_t count = 1;
    for (const std::size_t extent : extents) {
        if (extent != 1)
            dimensions.push_back({extent, 0, count});
        count *= extent;
    }
    std::size_t sourceStride = 1;
    for (std::size_t d = dimensions.size(); d-- > 0;) {
        dimensions[d].sourceStride = sourceStride;
        sourceStride *= dimensions[d].extent;
    }
    return dimensions;
}

/// Dimensions that together count as one side of a matrix. The innermost vary fastest; the last one in, which may
/// be long, is cut into tiles.
class MatrixSide {
public:
    void add(const Dimension& dimension) {
        m_places *= m_dimensions.empty() ? 1 : m_dimensions.back().extent;
        m_dimensions.push_back(dimension);
    }
    bool isLongEnough() const { return m_places * outermost().extent >= enoughPlaces; }
    const Dimension& outermost() const { return m_dimensions.back(); }
    /// Steps of the outermost dimension that make one tile.
    std::size_t stepsPerTile() const {
        return std::clamp<std::size_t>(placesPerTile / m_places, 1, outermost().extent);
    }
    /// Places on this side that `steps` of the outermost dimension make.
    std::size_t places(std::size_t steps) const { return m_places * steps; }

    /// Where the places of a tile lie, by one of the two strides.
    Offsets offsets(std::size_t Dimension::* stride) const {
        Offsets offsets{0};
        offsets.reserve(places(stepsPerTile()));
        for (const Dimension& dimension : m_dimensions) {
            const std::size_t steps = &dimension == &outermost() ? stepsPerTile() : dimension.extent;
            const std::size_t inner = offsets.size();
            for (std::size_t i = inner; i < inner * steps; ++i)
                offsets.push_back(offsets[i - inner] + dimension.*stride);
        }
        return offsets;
    }

private:
    Dimensions m_dimensions;
    std::size_t m_places = 1; ///< of all dimensions but the outermost
};

/// Reversing the order of the dimensions transposes, for each position in the middle dimensions, a matrix whose
/// rows are places in the first few dimensions and whose columns are places in the last few. Along the rows the
/// target has no gaps, along the columns the source has none.
template <class Unit, Transfer transfer>
bool reorderUnits(Unit* target, const std::byte* source, std::span<const Dimension> dimensions,
                  PlainItemsWatch* watch) {
    std::size_t first = 0;
    std::size_t last = dimensions.size();
    MatrixSide rows;
    do {
        rows.add(dimensions[first++]);
    } while (!rows.isLongEnough() && first + 1 < last);
    MatrixSide columns;
    do {
        columns.add(dimensions[--last]);
    } while (!columns.isLongEnough() && first < last);

    const Offsets rowOffsets = rows.offsets(&Dimension::sourceStride);
    const Offsets columnOffsets = columns.offsets(&Dimension::targetStride);
    const std::size_t rowSteps = rows.stepsPerTile();
    const std::size_t columnSteps = columns.stepsPerTile();
    const auto transposeMatrix = [&](std::size_t sourceOffset, std::size_t targetOffset) {
        for (std::size_t i = 0; i < rows.outermost().extent; i += rowSteps) {
            const std::size_t rowCount = rows.places(std::min(rowSteps, rows.outermost().extent - i));
            for (std::size_t j = 0; j < columns.outermost().extent; j += columnSteps) {
                const std::size_t columnCount = columns.places(std::min(columnSteps, columns.outermost().extent - j));
                Unit* const to =
                    target + targetOffset + i * rows.outermost().targetStride + j * columns.outermost().targetStride;
                const std::byte* const from =
                    source + sizeof(Unit) * (sourceOffset + i * rows.outermost().sourceStride +
                                             j * columns.outermost().sourceStride);
                const Tile tile{std::span(rowOffsets).first(rowCount), std::span(columnOffsets).first(columnCount)};
                transposeTile<Unit, transfer>(to, from, tile);
                if (watch != nullptr && !watch->pass(rowCount * columnCount))
                    return false;
            }
        }
        return true;
    };

    return visitPositions(dimensions.subspan(first, last - first), transposeMatrix); // the middle dimensions
}

void copyPiece(std::byte* target, const std::byte* source, std::size_t bytes, Transfer transfer) {
    if (transfer == Transfer::Bytewise) {
        std::memcpy(target, source, bytes);
        return;
    }
    auto* out = reinterpret_cast<std::uint8_t*>(target);
    for (std::size_t i = 0; i < bytes; ++i)
        out[i] = source[i] != std::byte{0};
}

} // namespace

bool copyInOrder(void* target, const void* source, std::size_t count, std::size_t elementSize, Transfer transfer,
                 PlainItemsWatch* watch) {
    const std::size_t together = watch != nullptr ? PlainItemsWatch::itemsBetween : count;
    for (std::size_t start = 0; start < count; start += together) {
        const std::size_t items = std::min(together, count - start);
        copyPiece(static_cast<std::byte*>(target) + start * elementSize,
                  static_cast<const std::byte*>(source) + start * elementSize, items * elementSize, transfer);
        if (watch != nullptr && !watch->pass(items))
            return false;
    }
    return true;
}

bool reorderToColumnMajor(void* target, const void* source, std::span<const std::size_t> dims, std::size_t elementSize,
                          Transfer transfer, PlainItemsWatch* watch) {
    const Dimensions decisive = decisiveDimensions(dims);
    const std::span<const Dimension> dimensions(decisive.data(), decisive.size());
    const auto* bytes = static_cast<const std::byte*>(source);
    if (dimensions.size() < 2)
        return copyInOrder(target, source, dimensions.empty() ? 1 : dimensions[0].extent, elementSize, transfer, watch);
    const auto reorder = [&]<class Unit>(std::type_identity<Unit>) {
        return reorderUnits<Unit, Transfer::Bytewise>(static_cast<Unit*>(target), bytes, dimensions, watch);
    };
    if (transfer == Transfer::TruthValues)
        return reorderUnits<std::uint8_t, Transfer::TruthValues>(static_cast<std::uint8_t*>(target), bytes, dimensions,
                                                                 watch);
    switch (elementSize) {
    case 1:
        return reorder(std::type_identity<std::uint8_t>());
    case 2:
        return reorder(std::type_identity<std::uint16_t>());
    case 4:
        return reorder(std::type_identity<std::uint32_t>());
    case 8:
        return reorder(std::type_identity<std::uint64_t>());
    default:
        return reorder(std::type_identity<Wide>());
    }
}

} // namespace orvane::python
