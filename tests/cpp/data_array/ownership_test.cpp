// Who owns the storage: adopted buffers, copy-on-write, release.
#include "data_array/boundary_calls.hpp"
#include "data_array/deleter_count.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <numeric>

using namespace boundary;

namespace {

constexpr int int16Type = orvane::arrayTypeNumber<std::int16_t>;

class Ownership : public testing::Test {
protected:
    void SetUp() override { freedBuffers = 0; }

    /// Six elements, 0 to 5, that count their free.
    static std::int16_t* sixElements() {
        auto* const elements = static_cast<std::int16_t*>(std::malloc(6 * sizeof(std::int16_t)));
        std::iota(elements, elements + 6, std::int16_t{0});
        return elements;
    }

    static ArrayPointer twoByThree(MemoryLayout layout = MemoryLayout::ColumnMajor) {
        ArrayPointer array;
        EXPECT_EQ(adopt(int16Type, {2, 3}, sixElements(), countedFree, layout, array), Status::Success);
        return array;
    }
};

TEST_F(Ownership, anAdoptedBufferStaysInPlaceInEitherLayoutAndIsFreedOnce) {
    for (const MemoryLayout layout : {MemoryLayout::ColumnMajor, MemoryLayout::RowMajor}) {
        freedBuffers = 0;
        std::int16_t* const elements = sixElements();
        ArrayPointer array;
        ASSERT_EQ(adopt(int16Type, {2, 3}, elements, countedFree, layout, array), Status::Success);
        EXPECT_EQ(static_cast<void*>(dataOf(array)), elements);
        EXPECT_TRUE(std::is_sorted(elements, elements + 6)) << "the elements were reordered";
        EXPECT_EQ(freedBuffers, 0);
        array.reset();
        EXPECT_EQ(freedBuffers, 1);
    }
}

TEST_F(Ownership, aRefusedBufferIsFreedOnce) {
    const unsigned long most = ~0UL;
    ArrayPointer array;
    int refused = 0;
    const auto expectRefusal = [&](Status expected, Status given) {
        EXPECT_EQ(given, expected);
        EXPECT_EQ(array, nullptr);
        EXPECT_EQ(freedBuffers, ++refused);
    };
    const auto columnMajor = MemoryLayout::ColumnMajor;
    expectRefusal(Status::ArrayTypeMismatch, adopt(2, {2, 3}, sixElements(), countedFree, columnMajor, array));
    expectRefusal(Status::TooManyElements, adopt(int16Type, {most, 2}, sixElements(), countedFree, columnMajor, array));
    expectRefusal(Status::Unsupported, adopt(int16Type, {2, 3}, sixElements(), countedFree, MemoryLayout{2}, array));
    expectRefusal(Status::SystemError, call<FunctionType::FactoryCreateArrayFromBuffer>(
                                           nullptr, int16Type, nullptr, 0UL, sixElements(), countedFree, nullptr, 0));
    unsigned long extents[] = {2, 3};
    expectRefusal(Status::SystemError, call<FunctionType::FactoryCreateArrayFromColumnMajorBuffer>(
                                           factory(), int16Type, extents, 2UL, sixElements(), countedFree, nullptr));
}

TEST_F(Ownership, aNullBufferServesForNoElementsOnly) {
    ArrayPointer array;
    EXPECT_EQ(adopt(int16Type, {2, 3}, nullptr, countedFree, MemoryLayout::ColumnMajor, array), Status::SystemError);
    EXPECT_EQ(adopt(int16Type, {0, 3}, nullptr, countedFree, MemoryLayout::ColumnMajor, array), Status::Success);
    array.reset();
    EXPECT_EQ(freedBuffers, 0);
}

TEST_F(Ownership, aBufferWithoutDeleterStaysTheCallers) {
    std::int16_t elements[6] = {1, 2, 3, 4, 5, 6};
    ArrayPointer array;
    ASSERT_EQ(adopt(int16Type, {2, 3}, elements, nullptr, MemoryLayout::ColumnMajor, array), Status::Success);
    array.reset();
    EXPECT_EQ(elements[5], 6);
}

TEST_F(Ownership, releaseOfASharedArrayHandsOverACopy) {
    const ArrayPointer array = twoByThree();
    void* buffer = nullptr;
    BufferDeleter deleter = nullptr;
    ASSERT_EQ(call<FunctionType::ArrayRelease>(array.get(), false, &buffer, &deleter), Status::Success);
    EXPECT_NE(buffer, dataOf(array));
    EXPECT_TRUE(std::ranges::equal(bytesOf(array), std::span(static_cast<std::byte*>(buffer), 12)));
    deleter(buffer);
    EXPECT_EQ(freedBuffers, 0);
}

TEST_F(Ownership, theEmptyArrayCanBeReadReleasedAndDestroyedAnyNumberOfTimes) {
    for (int repeat = 0; repeat < 3; ++repeat) {
        const ArrayPointer array(call<FunctionType::ArrayCreateEmpty>());
        EXPECT_EQ(typeOf(array), orvane::arrayTypeNumber<double>);
        EXPECT_EQ(extentsOf(array), (Extents{0, 0}));
        EXPECT_EQ(countOf(array), 0u);
        void* buffer = nullptr;
        BufferDeleter deleter = nullptr;
        ASSERT_EQ(call<FunctionType::ArrayRelease>(array.get(), true, &buffer, &deleter), Status::Success);
        deleter(buffer);
    }
}

TEST_F(Ownership, typesAreConvertibleWhenTheyAreOneKnownType) {
    for (int wanted = -1; wanted <= orvane::arrayTypeLimit; ++wanted) {
        for (int actual = -1; actual <= orvane::arrayTypeLimit; ++actual) {
            bool convertible = wanted != actual;
            ASSERT_EQ(call<FunctionType::TypesAreConvertible>(wanted, actual, &convertible), Status::Success);
            EXPECT_EQ(convertible, wanted == actual && orvane::isElementKind(wanted)) << wanted << ' ' << actual;
        }
    }
}

TEST_F(Ownership, nullsAreAnsweredWithAStatus) {
    ArrayImpl* const noArray = nullptr;
    void* buffer = nullptr;
    BufferDeleter deleter = nullptr;
    int type = 0;
    EXPECT_EQ(call<FunctionType::ArrayGetType>(noArray, &type), Status::SystemError);
    EXPECT_EQ(call<FunctionType::ArrayRelease>(noArray, true, &buffer, &deleter), Status::SystemError);
    EXPECT_EQ(call<FunctionType::TypesAreConvertible>(3, 3, nullptr), Status::SystemError);
    EXPECT_EQ(call<FunctionType::ArrayGetNumberOfElements>(noArray), 0u);
    EXPECT_EQ(extentsOf(ArrayPointer()), Extents());
    call<FunctionType::ArrayDestroy>(noArray);
}

} // namespace
