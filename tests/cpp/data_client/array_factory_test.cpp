// Making arrays through the factory: ownership of buffers, refusals.
#include "data_array/deleter_count.hpp"
#include "data_client/array_factory.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

using namespace orvane::data;

namespace {

template <ExceptionType Type>
using Refusal = detail::ArrayException<orvane::Exception, Type>;

Buffer<float> countedBuffer() {
    return {static_cast<float*>(std::calloc(6, sizeof(float))), [](float* block) { countedFree(block); }};
}

class Factory : public testing::Test {
protected:
    void SetUp() override { freedBuffers = 0; }

    ArrayFactory factory;
};

TEST_F(Factory, aBufferLivesAsLongAsTheLastHandle) {
    {
        auto buffer = countedBuffer();
        const float* const address = buffer.get();
        Array last;
        {
            const auto array = factory.createArrayFromBuffer<float>({2, 3}, std::move(buffer));
            EXPECT_EQ(array.begin().get(), address);
            last = array;
        }
        EXPECT_EQ(freedBuffers, 0);
    }
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, aReleasedBufferKeepsItsDeleterAndCanBeGivenToAnotherArray) {
    auto array = factory.createArrayFromBuffer<float>({2, 3}, countedBuffer());
    {
        const auto reshaped = factory.createArrayFromBuffer<float>({3, 2}, array.release());
        EXPECT_EQ(reshaped.getDimensions(), (std::vector<unsigned long>{3, 2}));
        EXPECT_EQ(freedBuffers, 0);
    }
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, anArrayThatIsGivenAwayBelongsToWhoTakesItUp) {
    Array array = factory.createArrayFromBuffer<float>({2, 3}, countedBuffer());
    const Array other = array;
    const Array copy(array.detach());
    EXPECT_NE(copy.impl(), other.impl()) << "a shared array was given away";

    array = factory.createArrayFromBuffer<float>({2, 3}, countedBuffer());
    impl::ArrayImpl* const address = array.impl();
    impl::ArrayImpl* const given = array.detach();
    EXPECT_EQ(given, address);
    EXPECT_EQ(freedBuffers, 0);
    array = Array(given);
    array = Array();
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, aLentArrayIsNeverWrittenAndNeverFreed) {
    const TypedArray<float> lender = factory.createArrayFromBuffer<float>({2, 3}, countedBuffer());
    {
        // Its only handle, and yet not its owner.
        TypedArray<float> borrowed(Array(std::shared_ptr<impl::ArrayImpl>(lender.impl(), [](impl::ArrayImpl*) {})));
        EXPECT_EQ(std::as_const(borrowed).begin().get(), lender.begin().get());
        *borrowed.begin() = 1;
        EXPECT_EQ(lender.begin()[0], 0);
        EXPECT_EQ(borrowed.begin()[0], 1);
    }
    EXPECT_EQ(freedBuffers, 0);
}

TEST_F(Factory, aRefusedBufferIsFreedOnce) {
    using TooMany = Refusal<ExceptionType::NumberOfElementsExceedsMaximum>;
    EXPECT_THROW(factory.createArrayFromBuffer<float>({1UL << 32, 1UL << 32}, countedBuffer()), TooMany);
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, rowMajorBuffersNeedALibraryThatKnowsLayouts) {
    using Missing = Refusal<ExceptionType::FeatureNotSupported>;
    const auto create = [&] {
        return factory.createArrayFromBuffer<float>({2, 3}, countedBuffer(), MemoryLayout::RowMajor);
    };
    if (get_function_ptr(110) != nullptr) {
        EXPECT_EQ(create().getNumberOfElements(), 6u);
    } else {
        EXPECT_THROW(create(), Missing);
    }
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, refusalsComeAsTheirExceptions) {
    EXPECT_THROW(factory.createBuffer<double>(1UL << 62), Refusal<ExceptionType::NumberOfElementsExceedsMaximum>);
    EXPECT_THROW(factory.createBuffer<double>(1UL << 58), Refusal<ExceptionType::OutOfMemory>);
    EXPECT_THROW(factory.createArray<double>({1UL << 58, 1}), Refusal<ExceptionType::OutOfMemory>);
}

TEST_F(Factory, newArraysAreZero) {
    const auto array = factory.createArray<std::complex<std::int8_t>>({7, 3});
    EXPECT_EQ(array.getNumberOfElements(), 21u);
    EXPECT_TRUE(std::all_of(array.begin(), array.end(), [](auto element) { return element == decltype(element){}; }));
}

} // namespace
