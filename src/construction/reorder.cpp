#include "construction/reorder.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "core/layout.hpp"

namespace orvane::python {

namespace {

using Offsets = std::vector<std::size_t>;

constexpr std::size_t cacheLine = 64;
/// Dimensions are taken together until they make so many rows, or columns, of the matrices to transpose.
constexpr std::size_t enoughPlaces = 64;
/// No tile of a matrix has more rows or columns: its lines in the source rarely start where a block of columns
/// does, and have to be at hand still when the next block is read.
constexpr std::size_t placesPerTile = 1024;

/// One dimension, with strides in elements.
struct Dimension {
    std::size_t extent;
    std::size_t sourceStride;
    std::size_t targetStride;
};
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

/// A 16-byte element, moved through one vector register.
using Wide [[gnu::vector_size(16)]] = std::uint64_t;

/// Blocks of this many elements on each side are transposed in vector registers.
template <class Unit>
constexpr std::size_t squareSide = 16 / sizeof(Unit);

template <class Unit, Transfer transfer>
Unit load(const std::byte* source) noexcept {
    Unit unit;
    std::memcpy(&unit, source, sizeof unit);
    if constexpr (transfer == Transfer::TruthValues)
        unit = unit != 0;
    return unit;
}

template <class Vector, std::size_t start, std::size_t... I>
Vector interleave(Vector a, Vector b, std::index_sequence<I...>) noexcept {
    return __builtin_shufflevector(a, b, static_cast<int>(start + I / 2 + I % 2 * sizeof...(I))...);
}

/// Row i of the square is read at `source + rows[i]`, column j written at `target + columns[j]`.
template <class Unit, Transfer transfer>
void transposeSquare(Unit* target, const std::size_t* columns, const std::byte* source,
                     const std::size_t* rows) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    if constexpr (side == 1) {
        target[columns[0]] = load<Unit, transfer>(source + rows[0] * sizeof(Unit));
    } else {
        using Vector [[gnu::vector_size(16)]] = Unit;
        using Lanes = std::make_index_sequence<side>;
        Vector lines[side];
        for (std::size_t i = 0; i < side; ++i) {
            std::memcpy(&lines[i], source + rows[i] * sizeof(Unit), sizeof(Vector));
            if constexpr (transfer == Transfer::TruthValues)
                lines[i] = reinterpret_cast<Vector>(lines[i] != Vector{}) & 1;
        }
        // Each pass merges lines that stand half the square apart; after log2(side) passes rows are columns.
        for (std::size_t pass = 1; pass < side; pass *= 2) {
            Vector merged[side];
            for (std::size_t i = 0; i < side / 2; ++i) {
                merged[2 * i] = interleave<Vector, 0>(lines[i], lines[i + side / 2], Lanes{});
                merged[2 * i + 1] = interleave<Vector, side / 2>(lines[i], lines[i + side / 2], Lanes{});
            }
            std::copy_n(merged, side, lines);
        }
        for (std::size_t j = 0; j < side; ++j)
            std::memcpy(target + columns[j], &lines[j], sizeof(Vector));
    }
}

/// A matrix whose rows lie in the source at `rows` and whose columns lie in the target at `columns`, both gapless.
struct Tile {
    std::span<const std::size_t> rows;
    std::span<const std::size_t> columns;
};

/// Calls `visit` with `count`, as a compile-time constant where it is small.
void withSmallCount(std::size_t count, auto&& visit) {
    switch (count) {
    case 1:
        return visit(std::integral_constant<std::size_t, 1>{});
    case 2:
        return visit(std::integral_constant<std::size_t, 2>{});
    case 3:
        return visit(std::integral_constant<std::size_t, 3>{});
    case 4:
        return visit(std::integral_constant<std::size_t, 4>{});
    default:
        return visit(count);
    }
}
constexpr std::size_t smallCount = 4;

template <class Unit, Transfer transfer>
void transposeOneByOne(Unit* target, const std::byte* source, const Tile& tile) noexcept {
    const auto move = [=](std::size_t row, std::size_t column) {
        target[row + tile.columns[column]] = load<Unit, transfer>(source + (tile.rows[row] + column) * sizeof(Unit));
    };
    const std::size_t rowCount = tile.rows.size();
    const std::size_t columnCount = tile.columns.size();
    if (rowCount <= columnCount) {
        withSmallCount(rowCount, [=](auto rows) {
            for (std::size_t column = 0; column < columnCount; ++column)
                for (std::size_t row = 0; row < rows; ++row)
                    move(row, column);
        });
    } else {
        withSmallCount(columnCount, [=](auto columns) {
            for (std::size_t row = 0; row < rowCount; ++row)
                for (std::size_t column = 0; column < columns; ++column)
                    move(row, column);
        });
    }
}

template <class Unit, Transfer transfer>
void transposeTile(Unit* target, const std::byte* source, const Tile& tile) noexcept {
    if (std::min(tile.rows.size(), tile.columns.size()) <= smallCount)
        return transposeOneByOne<Unit, transfer>(target, source, tile);

    constexpr std::size_t side = squareSide<Unit>;
    constexpr std::size_t blockColumns = cacheLine / sizeof(Unit);
    const std::size_t squareRows = tile.rows.size() / side * side;
    const std::size_t squareColumns = tile.columns.size() / side * side;

    for (std::size_t block = 0; block < squareColumns; block += blockColumns) {
        const std::size_t blockEnd = std::min(block + blockColumns, squareColumns);
        for (std::size_t row = 0; row < squareRows; row += side) {
            for (std::size_t i = 0; i < side; ++i)
                __builtin_prefetch(source + (tile.rows[row + i] + block + 2 * blockColumns) * sizeof(Unit));
            for (std::size_t column = block; column < blockEnd; column += side)
                transposeSquare<Unit, transfer>(target + row, &tile.columns[column], source + column * sizeof(Unit),
                                                &tile.rows[row]);
        }
    }
    transposeOneByOne<Unit, transfer>(target, source + squareColumns * sizeof(Unit),
                                      {tile.rows.first(squareRows), tile.columns.subspan(squareColumns)});
    transposeOneByOne<Unit, transfer>(target + squareRows, source, {tile.rows.subspan(squareRows), tile.columns});
}

/// Reversing the order of the dimensions transposes, for each position in the middle dimensions, a matrix whose
/// rows are places in the first few dimensions and whose columns are places in the last few. Along the rows the
/// target has no gaps, along the columns the source has none.
template <class Unit, Transfer transfer>
void reorderUnits(Unit* target, const std::byte* source, std::span<const Dimension> dimensions) {
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
    const auto transposeMatrix = [&](std::size_t targetOffset, std::size_t sourceOffset) {
        for (std::size_t i = 0; i < rows.outermost().extent; i += rowSteps) {
            const std::size_t rowCount = rows.places(std::min(rowSteps, rows.outermost().extent - i));
            for (std::size_t j = 0; j < columns.outermost().extent; j += columnSteps) {
                const std::size_t columnCount = columns.places(std::min(columnSteps, columns.outermost().extent - j));
                const std::size_t from =
                    sourceOffset + i * rows.outermost().sourceStride + j * columns.outermost().sourceStride;
                const std::size_t to =
                    targetOffset + i * rows.outermost().targetStride + j * columns.outermost().targetStride;
                transposeTile<Unit, transfer>(
                    target + to, source + from * sizeof(Unit),
                    {std::span(rowOffsets).first(rowCount), std::span(columnOffsets).first(columnCount)});
            }
        }
    };

    // The middle dimensions, the first of them fastest.
    const std::span<const Dimension> middle = dimensions.subspan(first, last - first);
    DimensionVector<std::size_t> places(middle.size(), 0);
    std::size_t targetOffset = 0;
    std::size_t sourceOffset = 0;
    while (true) {
        transposeMatrix(targetOffset, sourceOffset);
        std::size_t d = 0;
        for (; d < middle.size(); ++d) {
            targetOffset += middle[d].targetStride;
            sourceOffset += middle[d].sourceStride;
            if (++places[d] < middle[d].extent)
                break;
            targetOffset -= middle[d].extent * middle[d].targetStride;
            sourceOffset -= middle[d].extent * middle[d].sourceStride;
            places[d] = 0;
        }
        if (d == middle.size())
            return;
    }
}

} // namespace

void copyInOrder(void* target, const void* source, std::size_t count, std::size_t elementSize, Transfer transfer) {
    if (transfer == Transfer::Bytewise) {
        std::memcpy(target, source, count * elementSize);
        return;
    }
    auto* out = static_cast<std::uint8_t*>(target);
    const auto* in = static_cast<const std::byte*>(source);
    for (std::size_t i = 0; i < count; ++i)
        out[i] = in[i] != std::byte{0};
}

void reorderToColumnMajor(void* target, const void* source, std::span<const std::size_t> dims, std::size_t elementSize,
                          Transfer transfer) {
    const Dimensions decisive = decisiveDimensions(dims);
    const std::span<const Dimension> dimensions(decisive.data(), decisive.size());
    const auto* bytes = static_cast<const std::byte*>(source);
    if (dimensions.size() < 2)
        return copyInOrder(target, source, dimensions.empty() ? 1 : dimensions[0].extent, elementSize, transfer);
    if (transfer == Transfer::TruthValues)
        return reorderUnits<std::uint8_t, Transfer::TruthValues>(static_cast<std::uint8_t*>(target), bytes, dimensions);
    switch (elementSize) {
    case 1:
        return reorderUnits<std::uint8_t, Transfer::Bytewise>(static_cast<std::uint8_t*>(target), bytes, dimensions);
    case 2:
        return reorderUnits<std::uint16_t, Transfer::Bytewise>(static_cast<std::uint16_t*>(target), bytes, dimensions);
    case 4:
        return reorderUnits<std::uint32_t, Transfer::Bytewise>(static_cast<std::uint32_t*>(target), bytes, dimensions);
    case 8:
        return reorderUnits<std::uint64_t, Transfer::Bytewise>(static_cast<std::uint64_t*>(target), bytes, dimensions);
    case 16:
        return reorderUnits<Wide, Transfer::Bytewise>(static_cast<Wide*>(target), bytes, dimensions);
    }
}

} // namespace orvane::python
