// Transposing one tile of a matrix, in vector registers where that is possible.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "blocks/reorder.hpp"

namespace orvane::python {

/// A matrix whose rows lie in the source at `rows` and whose columns lie in the target at `columns`, both without
/// gaps. All offsets are in elements.
struct Tile {
    std::span<const std::size_t> rows;
    std::span<const std::size_t> columns;
};

/// How the target is written.
enum class Stores {
    Cached,
    /// Past the caches, for targets that do not fit there: the lines need not be fetched before they are written.
    /// Asks for a target and column offsets that are multiples of `streamAlignment` bytes.
    Streaming
};
inline constexpr std::size_t streamAlignment = 16;

/// A 16-byte element, moved through one vector register.
using Wide [[gnu::vector_size(16)]] = std::uint64_t;

/// Blocks of this many elements on each side are transposed in vector registers.
template <class Unit>
inline constexpr std::size_t squareSide = 16 / sizeof(Unit);
/// So many columns are written side by side, as many sequential streams; their lines have to stay in the first cache,
/// also where columns lie at multiples of a power of two from each other, and in the buffers of streaming stores.
template <class Unit>
inline constexpr std::size_t blockColumns = std::max(squareSide<Unit>, std::min<std::size_t>(8, 64 / sizeof(Unit)));
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

template <Stores stores, class Line>
void store(void* target, const Line& line) noexcept {
    static_assert(sizeof(Line) == 16);
#ifdef __SSE2__
    if constexpr (stores == Stores::Streaming) {
        __m128i bits;
        std::memcpy(&bits, &line, sizeof bits);
        _mm_stream_si128(static_cast<__m128i*>(target), bits);
        return;
    }
#endif
    std::memcpy(target, &line, sizeof line);
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

/// Row i of the square is read at `source + rows[i]`, column j written at `target + columns[j]`.
template <class Unit, Transfer transfer, Stores stores>
void transposeSquare(Unit* target, const std::size_t* columns, const std::byte* source,
                     const std::size_t* rows) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    if constexpr (side == 1) {
        store<stores>(target + columns[0], load<Unit, transfer>(source + rows[0] * sizeof(Unit)));
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
            store<stores>(target + columns[j], lines[j]);
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
template <class Unit, Transfer transfer, Stores stores>
void transposeByRows(Unit* target, const std::byte* source, Tile tile) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    const std::size_t grouped = tile.rows.size() / side * side;
    withSmallCount(tile.columns.size(), [=](auto columns) {
        for (std::size_t row = 0; row < grouped; row += side) {
            for (std::size_t column = 0; column < columns; ++column) {
                Unit line[side];
                for (std::size_t i = 0; i < side; ++i)
                    line[i] = load<Unit, transfer>(source + (tile.rows[row + i] + column) * sizeof(Unit));
                store<stores>(target + tile.columns[column] + row, line);
            }
        }
    });
    transposeByColumns<Unit, transfer>(target + grouped, source, {tile.rows.subspan(grouped), tile.columns});
}

template <class Unit, Transfer transfer, Stores stores>
void transposeBySquares(Unit* target, const std::byte* source, Tile tile) noexcept {
    constexpr std::size_t side = squareSide<Unit>;
    const std::size_t squareRows = tile.rows.size() / side * side;
    const std::size_t squareColumns = tile.columns.size() / side * side;
    for (std::size_t block = 0; block < squareColumns; block += blockColumns<Unit>) {
        const std::size_t blockEnd = std::min(block + blockColumns<Unit>, squareColumns);
        for (std::size_t row = 0; row < squareRows; row += side) {
            for (std::size_t i = 0; i < side; ++i) // two cache lines on, for the blocks to come
                __builtin_prefetch(source + (tile.rows[row + i] + block) * sizeof(Unit) + 128);
            for (std::size_t column = block; column < blockEnd; column += side)
                transposeSquare<Unit, transfer, stores>(target + row, &tile.columns[column],
                                                        source + column * sizeof(Unit), &tile.rows[row]);
        }
    }
    transposeByRows<Unit, transfer, Stores::Cached>(target, source + squareColumns * sizeof(Unit),
                                                    {tile.rows.first(squareRows), tile.columns.subspan(squareColumns)});
    transposeByColumns<Unit, transfer>(target + squareRows, source, {tile.rows.subspan(squareRows), tile.columns});
}

} // namespace detail

/// Moves the elements of a tile. The source needs no alignment.
template <class Unit, Transfer transfer, Stores stores>
void transposeTile(Unit* target, const std::byte* source, Tile tile) noexcept {
    if (tile.rows.size() <= smallCount)
        detail::transposeByColumns<Unit, transfer>(target, source, tile);
    else if (tile.columns.size() <= smallCount)
        detail::transposeByRows<Unit, transfer, stores>(target, source, tile);
    else
        detail::transposeBySquares<Unit, transfer, stores>(target, source, tile);
}

/// After streaming stores, before another thread may be told of the target.
inline void finishStreaming() noexcept {
#ifdef __SSE2__
    _mm_sfence();
#endif
}

} // namespace orvane::python
