// Transposing one tile of a matrix, in vector registers where that is possible.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

#include "blocks/reorder.hpp"

namespace orvane::python {

/// A matrix whose rows lie in the source at `rows` and whose columns lie in the target at `columns`, both without
/// gaps. All offsets are in elements.
struct Tile {
    std::span<const std::size_t> rows;
    std::span<const std::size_t> columns;
};

/// A 16-byte element, moved through one vector register.
using Wide [[gnu::vector_size(16)]] = std::uint64_t;

/// Blocks of this many elements on each side are transposed in vector registers.
template <class Unit>
inline constexpr std::size_t squareSide = 16 / sizeof(Unit);
/// Caches are filled and written back in lines of so many bytes.
inline constexpr std::size_t lineBytes = 64;
/// A line is asked for so many before it: one would miss the second line of the next block, which rarely starts with
/// one.
inline constexpr std::size_t linesAhead = 2;
/// So many columns are written side by side, as many sequential streams; the lines of theirs that are under way have to
/// stay in the first cache, also where columns lie at multiples of a power of two from each other.
template <class Unit>
inline constexpr std::size_t blockColumns =
    std::max(squareSide<Unit>, std::min<std::size_t>(8, lineBytes / sizeof(Unit)));
/// Tiles have no more rows than this. The lines of all its rows, a few of each, have to be at hand from one
/// block of columns to the next, which shares some and has asked for others ahead: 48 KiB, less than any core's own
/// caches hold. Rows may lie a page each, and so many pages are within what any core keeps the addresses of.
inline constexpr std::size_t placesPerTile = 256;
/// Matrices with no more rows or columns are moved in a way of their own.
inline constexpr std::size_t smallCount = 4;

namespace detail {

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
#if __has_builtin(__builtin_shufflevector)
    return __builtin_shufflevector(a, b, static_cast<int>(start + I / 2 + I % 2 * sizeof...(I))...);
#else // GCC 11, whose own form takes the places as a vector
    using Lane = std::remove_cvref_t<decltype(a[0])>;
    return __builtin_shuffle(a, b, Vector{static_cast<Lane>(start + I / 2 + I % 2 * sizeof...(I))...});
#endif
}

/// Reads from each row of the square its part of one vector, and writes as much of each column. As part of the caller
/// it shares the caller's guard of the stack, which takes as long as a small square.
template <class Unit, Transfer transfer>
[[gnu::always_inline]] inline void transposeSquare(Unit* const* columns, std::size_t row, const std::byte* const* rows,
                                                   std::size_t column) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    if constexpr (side == 1) {
        const Unit unit = load<Unit, transfer>(rows[0] + column * sizeof(Unit));
        std::memcpy(columns[0] + row, &unit, sizeof unit);
    } else {
        using Vector [[gnu::vector_size(16)]] = Unit;
        using Lanes = std::make_index_sequence<side>;
        Vector lines[side];
        for (std::size_t i = 0; i < side; ++i) {
            std::memcpy(&lines[i], rows[i] + column * sizeof(Unit), sizeof(Vector));
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
            std::memcpy(columns[j] + row, &lines[j], sizeof(Vector));
    }
}

/// Calls `visit` with `count`, as a compile-time constant where it is small.
void withSmallCount(std::size_t count, auto&& visit) {
    static_assert(smallCount == 4);
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

/// For tiles of few rows, and for what is left beside the squares. Along the rows of the target.
template <class Unit, Transfer transfer>
void transposeByColumns(Unit* target, const std::byte* source, Tile tile) noexcept {
    withSmallCount(tile.rows.size(), [=](auto rows) {
        for (std::size_t column = 0; column < tile.columns.size(); ++column) {
            Unit* const out = target + tile.columns[column];
            for (std::size_t row = 0; row < rows; ++row)
                out[row] = load<Unit, transfer>(source + (tile.rows[row] + column) * sizeof(Unit));
        }
    });
}

/// For tiles of few columns. As many rows at a time as make one store.
template <class Unit, Transfer transfer>
void transposeByRows(Unit* target, const std::byte* source, Tile tile) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    const std::size_t grouped = tile.rows.size() / side * side;
    withSmallCount(tile.columns.size(), [=](auto columns) {
        for (std::size_t row = 0; row < grouped; row += side) {
            for (std::size_t column = 0; column < columns; ++column) {
                Unit line[side];
                for (std::size_t i = 0; i < side; ++i)
                    line[i] = load<Unit, transfer>(source + (tile.rows[row + i] + column) * sizeof(Unit));
                std::memcpy(target + tile.columns[column] + row, line, sizeof line);
            }
        }
    });
    transposeByColumns<Unit, transfer>(target + grouped, source, {tile.rows.subspan(grouped), tile.columns});
}

/// One block of columns from top to bottom. `rows` and `columnCount` are multiples of the square's side; the latter is
/// a constant but for the last block of a tile.
///
/// Asks for what the hardware cannot foresee, as rows and columns mostly lie pages apart: for the lines of the target
/// before they are written to, so that the first store finds them, and for those of the source that the next blocks
/// share, wherever in its lines they start. How early is counted in steps of the loop and not in time; whether a line
/// comes from the memory or from a cache of whatever size, it is asked for once and used while it is near. The columns
/// take turns, so that requests come evenly. Beyond the ends of a tile lies what comes next, or nothing that a prefetch
/// minds.
template <class Unit, Transfer transfer>
void transposeBlock(Unit* target, const std::size_t* columns, auto columnCount, const std::byte* source,
                    std::span<const std::size_t> rows) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    constexpr std::size_t lineRows = lineBytes / sizeof(Unit);
    constexpr std::size_t storesPerLine = lineRows / side;
    Unit* out[blockColumns<Unit>];
    for (std::size_t column = 0; column < columnCount; ++column)
        out[column] = target + columns[column];
    for (std::size_t row = 0; row < rows.size(); row += side) {
        for (std::size_t column = row / side % storesPerLine; column < columnCount; column += storesPerLine)
            __builtin_prefetch(out[column] + row + linesAhead * lineRows, 1);
        const std::byte* in[side];
        for (std::size_t i = 0; i < side; ++i) {
            in[i] = source + rows[row + i] * sizeof(Unit);
            __builtin_prefetch(in[i] + linesAhead * lineBytes);
        }
        for (std::size_t column = 0; column < columnCount; column += side)
            transposeSquare<Unit, transfer>(out + column, row, in, column);
    }
}

template <class Unit, Transfer transfer>
void transposeBySquares(Unit* target, const std::byte* source, Tile tile) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    const std::size_t squareRows = tile.rows.size() / side * side;
    const std::size_t squareColumns = tile.columns.size() / side * side;
    std::size_t column = 0;
    const auto transposeColumns = [&](auto count) {
        transposeBlock<Unit, transfer>(target, &tile.columns[column], count, source + column * sizeof(Unit),
                                       tile.rows.first(squareRows));
        column += count;
    };
    while (column + blockColumns<Unit> <= squareColumns)
        transposeColumns(std::integral_constant<std::size_t, blockColumns<Unit>>{});
    if (column < squareColumns)
        transposeColumns(squareColumns - column);
    transposeByRows<Unit, transfer>(target, source + squareColumns * sizeof(Unit),
                                    {tile.rows.first(squareRows), tile.columns.subspan(squareColumns)});
    transposeByColumns<Unit, transfer>(target + squareRows, source, {tile.rows.subspan(squareRows), tile.columns});
}

} // namespace detail

/// Moves the elements of a tile. The source needs no alignment.
template <class Unit, Transfer transfer>
void transposeTile(Unit* target, const std::byte* source, Tile tile) noexcept {
    if (tile.rows.size() <= smallCount)
        detail::transposeByColumns<Unit, transfer>(target, source, tile);
    else if (tile.columns.size() <= smallCount)
        detail::transposeByRows<Unit, transfer>(target, source, tile);
    else
        detail::transposeBySquares<Unit, transfer>(target, source, tile);
}

} // namespace orvane::python
