// Making arrays through the factory, and who owns their buffers: the only handle, many, one that is lent.
#include "data_array/deleter_count.hpp"
#include "data_client/array_factory.hpp"
#include "data_client/column_major_span.hpp"

#include <gtest/gtest.h>

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

    TypedArray<float> counted() { return factory.createArrayFromBuffer<float>({2, 3}, countedBuffer()); }

    /// A handle to the array of `owner`; `isReturned` tells when the last such handle has gone.
    TypedArray<float> lent(const Array& owner) {
        isReturned = false;
        return Array(std::shared_ptr<impl::ArrayImpl>(owner.impl(), [this](impl::ArrayImpl*) { isReturned = true; }));
    }

    ArrayFactory factory;
    bool isReturned = false;
};

TEST_F(Factory, aBufferLivesAsLongAsTheLastHandleAndCanBeGivenToAnotherArray) {
    {
        auto buffer = countedBuffer();
        const float* const address = buffer.get();
        TypedArray<float> last = factory.createArrayFromBuffer<float>({1, 6}, std::move(buffer));
        last = TypedArray<float>(last);
        const auto reshaped = factory.createArrayFromBuffer<float>({3, 2}, last.release());
        EXPECT_EQ(reshaped.begin().get(), address);
        EXPECT_EQ(reshaped.getDimensions(), (std::vector<unsigned long>{3, 2}));
        EXPECT_EQ(freedBuffers, 0);
    }
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, aLentArrayIsReadInPlaceAndWrittenInACopy) {
    const TypedArray<float> owner = counted();
    TypedArray<float> handle = lent(owner);
    EXPECT_EQ(std::as_const(handle).begin().get(), owner.begin().get());

    writableElementsOf(handle)(1, 2) = 5;
    EXPECT_TRUE(isReturned);
    EXPECT_EQ(elementsOf(handle)(1, 2), 5);
    EXPECT_EQ(elementsOf(owner)(1, 2), 0);
    // The copy is the handle's own.
    float* const place = handle.begin().get();
    EXPECT_EQ(handle.begin().get(), place);
}

TEST_F(Factory, onlyTheSoleHandleGivesAwayTheArrayItself) {
    {
        TypedArray<float> array = counted();
        EXPECT_NE(lent(array).release().get(), std::as_const(array).begin().get());
        const Array ofLent(lent(array).detach());
        EXPECT_NE(ofLent.impl(), array.impl());
        impl::ArrayImpl* const itself = array.impl();
        EXPECT_EQ(array.detach(), itself);
        array = TypedArray<float>(Array(itself));
        TypedArray<float> other = array;
        const Array taken(other.detach());
        EXPECT_NE(taken.impl(), itself);
        EXPECT_EQ(array.useCount(), 1);
        EXPECT_EQ(taken.getDimensions(), array.getDimensions());
        EXPECT_EQ(freedBuffers, 0);
    }
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Factory, refusalsComeAsTheirExceptionsAndFreeTheBufferOnce) {
    using TooMany = Refusal<ExceptionType::NumberOfElementsExceedsMaximum>;
    EXPECT_THROW(factory.createArrayFromBuffer<float>({1UL << 32, 1UL << 32}, countedBuffer()), TooMany);
    EXPECT_EQ(freedBuffers, 1);
    EXPECT_THROW(factory.createBuffer<double>(1UL << 62), TooMany);
    EXPECT_THROW(factory.createBuffer<double>(1UL << 58), Refusal<ExceptionType::OutOfMemory>);
    EXPECT_THROW(factory.createArray<double>({1UL << 58, 1}), Refusal<ExceptionType::OutOfMemory>);
    EXPECT_THROW(factory.createArray<float>({1UL << 32, 1UL << 32, 2}), TooMany);
    EXPECT_EQ(factory.createArray<float>({1UL << 32, 1UL << 32, 0}).getNumberOfElements(), 0u);
}

TEST_F(Factory, rowMajorBuffersNeedALibraryThatKnowsLayouts) {
    const auto create = [&] { factory.createArrayFromBuffer<float>({2, 3}, countedBuffer(), MemoryLayout::RowMajor); };
    if (get_function_ptr(110) != nullptr) {
        create();
    } else {
        EXPECT_THROW(create(), Refusal<ExceptionType::FeatureNotSupported>);
    }
    EXPECT_EQ(freedBuffers, 1);
}

} // namespace
