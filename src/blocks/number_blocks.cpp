#include "blocks/number_blocks.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>

#include "blocks/strided_dimensions.hpp"
#include "blocks/transpose_tile.hpp"
#include "vocabulary/extents.hpp"

namespace orvane::python {

namespace {

using Dimension = StridedDimension<long>;
using Dimensions = DimensionVector<Dimension>;

/// The dimensions that have more than one place, those taken together that follow each other on both sides.
Dimensions decisiveDimensions(const StridedNumbers& source, const StridedElements& target) {
    Dimensions dimensions;
    for (std::size_t d = 0; d < source.counts.size(); ++d) {
        const Dimension next{source.counts[d], source.strides[d], target.strides[d]};
        if (next.extent == 1)
            continue;
        if (!dimensions.empty()) {
            Dimension& last = dimensions.back();
            if (next.sourceStride == last.sourceStride * last.extent &&
                next.targetStride == last.targetStride * last.extent) {
                last.extent *= next.extent;
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

/// So many rows are laid down next to each other at a time: several whole cache lines of each column.
constexpr std::size_t rowsTogether = placesPerTile;
/// So many columns of a row are read at a time where it lies, and where it is converted first.
constexpr std::size_t columnsInPlace = 1024;
constexpr std::size_t columnsConverted = 32;

/// Lays down rows of elements in columns. Those that are not there as they are to be are converted first, into a tile
/// that the second-level cache holds.
template <class Unit>
class RowTransposer {
public:
    RowTransposer(const StridedElements& target, long columnStride, long count, const ElementWriter& writer) noexcept
        : m_target(target), m_columnStride(columnStride), m_count(count), m_writer(writer) {
        for (std::size_t j = 0; j < std::min(columnsInPlace, static_cast<std::size_t>(count)); ++j)
            m_columnOffsets[j] = j * (static_cast<std::size_t>(columnStride) / sizeof(Unit));
    }

    /// The rows, `rowsTogether` of them at most, go to the places from `place` on of each column.
    bool layDown(std::span<const NumberRun> rows, long place) {
        const bool isInPlace = findOffsets(rows);
        const auto most = static_cast<long>(isInPlace ? columnsInPlace : columnsConverted);
        for (long column = 0; column < m_count; column += most) {
            const long together = std::min(m_count - column, most);
            const std::byte* source = m_lowest;
            if (isInPlace) {
                source += column * m_writer.elementSize;
            } else {
                if (!convert(rows, column, together))
                    return false;
                source = reinterpret_cast<const std::byte*>(m_converted.get());
            }
            const Tile tile{std::span(m_rowOffsets).first(rows.size()),
                            std::span(m_columnOffsets).first(static_cast<std::size_t>(together))};
            const long to = place * m_writer.elementSize + column * m_columnStride;
            transposeTile<Unit, Transfer::Bytewise>(reinterpret_cast<Unit*>(m_target.address + to), source, tile);
            if (m_target.again != nullptr)
                transposeTile<Unit, Transfer::Bytewise>(reinterpret_cast<Unit*>(m_target.again + to), source, tile);
        }
        return true;
    }

private:
    /// Whether all rows are gapless elements, at whole elements from the one that lies first in memory.
    bool findOffsets(std::span<const NumberRun> rows) noexcept {
        m_lowest = rows[0].address;
        for (const NumberRun& row : rows) {
            if (row.address == nullptr || row.stride != m_writer.elementSize || !m_writer.keepsBits(row.kind))
                return false;
            m_lowest = std::min(m_lowest, row.address, std::less<>());
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto distance = static_cast<std::size_t>(rows[i].address - m_lowest);
            if (distance % sizeof(Unit) != 0)
                return false;
            m_rowOffsets[i] = distance / sizeof(Unit);
        }
        return true;
    }

    bool convert(std::span<const NumberRun> rows, long column, long count) {
        if (!m_converted)
            m_converted = std::make_unique_for_overwrite<Unit[]>(rowsTogether * columnsConverted);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            m_rowOffsets[i] = i * columnsConverted;
            if (!m_writer.convert(rows[i].from(column), count,
                                  reinterpret_cast<std::byte*>(&m_converted[m_rowOffsets[i]]), m_writer.elementSize))
                return false;
        }
        return true;
    }

    StridedElements m_target; ///< of the first element
    long m_columnStride;
    long m_count; ///< of columns
    const ElementWriter& m_writer;
    const std::byte* m_lowest = nullptr; ///< of the rows in place
    std::unique_ptr<Unit[]> m_converted;
    std::array<std::size_t, rowsTogether> m_rowOffsets;
    std::array<std::size_t, columnsInPlace> m_columnOffsets;
};

/// `rowAt(i)` is the run that row i is.
template <class Unit, class RowAt>
bool transposeRows(RowAt&& rowAt, long rowCount, long count, const StridedElements& target, long columnStride,
                   const ElementWriter& writer) {
    RowTransposer<Unit> transposer(target, columnStride, count, writer);
    std::array<NumberRun, rowsTogether> rows;
    for (long start = 0; start < rowCount; start += static_cast<long>(rowsTogether)) {
        const std::size_t together = std::min(static_cast<std::size_t>(rowCount - start), rowsTogether);
        for (std::size_t i = 0; i < together; ++i)
            rows[i] = rowAt(start + static_cast<long>(i));
        if (!transposer.layDown(std::span(rows).first(together), start))
            return false;
    }
    return true;
}

template <class RowAt>
bool transposeRowsOfAnySize(RowAt&& rowAt, long rowCount, long count, const StridedElements& target, long columnStride,
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

/// The bytes from each row to the next where all are alike: then they are a block, whose rows may be read in any order.
std::optional<long> commonDistance(std::span<const NumberRun> rows) {
    const auto addressOf = [](const NumberRun& row) { return reinterpret_cast<std::intptr_t>(row.address); };
    const long distance = rows.size() > 1 ? addressOf(rows[1]) - addressOf(rows[0]) : 0;
    for (std::size_t i = 1; i < rows.size(); ++i) {
        if (addressOf(rows[i]) - addressOf(rows[i - 1]) != distance || rows[i].stride != rows[0].stride ||
            rows[i].kind != rows[0].kind)
            return std::nullopt;
    }
    return rows[0].address != nullptr ? std::optional(distance) : std::nullopt;
}

/// Fewer rows or columns are not worth a tile.
constexpr long fewPlaces = 8;

/// Tiles are laid down by whole elements, in columns that follow each other upward.
bool mayBeTransposed(const StridedElements& target, long columnStride, const ElementWriter& writer) {
    const auto size = static_cast<std::uintptr_t>(writer.elementSize);
    return columnStride > 0 && columnStride % writer.elementSize == 0 &&
           reinterpret_cast<std::uintptr_t>(target.address) % size == 0 &&
           reinterpret_cast<std::uintptr_t>(target.again) % size == 0;
}

/// The same places so many bytes further on.
StridedElements shifted(const StridedElements& elements, long offset) {
    return {elements.address + offset, elements.strides, elements.again != nullptr ? elements.again + offset : nullptr};
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
    if (std::min(along->extent, across->extent) >= fewPlaces && along->sourceStride != across->sourceStride &&
        along->targetStride == writer.elementSize && mayBeTransposed(target, across->targetStride, writer)) {
        const Dimension rows = *along;
        const Dimension columns = *across;
        dimensions.erase(std::max(along, across));
        dimensions.erase(std::min(along, across));
        return visitPositions(
            std::span<const Dimension>(dimensions.data(), dimensions.size()), [&](long from, long to) {
                const NumberRun first{source.first.kind, source.first.address + from, columns.sourceStride};
                const auto rowAt = [&](long i) {
                    return NumberRun{first.kind, first.address + i * rows.sourceStride, first.stride};
                };
                return transposeRowsOfAnySize(rowAt, rows.extent, columns.extent, shifted(target, to),
                                              columns.targetStride, writer);
            });
    }
    if (along->extent < across->extent && along->extent < fewPlaces)
        along = across;
    const Dimension run = take(dimensions, along);
    return visitPositions(std::span<const Dimension>(dimensions.data(), dimensions.size()), [&](long from, long to) {
        NumberRun numbers = source.first.from(0);
        numbers.stride = run.sourceStride;
        if (numbers.address != nullptr)
            numbers.address += from;
        return writer.convert(numbers, run.extent, target.address + to, run.targetStride) &&
               (target.again == nullptr || writer.convert(numbers, run.extent, target.again + to, run.targetStride));
    });
}

bool readRows(std::span<const NumberRun> rows, long count, std::byte* target, long columnStride,
              const ElementWriter& writer) {
    if (const auto distance = commonDistance(rows)) {
        const long counts[] = {static_cast<long>(rows.size()), count};
        const long strides[] = {*distance, rows[0].stride};
        const long targetStrides[] = {writer.elementSize, columnStride};
        return readBlock({rows[0], counts, strides}, {target, targetStrides}, writer);
    }
    return transposeRowsOfAnySize([&](long i) { return rows[static_cast<std::size_t>(i)]; },
                                  static_cast<long>(rows.size()), count, {target, {}}, columnStride, writer);
}

} // namespace orvane::python
