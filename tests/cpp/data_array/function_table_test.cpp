#include <orvane_data_array/boundary.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace {

// Written out once more here: these numbers are what independent clients have compiled in.
const std::set<int> offeredNumbers = {1,  3,  11, 13, 14, 15, 23, 49, 50, 51, 52,  53,  55,  56,
                                      57, 58, 59, 60, 63, 64, 71, 72, 94, 96, 110, 113, 114, 115};
const std::set<int> numbersOfOurOwn = {0x4F560001, 0x4F560002};

TEST(FunctionTable, answersForItsNumbersAndForNoOthers) {
    for (int number = -200; number <= 400; ++number) {
        EXPECT_EQ(get_function_ptr(number) != nullptr, offeredNumbers.contains(number)) << number;
    }
    for (int number = 0x4F560000; number <= 0x4F560010; ++number) {
        EXPECT_EQ(get_function_ptr(number) != nullptr, numbersOfOurOwn.contains(number)) << number;
    }
    EXPECT_EQ(get_function_ptr(std::numeric_limits<int>::min()), nullptr);
    EXPECT_EQ(get_function_ptr(std::numeric_limits<int>::max()), nullptr);
}

} // namespace
