#include <gtest/gtest.h>

#include <vector>

#include "core/selection.hpp"

using namespace orvane::python;

namespace {

std::shared_ptr<const Layout> layoutOf(std::vector<long> extents, long elementSize = 8) {
    const auto count = checkedProduct(std::span<const long>(extents));
    return std::make_shared<const Layout>(extents, count.value_or(0), elementSize);
}

std::vector<long> offsetsOf(const Selection& selection) {
    std::vector<long> offsets;
    SelectionOdometer odometer(selection);
    do
        offsets.push_back(static_cast<long>(odometer.offset()));
    while (odometer.advance());
    return offsets;
}

} // namespace

TEST(Layout, IsColumnMajor) {
    const auto layout = layoutOf({2, 3, 4}, 16);
    EXPECT_EQ(layout->bytewiseStrides(), (Extents{16, 32, 96}));
    EXPECT_EQ(layout->byteOffset(Extents{1, 2, 3}), 16u + 64u + 288u);
    EXPECT_EQ(layout->byteOffset(Extents{}), 0u);
    EXPECT_FALSE(layout->byteOffset(Extents{0, 0, 4}));
    EXPECT_FALSE(layout->byteOffset(Extents{0, 0, 0, 0}));
    EXPECT_EQ(layoutOf({0, 3})->bytewiseStrides(), (Extents{8, 0}));
    EXPECT_FALSE(layoutOf({0, 3})->byteOffset(Extents{0, 0}));
}

TEST(CheckedProduct, KnowsWhatDoesNotFit) {
    constexpr long huge = 1L << 32;
    EXPECT_FALSE(checkedProduct(std::span<const long>({huge, huge})));
    EXPECT_FALSE(checkedProduct(std::span<const long>({huge, huge / 2})));
    EXPECT_EQ(checkedProduct(std::span<const long>({huge, huge / 4})), 1L << 62);
    EXPECT_EQ(checkedProduct(std::span<const long>({huge, huge, 0})), 0);
    EXPECT_EQ(checkedProduct(std::span<const long>()), 1);
}

TEST(Selection, WalksInIndexOrder) {
    const auto layout = layoutOf({2, 3, 2}, 1);
    const SliceIndexItem backwards{2, -2, 2};
    const Selection selection = select(layout, Extents{1}, &backwards);
    ASSERT_TRUE(selection.isInside);
    EXPECT_EQ(selection.counts, (Extents{2, 2}));
    std::vector<long> expected;
    for (const long j : {2, 0}) {
        for (const long k : {0, 1})
            expected.push_back(1 + 2 * j + 6 * k);
    }
    EXPECT_EQ(offsetsOf(selection), expected);
}

TEST(Selection, KnowsWhetherItIsInside) {
    const auto layout = layoutOf({2, 3});
    EXPECT_TRUE(select(layout, Extents{}, nullptr).isInside);
    EXPECT_FALSE(select(layout, Extents{2}, nullptr).isInside);
    const SliceIndexItem odd{0, 1, 3}; // reaches beyond its dimension, and at the end of it beyond the elements
    EXPECT_FALSE(select(layout, Extents{}, &odd).isInside);
    EXPECT_TRUE(select(layout, Extents{0}, &odd).isInside);
    const SliceIndexItem below{0, -1, 2};
    EXPECT_FALSE(select(layout, Extents{}, &below).isInside);
    EXPECT_TRUE(select(layoutOf({0, 1L << 62}), Extents{}, nullptr).isInside);
}

TEST(Selection, OfAChainThatIsTooLongIsEmpty) {
    const auto layout = layoutOf({2, 3});
    const SliceIndexItem slice{0, 1, 2};
    EXPECT_EQ(select(layout, Extents{0, 1}, nullptr).counts, (Extents{0}));
    EXPECT_EQ(select(layout, Extents{0, 1}, &slice).counts, (Extents{2, 0}));
}
