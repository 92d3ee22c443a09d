#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "core/index_chain.hpp"
#include "core/index_items.hpp"
#include "module/vocabulary/py_ref.hpp"

using namespace orvane::python;

namespace {

std::vector<long> positionsOf(const SliceIndexItem& item) {
    std::vector<long> positions;
    for (long place = 0; place < item.m_slice_len; ++place)
        positions.push_back(item.position(place));
    return positions;
}

/// What the interpreter's own sequences make of a slice.
std::vector<long> positionsInPython(const UnpackedSlice& bounds, long length) {
    const PyRef start = PyRef::steal(PyLong_FromSsize_t(bounds.start));
    const PyRef stop = PyRef::steal(PyLong_FromSsize_t(bounds.stop));
    const PyRef step = PyRef::steal(PyLong_FromSsize_t(bounds.step));
    const PyRef slice = PyRef::steal(PySlice_New(start.get(), stop.get(), step.get()));
    const PyRef whole = PyRef::steal(PyObject_CallFunction(reinterpret_cast<PyObject*>(&PyRange_Type), "l", length));
    const PyRef part = PyRef::steal(PyObject_GetItem(whole.get(), slice.get()));
    std::vector<long> positions;
    for (Py_ssize_t i = 0; i < PySequence_Size(part.get()); ++i) {
        const PyRef item = PyRef::steal(PySequence_GetItem(part.get(), i));
        positions.push_back(PyLong_AsLong(item.get()));
    }
    return positions;
}

std::vector<UnpackedSlice> variousSlices() {
    std::vector<UnpackedSlice> slices;
    constexpr Py_ssize_t bounds[] = {PY_SSIZE_T_MIN, -7, -5, -2, -1, 0, 1, 3, 4, 5, 9, PY_SSIZE_T_MAX};
    for (const Py_ssize_t start : bounds) {
        for (const Py_ssize_t stop : bounds) {
            for (const Py_ssize_t step :
                 {Py_ssize_t{1}, Py_ssize_t{2}, Py_ssize_t{5}, Py_ssize_t{-1}, Py_ssize_t{-3}, PY_SSIZE_T_MAX})
                slices.push_back({start, stop, step});
        }
    }
    return slices;
}

} // namespace

TEST(IntegerIndexItem, CountsFromTheEndAndRefusesTheOutside) {
    for (const auto& [raw, length, expected] :
         std::vector<std::array<long, 3>>{{0, 5, 0}, {4, 5, 4}, {-5, 5, 0}, {-1, 5, 4}}) {
        IntegerIndexItem item{raw};
        EXPECT_TRUE(item.normalize(length));
        EXPECT_EQ(item.m_index, expected);
    }
    for (const auto& [raw, length] :
         std::vector<std::array<long, 2>>{{5, 5}, {-6, 5}, {0, 0}, {-1, 0}, {LONG_MIN, 5}, {LONG_MAX, 5}})
        EXPECT_FALSE(IntegerIndexItem{raw}.normalize(length)) << raw << " in " << length;
}

TEST(SliceIndexItem, SelectsWhatPythonSelects) {
    for (const long length : {0L, 1L, 5L}) {
        for (const UnpackedSlice& bounds : variousSlices()) {
            const SliceIndexItem item = bounds.measuredAgainst(length);
            EXPECT_EQ(positionsOf(item), positionsInPython(bounds, length));
            if (item.m_slice_len == 0) {
                EXPECT_EQ(item.m_start, 0);
                EXPECT_EQ(item.m_step, 1);
            }
        }
    }
}

TEST(SliceIndexItem, ComposesLikeSlicesOfSlices) {
    constexpr long length = 5;
    for (const UnpackedSlice& outer : variousSlices()) {
        const SliceIndexItem standing = outer.measuredAgainst(length);
        const std::vector<long> standingPositions = positionsOf(standing);
        for (const UnpackedSlice& inner : variousSlices()) {
            const SliceIndexItem item = inner.measuredAgainst(standing.m_slice_len);
            std::vector<long> expected;
            for (const long place : positionsOf(item))
                expected.push_back(standingPositions[static_cast<std::size_t>(place)]);
            EXPECT_EQ(positionsOf(item.composedOnto(standing)), expected);
        }
    }
}

TEST(SliceIndexItem, DrawsInWhatWasMeasuredAgainstSomethingLonger) {
    const SliceIndexItem standing{1, 1, 2};
    const SliceIndexItem composed = SliceIndexItem{5, 1, 2}.composedOnto(standing);
    EXPECT_EQ(positionsOf(composed), (std::vector<long>{2, 3}));
    const SliceIndexItem empty{4, -1, 0};
    EXPECT_EQ((SliceIndexItem{2, 1, 3}.composedOnto(empty).m_start), 4);
}

TEST(SliceIndexItem, HugeStepsDoNotOverflow) {
    constexpr long huge = std::numeric_limits<long>::max() / 2;
    const SliceIndexItem composed = SliceIndexItem{0, huge, 1}.composedOnto({3, huge, 1});
    EXPECT_EQ(positionsOf(composed), (std::vector<long>{3}));
    EXPECT_NE(composed.m_step, 0);
}

TEST(IndexChain, AnIntegerTakesTheSlicesPlace) {
    IndexChain chain;
    EXPECT_TRUE(chain.isEmpty());
    chain = chain.narrowed({1, 2, 3});
    EXPECT_EQ(chain.activeDimension(), 0u);
    EXPECT_EQ(chain.length(), 1u);
    EXPECT_EQ(chain.absolutePosition(2), 5);
    chain = chain.withFixed(chain.absolutePosition(2));
    EXPECT_EQ(chain.activeDimension(), 1u);
    EXPECT_FALSE(chain.slice());
    EXPECT_EQ(chain.absolutePosition(2), 2);
}
