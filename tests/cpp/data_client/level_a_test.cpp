// What the other cases of this program rely on: that the replacement stands in the real library's place.
#include <orvane_data_array/boundary.hpp>

#include <gtest/gtest.h>

namespace {

TEST(LevelA, theLibraryInUseOffersNoLaterLevel) {
    for (const int number : {110, 113, 114, 115}) {
        EXPECT_EQ(get_function_ptr(number), nullptr) << number;
    }
    EXPECT_NE(get_function_ptr(11), nullptr);
}

} // namespace
