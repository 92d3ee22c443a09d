// Against a library in the real one's place that lacks the function for element kinds.
#include "data_client/array_factory.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace orvane::data;
using MissingFeature = detail::ArrayException<orvane::Exception, ExceptionType::FeatureNotSupported>;

namespace {

TEST(WithoutTypes, theTypeIsAMissingFeatureEachTimeItIsAskedFor) {
    const Array array = ArrayFactory().createArray<double>({2, 3});
    for (int repeat = 0; repeat < 2; ++repeat) {
        try {
            array.getType();
            FAIL() << "the type was told";
        } catch (const MissingFeature& missing) {
            EXPECT_STREQ(missing.what(), "This feature requires LvlA");
        }
    }
    EXPECT_THROW(TypedArray<double>{array}, MissingFeature);
}

TEST(WithoutTypes, whatNeedsNoTypeWorks) {
    const Array array = ArrayFactory().createArray<double>({2, 3});
    EXPECT_EQ(array.getDimensions(), (std::vector<unsigned long>{2, 3}));
    EXPECT_EQ(array.getNumberOfElements(), 6u);
}

} // namespace
