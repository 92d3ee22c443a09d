#include "blocks/number_blocks.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "blocks/transpose_tile.hpp"
#include "vocabulary/extents.hpp"

namespace orvane::python {

namespace {

/// One dimension of a block and of its target.
struct Dimension {
    long count;
    long sourceStride;
    long targetStride;
};
using Dimensions = DimensionVector<Dimension>;

/// The dimensions that have more than one place, those taken together that follow each other on both sides.
Dimensions decisiveDimensions(const StridedNumbers& source, const StridedElements& target) {
    Dimensions dimensions;
    for (std::size_t d = 0; d < source.counts.size(); ++d) {
        const Dimension next{source.counts[d], source.strides[d], target.strides[d]};
        if (next.count == 1)
            continue;
        if (!dimensions.empty()) {
            Dimension& last = dimensions.back();
            if (next.sourceStride == last.sourceStride * last.count &&
                next.targetStride == last.targetStride * last.count) {
                last.count *= next.count;
                continue;
            }
        }
        dimensions.push_back(next);
    }
    if (dimensions.empty())
        dimensions.push_back({1, 0, 0});
    return dimensions;
}

/// The dimension along which neighbours are nearest.
auto nearest(Dimensions& dimensions, long Dimension::* stride) {
    return std::min_element(dimensions.begin(), dimensions.end(), [=](const Dimension& a, const Dimension& b) {
        return std::abs(a.*stride) < std::abs(b.*stride);
    });
}

Dimension take(Dimensions& dimensions, Dimensions::iterator position) {
    const Dimension taken = *position;
    dimensions.erase(position);
    return taken;
}

/// Calls `visit(sourceOffset, targetOffset)` for each position in the dimensions, the first of them fastest, for as
/// long as that is true.
template <class Visit>
bool visitPositions(std::span<const Dimension> dimensions, Visit&& visit) {
    DimensionVector<long> places(dimensions.size(), 0);
    long source = 0;
    long target = 0;
    while (visit(source, target)) {
        std::size_t d = 0;
        for (; d < dimensions.size(); ++d) {
            source += dimensions[d].sourceStride;
            target += dimensions[d].targetStride;
            if (++places[d] < dimensions[d].count)
                break;
            source -= dimensions[d].count * dimensions[d].sourceStride;
            target -= dimensions[d].count * dimensions[d].targetStride;
            places[d] = 0;
        }
        if (d == dimensions.size())
            return true;
    }
    return false;
}

/// So many rows are laid down next to each other at a time: whole cache lines of elements of any size.
constexpr std::size_t rowsTogether = 32;
/// Converted items wait here to be transposed, well inside the smallest first-level caches.
constexpr std::size_t tileBytes = std::size_t{16} << 10;

/// A matrix of elements in rows, to be laid down in columns.
template <class Unit>
class RowTile {
public:
    static constexpr std::size_t columns = tileBytes / rowsTogether / sizeof(Unit);

    explicit RowTile(long columnStride) noexcept {
        for (std::size_t i = 0; i < rowsTogether; ++i)
            m_rowOffsets[i] = i * columns;
        for (std::size_t j = 0; j < columns; ++j)
            m_columnOffsets[j] = j * (static_cast<std::size_t>(columnStride) / sizeof(Unit));
    }

    std::byte* row(std::size_t i) noexcept { return reinterpret_cast<std::byte*>(m_units.data() + i * columns); }
    void layDown(std::byte* target, std::size_t rowCount, std::size_t columnCount) const noexcept {
        const Tile tile{std::span(m_rowOffsets).first(rowCount), std::span(m_columnOffsets).first(columnCount)};
        transposeTile<Unit, Transfer::Bytewise, Stores::Cached>(
            reinterpret_cast<Unit*>(target), reinterpret_cast<const std::byte*>(m_units.data()), tile);
    }

private:
    alignas(64) std::array<Unit, rowsTogether * columns> m_units;
    std::array<std::size_t, rowsTogether> m_rowOffsets;
    std::array<std::size_t, columns> m_columnOffsets;
};

/// `rowAt(i)` is the run that row i is.
template <class Unit, class RowAt>
bool transposeRows(RowAt&& rowAt, long rowCount, long count, std::byte* target, long columnStride,
                   const ElementWriter& writer) {
    constexpr auto columns = static_cast<long>(RowTile<Unit>::columns);
    RowTile<Unit> tile(columnStride);
    for (long start = 0; start < rowCount; start += static_cast<long>(rowsTogether)) {
        const long rows = std::min(rowCount - start, static_cast<long>(rowsTogether));
        for (long column = 0; column < count; column += columns) {
            const long together = std::min(count - column, columns);
            for (long i = 0; i < rows; ++i) {
                const NumberRun run = rowAt(start + i).from(column);
                if (!writer.convert(run, together, tile.row(static_cast<std::size_t>(i)), writer.elementSize))
                    return false;
            }
            tile.layDown(target + start * writer.elementSize + column * columnStride, static_cast<std::size_t>(rows),
                         static_cast<std::size_t>(together));
        }
    }
    return true;
}

template <class RowAt>
bool transposeRowsOfAnySize(RowAt&& rowAt, long rowCount, long count, std::byte* target, long columnStride,
                            const ElementWriter& writer) {
    switch (writer.elementSize) {
    case 1:
        return transposeRows<std::uint8_t>(rowAt, rowCount, count, target, columnStride, writer);
    case 2:
        return transposeRows<std::uint16_t>(rowAt, rowCount, count, target, columnStride, writer);
    case 4:
        return transposeRows<std::uint32_t>(rowAt, rowCount, count, target, columnStride, writer);
    case 8:
        return transposeRows<std::uint64_t>(rowAt, rowCount, count, target, columnStride, writer);
    default:
        return transposeRows<Wide>(rowAt, rowCount, count, target, columnStride, writer);
    }
}

/// Fewer rows or columns are not worth a tile.
constexpr long fewPlaces = 8;

/// Tiles are laid down by whole elements, in columns that follow each other upward.
bool mayBeTransposed(const std::byte* target, long columnStride, const ElementWriter& writer) {
    return columnStride > 0 && columnStride % writer.elementSize == 0 &&
           reinterpret_cast<std::uintptr_t>(target) % static_cast<std::uintptr_t>(writer.elementSize) == 0;
}

} // namespace

long StridedNumbers::elementCount() const noexcept {
    long product = 1;
    for (const long count : counts)
        product *= count;
    return product;
}

bool readBlock(const StridedNumbers& source, const StridedElements& target, const ElementWriter& writer) {
    Dimensions dimensions = decisiveDimensions(source, target);
    auto along = nearest(dimensions, &Dimension::targetStride);
    const auto across = nearest(dimensions, &Dimension::sourceStride);
    if (std::min(along->count, across->count) >= fewPlaces && along->sourceStride != across->sourceStride &&
        along->targetStride == writer.elementSize && mayBeTransposed(target.address, across->targetStride, writer)) {
        const Dimension rows = *along;
        const Dimension columns = *across;
        dimensions.erase(std::max(along, across));
        dimensions.erase(std::min(along, across));
        return visitPositions({dimensions.data(), dimensions.size()}, [&](long from, long to) {
            const NumberRun first{source.first.kind, source.first.address + from, columns.sourceStride};
            const auto rowAt = [&](long i) {
                return NumberRun{first.kind, first.address + i * rows.sourceStride, first.stride};
            };
            return transposeRowsOfAnySize(rowAt, rows.count, columns.count, target.address + to, columns.targetStride,
                                          writer);
        });
    }
    if (along->count < across->count && along->count < fewPlaces)
        along = across;
    const Dimension run = take(dimensions, along);
    return visitPositions({dimensions.data(), dimensions.size()}, [&](long from, long to) {
        NumberRun numbers = source.first.from(0);
        numbers.stride = run.sourceStride;
        if (numbers.address != nullptr)
            numbers.address += from;
        return writer.convert(numbers, run.count, target.address + to, run.targetStride);
    });
}

bool readRows(std::span<const NumberRun> rows, long count, std::byte* target, long columnStride,
              const ElementWriter& writer) {
    return transposeRowsOfAnySize([&](long i) { return rows[static_cast<std::size_t>(i)]; },
                                  static_cast<long>(rows.size()), count, target, columnStride, writer);
}

} // namespace orvane::python
