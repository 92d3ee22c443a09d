// What the other cases of this program rely on: that the stand-in is the library in use, and that it notices misuse.
#include "data_client/array_factory.hpp"
#include "data_client/column_major_span.hpp"

#include <gtest/gtest.h>

#include <utility>

using namespace orvane::data;
using detail::FunctionType;

namespace {

TypedArray<double> zeros() {
    return ArrayFactory().createArray<double>({2, 3});
}

void writeWhereReadingLed() {
    const auto array = zeros();
    const_cast<double&>(*array.data()) = 1;
}
void writeWithoutTheUnshareStep() {
    detail::resolve<FunctionType::ArrayBeginFallback>()(zeros().impl(), true);
}
void useWhatIsGone() {
    impl::ArrayImpl* const array = zeros().impl();
    detail::resolve<FunctionType::ArrayGetNumberOfElements>()(array);
}
void readWhatWasReleased() {
    auto array = zeros();
    array.release();
    array.getDimensions();
}
void freeTwice() {
    const auto buffer = ArrayFactory().createBuffer<double>(6);
    buffer.get_deleter()(buffer.get());
}
void adoptTooFewElements() {
    ArrayFactory().createArrayFromBuffer<double>({2, 3}, ArrayFactory().createBuffer<double>(5));
}

TEST(StandInDeathTest, endsTheProcessOnMisuse) {
    for (const int number : {110, 113, 114, 115, 116, 0x4F560001, 0x4F560002, 0x4F560003}) {
        ASSERT_EQ(get_function_ptr(number), nullptr) << number;
    }
    const std::pair<void (*)(), const char*> misuses[] = {
        {writeWhereReadingLed, "given for reading"},
        {writeWithoutTheUnshareStep, "unshare step"},
        {useWhatIsGone, "is gone"},
        {readWhatWasReleased, "released"},
        {freeTwice, "freed twice"},
        {adoptTooFewElements, "another size"},
    };
    for (const auto& [misuse, complaint] : misuses) {
        EXPECT_DEATH(misuse(), complaint) << complaint;
    }
}

TEST(StandIn, movesElementsWhenTheyAreWrittenTo) {
    auto array = zeros();
    const auto copy = array;
    const double* const before = array.data();
    writableElementsOf(array)(1, 2) = 5;
    EXPECT_NE(array.data(), before);
    EXPECT_EQ(elementsOf(copy)(1, 2), 0);
    EXPECT_EQ(elementsOf(array)(1, 2), 5);
    const TypedArray<double> empty{Array()};
    EXPECT_EQ(elementsOf(empty).size(), 0u);
}

} // namespace
