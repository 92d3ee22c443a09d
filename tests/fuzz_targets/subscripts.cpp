// Chains of subscripts: records of indices, their composition and the walks through what they select, against lists.
#include "core/index_items.hpp"
#include "core/selection.hpp"
#include "fuzzing.hpp"

using namespace orvane::python;
__extension__ using Wide = __int128;

/// As often near the ends of a dimension as anywhere.
static long bound(FuzzedDataProvider& data) {
    return data.ConsumeBool() ? data.ConsumeIntegralInRange<long>(-6, 6) : data.ConsumeIntegral<long>();
}

/// What the language says that a slice chooses of a list.
static std::vector<Wide> choose(const UnpackedSlice& slice, const std::vector<Wide>& list) {
    const Wide length = list.size(), least = slice.step > 0 ? 0 : -1, most = slice.step > 0 ? length : length - 1;
    const auto clip = [&](Wide place) { return std::clamp(place < 0 ? place + length : place, least, most); };
    std::vector<Wide> chosen;
    for (Wide i = clip(slice.start); slice.step > 0 ? i < clip(slice.stop) : i > clip(slice.stop); i += slice.step)
        chosen.push_back(list[i]);
    return chosen;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    Extents extents(data.ConsumeIntegralInRange(2, 4)), integers;
    for (long& extent : extents)
        extent = data.ConsumeIntegralInRange<long>(0, 5);
    const long count = checkedProduct(std::span<const long>(extents.data(), extents.size())).value();
    const auto layout = std::make_shared<const Layout>(extents, count, 8);
    const Extents& strides = layout->bytewiseStrides();

    std::vector<Wide> offsets{0}; // of what is selected, in index order
    for (auto left = data.ConsumeIntegralInRange<std::size_t>(0, extents.size() - 1); left > 0; --left) {
        const long length = extents[integers.size()], index = bound(data);
        IntegerIndexItem item{index};
        require(item.normalize(length) == (index >= -length && index < length));
        offsets[0] += std::clamp(item.m_index, -9L, 9L) * strides[integers.size()]; // outside, as after a reshape
        integers.push_back(std::clamp(item.m_index, -9L, 9L));
    }
    const std::size_t active = integers.size();
    std::vector<Wide> places;
    for (long i = 0; i < extents[active]; ++i)
        places.push_back(i);
    SliceIndexItem slice{0, 1, extents[active]};
    const bool isSliced = data.ConsumeBool();
    while (isSliced && data.ConsumeBool()) {
        UnpackedSlice given{bound(data), bound(data), std::max(bound(data), -PY_SSIZE_T_MAX)};
        given.step += given.step == 0;
        slice = given.measuredAgainst(slice.m_slice_len).composedOnto(slice);
        places = choose(given, places);
        require(slice.m_slice_len == static_cast<long>(places.size()));
        for (long i = 0; i < slice.m_slice_len; ++i)
            require(slice.position(i) == places[i]);
    }
    if (isSliced && !places.empty() && data.ConsumeBool()) { // measured against something longer
        const SliceIndexItem longer{data.ConsumeIntegralInRange<long>(0, 9), bound(data) | 1, 3};
        const Wide start = places[std::min<std::size_t>(longer.m_start, places.size() - 1)];
        const Wide step = std::clamp<Wide>(Wide{slice.m_step} * longer.m_step, PY_SSIZE_T_MIN, PY_SSIZE_T_MAX);
        slice = longer.composedOnto(slice);
        places.resize(std::min<std::size_t>(3, places.size()));
        for (std::size_t i = 0; i < places.size(); ++i)
            places[i] = start + i * step;
    }
    for (std::size_t d = active; d < extents.size(); ++d) {
        std::vector<Wide> inner;
        for (const Wide offset : offsets) {
            for (long i = 0; i < (d == active ? static_cast<long>(places.size()) : extents[d]); ++i)
                inner.push_back(offset + (d == active ? places[i] : i) * strides[d]);
        }
        offsets = inner;
    }
    const Selection selection = select(layout, integers, isSliced ? &slice : nullptr);
    const auto isInside = [&](Wide offset) { return offset >= 0 && offset < layout->sizeInBytes(); };
    require(selection.elementCount == static_cast<long>(offsets.size()));
    require(selection.isInside == std::ranges::all_of(offsets, isInside));
    if (offsets.empty() || !selection.isInside)
        return 0;
    SelectionOdometer odometer(selection);
    for (const Wide& offset : offsets)
        require(odometer.offset() == offset && odometer.advance() == (&offset != &offsets.back()));
    std::vector<Wide> columns(offsets.size()), visited;
    for (std::size_t i = 0; i < offsets.size(); ++i)
        columns[columnMajorPlace(i, selection.counts, offsets.size())] = offsets[i];
    visitRuns(selection, [&](unsigned long offset, long steps, long stride) {
        for (; steps > 0; --steps, offset += stride)
            visited.push_back(offset);
        return true;
    });
    require(visited == columns);
    for (std::size_t i = 0; i < visited.size(); ++i)
        visited[i] = columns[0] + 8 * i;
    require(selection.isColumnMajor() == (visited == columns));
    return 0;
}
