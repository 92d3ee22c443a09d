#include "construction/block_nesting.hpp"

#include <algorithm>
#include <array>
#include <memory>

#include "vocabulary/caller_code.hpp"

namespace orvane::python {

namespace {

/// So many blocks are open at a time to be read side by side.
constexpr std::size_t blocksTogether = 256;

/// So many numbers of each are read between two looks for signals, at which their elements may move.
constexpr long columnsTogether = 1L << 16;

/// Item `i` of a list of `length` items; null when it is no such list any more.
PyObject* itemAt(PyObject* list, std::size_t i, std::size_t length) {
    const auto items = exactItems(list);
    return items.size() == length ? items[i] : nullptr;
}

} // namespace

BlockNesting::BlockNesting(const RegularNesting& nesting, ConversionFrom conversionFrom)
    : m_conversionFrom(conversionFrom), m_levels(nesting.rank()) {
    NumberBlock first;
    if (!first.open(nesting.firstScalar()) || conversionFrom(first.kind()) == Conversion::Never)
        return;
    m_extents.assign(nesting.extents().begin(), nesting.extents().end());
    m_extents.insert(m_extents.end(), first.counts().begin(), first.counts().end());
}

bool BlockNesting::openItem(NumberBlock& block, PyObject* item) const {
    return item != nullptr && block.open(item) &&
           std::equal(block.counts().begin(), block.counts().end(), m_extents.begin() + static_cast<long>(m_levels),
                      m_extents.end(), [](long a, std::size_t b) { return static_cast<std::size_t>(a) == b; }) &&
           m_conversionFrom(block.kind()) != Conversion::Never;
}

bool BlockNesting::read(PyObject* value, ElementOrder order, std::byte* target, const ElementWriter& writer) const {
    const Extents counts(m_extents.begin(), m_extents.end());
    const Extents strides = gaplessStrides({counts.data(), counts.size()}, order, writer.elementSize);
    const StridedElements elements{target, {strides.data(), strides.size()}};
    if (m_extents.size() == 2 && order == ElementOrder::ColumnMajor)
        return readSideBySide(value, elements, writer);
    return readItems(value, 0, elements, writer);
}

/// Recursion ends at `RegularNesting::maxRank`. Signals are answered between the items of the outermost list only,
/// where nothing but the list is held on to.
bool BlockNesting::readItems(PyObject* list, std::size_t level, const StridedElements& target,
                             const ElementWriter& writer) const {
    const std::size_t length = m_extents[level];
    long numbersOfItem = 1;
    for (const std::size_t extent : extents().subspan(level + 1))
        numbersOfItem *= static_cast<long>(extent);
    PlainItemsWatch watch;
    NumberBlock block;
    for (std::size_t i = 0; i < length; ++i) {
        const StridedElements place{target.address + static_cast<long>(i) * target.strides.front(),
                                    target.strides.subspan(1)};
        PyObject* const item = itemAt(list, i, length);
        if (item == nullptr)
            return false;
        if (level + 1 < m_levels) {
            if (!readItems(item, level + 1, place, writer))
                return false;
        } else if (!openItem(block, item) || !(level == 0 ? readHeedingSignals(block, place, writer)
                                                          : readBlock(block.numbers(), place, writer))) {
            return false;
        }
        block.close();
        if (level == 0 && !watch.pass(static_cast<unsigned long>(numbersOfItem)))
            return false;
    }
    return true;
}

/// Blocks of one dimension in a single list, of which many make whole cache lines of a column.
bool BlockNesting::readSideBySide(PyObject* list, const StridedElements& target, const ElementWriter& writer) const {
    const std::size_t length = m_extents[0];
    const auto count = static_cast<long>(m_extents[1]);
    const auto blocks = std::make_unique<NumberBlock[]>(std::min(blocksTogether, length));
    std::array<NumberRun, blocksTogether> rows;
    PlainItemsWatch watch;
    for (std::size_t start = 0; start < length; start += blocksTogether) {
        const std::size_t together = std::min(blocksTogether, length - start);
        for (std::size_t i = 0; i < together; ++i) {
            if (!openItem(blocks[i], itemAt(list, start + i, length)))
                return false;
        }
        for (long column = 0; column < count; column += columnsTogether) {
            const long columns = std::min(count - column, columnsTogether);
            for (std::size_t i = 0; i < together; ++i)
                rows[i] = blocks[i].numbers().first.from(column);
            std::byte* const to =
                target.address + static_cast<long>(start) * target.strides[0] + column * target.strides[1];
            if (!readRows(std::span(rows).first(together), columns, to, target.strides[1], writer) ||
                !watch.pass(together * static_cast<std::size_t>(columns)))
                return false;
        }
        for (std::size_t i = 0; i < together; ++i)
            blocks[i].close();
    }
    return true;
}

} // namespace orvane::python
