// Handles to arrays that somebody else owns, and arrays that are given away.
#include "data_array/deleter_count.hpp"
#include "data_client/array_factory.hpp"
#include "data_client/column_major_span.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <utility>

using namespace orvane::data;

namespace {

class Ownership : public testing::Test {
protected:
    void SetUp() override { freedBuffers = 0; }

    static TypedArray<double> counted() {
        Buffer<double> zeros(static_cast<double*>(std::calloc(6, sizeof(double))),
                             [](double* block) { countedFree(block); });
        return ArrayFactory().createArrayFromBuffer<double>({2, 3}, std::move(zeros));
    }

    /// A handle to the array of `owner`; `isReturned` tells when the last such handle has gone.
    static TypedArray<double> lent(const Array& owner, bool& isReturned) {
        return Array(
            std::shared_ptr<impl::ArrayImpl>(owner.impl(), [&isReturned](impl::ArrayImpl*) { isReturned = true; }));
    }
};

TEST_F(Ownership, aLentArrayIsReadInPlaceAndWrittenInACopy) {
    const TypedArray<double> owner = counted();
    bool isReturned = false;
    TypedArray<double> handle = lent(owner, isReturned);
    EXPECT_EQ(std::as_const(handle).begin().get(), owner.begin().get());

    writableElementsOf(handle)(1, 2) = 5;
    EXPECT_TRUE(isReturned);
    EXPECT_EQ(elementsOf(handle)(1, 2), 5);
    EXPECT_EQ(elementsOf(owner)(1, 2), 0);
    // The copy is the handle's own.
    double* const place = handle.begin().get();
    EXPECT_EQ(handle.begin().get(), place);
}

TEST_F(Ownership, whatIsReleasedOfALentArrayIsACopy) {
    const TypedArray<double> owner = counted();
    bool isReturned = false;
    {
        const Buffer<double> released = lent(owner, isReturned).release();
        EXPECT_NE(released.get(), owner.begin().get());
    }
    impl::ArrayImpl* const detached = lent(owner, isReturned).detach();
    EXPECT_NE(detached, owner.impl());
    const Array taken(detached);
    EXPECT_EQ(freedBuffers, 0);
    EXPECT_EQ(owner.getNumberOfElements(), 6u);
}

TEST_F(Ownership, theOnlyHandleGivesAwayTheArrayItself) {
    {
        TypedArray<double> array = counted();
        impl::ArrayImpl* const itself = array.impl();
        EXPECT_EQ(array.detach(), itself);
        EXPECT_EQ(freedBuffers, 0);
        array = TypedArray<double>(Array(itself));
        EXPECT_EQ(array.getDimensions(), (std::vector<unsigned long>{2, 3}));
    }
    EXPECT_EQ(freedBuffers, 1);
}

TEST_F(Ownership, oneOfManyHandlesGivesAwayACopy) {
    const TypedArray<double> first = counted();
    TypedArray<double> second = first;
    const Array taken(second.detach());
    EXPECT_NE(taken.impl(), first.impl());
    EXPECT_EQ(first.useCount(), 1);
    EXPECT_EQ(first.getNumberOfElements(), taken.getNumberOfElements());
    EXPECT_EQ(freedBuffers, 0);
}

TEST_F(Ownership, theEmptyArrayCanBeGivenAwayAsOftenAsOneLikes) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Array(Array().detach()).getNumberOfElements(), 0u);
    }
}

} // namespace
