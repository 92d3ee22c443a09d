#include <gtest/gtest.h>

#include <limits>

#include "core/element_equality.hpp"
#include "core/element_narrowing.hpp"

using namespace orvane::python;

template <class T>
class TruncateToInteger : public testing::Test {};
using Integers = testing::Types<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                                std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(TruncateToInteger, Integers);

TYPED_TEST(TruncateToInteger, IsOpenAtBothEnds) {
    using Limits = std::numeric_limits<TypeParam>;
    const double above = std::ldexp(1.0, Limits::digits); // one more than the maximum, exactly
    const double below = Limits::is_signed ? (sizeof(TypeParam) == 8 ? -above : -above - 1.0) : -1.0;
    EXPECT_FALSE(truncateToInteger<TypeParam>(above));
    EXPECT_FALSE(truncateToInteger<TypeParam>(below));
    EXPECT_TRUE(truncateToInteger<TypeParam>(std::nextafter(above, 0.0)));
    EXPECT_TRUE(truncateToInteger<TypeParam>(std::nextafter(below, 0.0)));
    EXPECT_FALSE(truncateToInteger<TypeParam>(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(truncateToInteger<TypeParam>(std::nan("")), TypeParam{0});
    EXPECT_EQ(truncateToInteger<TypeParam>(3.9), TypeParam{3});
    EXPECT_EQ(truncateToInteger<TypeParam>(-0.9), TypeParam{0});
}

TEST(NarrowToSingle, OverflowIsPlusInfinityEitherWay) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const double huge :
         {1e39, -1e39, std::nextafter(3.4028234663852886e+38, 1e300), -std::numeric_limits<double>::infinity()})
        EXPECT_EQ(narrowToSingle(huge), infinity);
    EXPECT_EQ(narrowToSingle(-3.4028234663852886e+38), -std::numeric_limits<float>::max());
    EXPECT_TRUE(std::isnan(narrowToSingle(std::nan(""))));
    const auto signalling = std::bit_cast<float>(0x7fa00001u);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(quieted(signalling)), 0x7fe00001u);
}

TEST(ElementsEqual, ComparesIntegersWithDoublesExactly) {
    using Complex = std::complex<std::int64_t>;
    constexpr std::int64_t aboveDoubles = (std::int64_t{1} << 53) + 1;
    EXPECT_FALSE(elementsEqual(aboveDoubles, Complex(aboveDoubles, 0))); // the complex part is rounded first
    EXPECT_TRUE(elementsEqual(Complex(aboveDoubles, 0), Complex(aboveDoubles - 1, 0)));
    EXPECT_FALSE(
        elementsEqual(std::numeric_limits<std::int64_t>::max(), Complex(std::numeric_limits<std::int64_t>::max(), 0)));
    EXPECT_FALSE(elementsEqual(std::int64_t{1}, Complex(1, 1)));
    EXPECT_FALSE(equalsExactly(std::uint64_t{0}, std::nan("")));
    EXPECT_FALSE(equalsExactly(std::uint64_t{0}, 18446744073709551616.0));
    EXPECT_TRUE(equalsExactly(std::int8_t{-3}, -3.0));
}
