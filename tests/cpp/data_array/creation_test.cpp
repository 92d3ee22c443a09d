// Making arrays and buffers: shapes, contents, alignment, refusals.
#include "data_array/boundary_calls.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstring>

using namespace boundary;

namespace {

constexpr unsigned long mebibyte = 1UL << 20;
constexpr unsigned long most = ~0UL;
constexpr int uint8Type = orvane::arrayTypeNumber<std::uint8_t>;
constexpr int doubleType = orvane::arrayTypeNumber<double>;

bool isZero(std::byte byte) {
    return byte == std::byte{0};
}

TEST(CreateArray, isZeroFilledAndOfItsShapeInEveryKind) {
    for (const int type : allElementKinds()) {
        for (const Extents& extents : {Extents{2, 3}, Extents{1, 1}, Extents{3, 1, 2, 1, 4, 1}, Extents{5}, Extents{},
                                       Extents{0, 3}, Extents{0}, Extents{most, most, 0}, Extents{0, most, most}}) {
            ArrayPointer array;
            ASSERT_EQ(createArray(type, extents, array), Status::Success);
            EXPECT_EQ(typeOf(array), type);
            EXPECT_EQ(extentsOf(array), extents);
            unsigned long count = 1;
            for (const unsigned long extent : extents) {
                count *= extent;
            }
            EXPECT_EQ(countOf(array), count);
            EXPECT_TRUE(std::ranges::all_of(bytesOf(array), isZero));
        }
    }
}

TEST(CreateArray, isZeroFilledAlsoWhereMemoryServesAgain) {
    for (const unsigned long size : {16UL, 1000UL, 300'000UL, 3 * mebibyte, 9 * mebibyte + 5}) {
        void* buffer = nullptr;
        BufferDeleter deleter = nullptr;
        ASSERT_EQ(call<FunctionType::FactoryCreateBuffer>(factory(), &buffer, &deleter, uint8Type, size),
                  Status::Success);
        std::memset(buffer, 0xA5, size);
        deleter(buffer);
        ArrayPointer array;
        ASSERT_EQ(createArray(uint8Type, {size, 1}, array), Status::Success);
        EXPECT_TRUE(std::ranges::all_of(bytesOf(array), isZero)) << size;
    }
}

TEST(Creation, refusesWhatCannotBeCountedOrHeld) {
    constexpr unsigned long half = 1UL << 32;
    const struct {
        int type;
        Extents extents;
        Status expected;
    } rows[] = {
        {uint8Type, {half, half / 2}, Status::TooManyElements},
        {uint8Type, {most, 1}, Status::TooManyElements},
        {uint8Type, {half, half, half}, Status::TooManyElements},
        {doubleType, {half, 1UL << 28}, Status::TooManyElements},
        {orvane::arrayTypeNumber<std::complex<double>>, {1UL << 59, 1}, Status::TooManyElements},
        {uint8Type, {half, half / 4}, Status::OutOfMemory},
        {doubleType, {1UL << 58, 1}, Status::OutOfMemory},
        {uint8Type, {most >> 1, 1}, Status::OutOfMemory},
    };
    for (const auto& [type, extents, expected] : rows) {
        ArrayPointer array;
        EXPECT_EQ(createArray(type, extents, array), expected);
        EXPECT_EQ(array, nullptr);
        if (extents.back() == 1) {
            void* buffer = nullptr;
            BufferDeleter deleter = nullptr;
            EXPECT_EQ(call<FunctionType::FactoryCreateBuffer>(factory(), &buffer, &deleter, type, extents[0]),
                      expected);
            EXPECT_EQ(buffer, nullptr);
        }
    }
}

TEST(CreateBuffer, isAlignedAndWritableToItsEnd) {
    for (const unsigned long size :
         {0UL, 1UL, 63UL, 64UL, 65UL, 4096UL, 4 * mebibyte - 1, 4 * mebibyte, 11 * mebibyte}) {
        for (int repeat = 0; repeat < 5; ++repeat) {
            void* buffer = nullptr;
            BufferDeleter deleter = nullptr;
            ASSERT_EQ(call<FunctionType::FactoryCreateBuffer>(factory(), &buffer, &deleter, uint8Type, size),
                      Status::Success);
            ASSERT_NE(buffer, nullptr);
            ASSERT_NE(deleter, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer) % 64, 0u) << size;
            std::memset(buffer, 1, size);
            deleter(buffer);
        }
    }
}

TEST(CreateScalar, copiesTheValue) {
    std::complex<std::int16_t> value(-7, 9);
    const int type = orvane::arrayTypeNumber<std::complex<std::int16_t>>;
    ArrayImpl* made = nullptr;
    ASSERT_EQ(call<FunctionType::FactoryCreateScalar>(factory(), type, &value, &made), Status::Success);
    const ArrayPointer array(made);
    value = 0;
    EXPECT_EQ(extentsOf(array), (Extents{1, 1}));
    EXPECT_EQ(*reinterpret_cast<const std::complex<std::int16_t>*>(dataOf(array)), std::complex<std::int16_t>(-7, 9));
}

TEST(Creation, refusesNumbersThatNoElementKindBears) {
    const double value = 1;
    for (const int type : noElementKinds) {
        ArrayPointer array;
        ArrayImpl* made = nullptr;
        void* buffer = nullptr;
        BufferDeleter deleter = nullptr;
        EXPECT_EQ(createArray(type, {1, 1}, array), Status::ArrayTypeMismatch);
        EXPECT_EQ(call<FunctionType::FactoryCreateScalar>(factory(), type, &value, &made), Status::ArrayTypeMismatch);
        EXPECT_EQ(call<FunctionType::FactoryCreateBuffer>(factory(), &buffer, &deleter, type, 1UL),
                  Status::ArrayTypeMismatch);
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(buffer, nullptr);
    }
}

TEST(Creation, refusesNullsWhereObjectsAreNeeded) {
    unsigned long extents[] = {1, 1};
    ArrayFactoryImpl* const noFactory = nullptr;
    ArrayImpl** const noPlace = nullptr;
    ArrayImpl* made = nullptr;
    EXPECT_EQ(call<FunctionType::FactoryCreate>(nullptr), Status::SystemError);
    EXPECT_EQ(call<FunctionType::FactoryCreateArray>(noFactory, doubleType, extents, 2UL, &made), Status::SystemError);
    EXPECT_EQ(call<FunctionType::FactoryCreateArray>(factory(), doubleType, extents, 2UL, noPlace),
              Status::SystemError);
    EXPECT_EQ(call<FunctionType::FactoryCreateArray>(factory(), doubleType, nullptr, 2UL, &made), Status::SystemError);
    EXPECT_EQ(call<FunctionType::FactoryCreateScalar>(factory(), doubleType, nullptr, &made), Status::SystemError);
    EXPECT_EQ(call<FunctionType::FactoryCreateBuffer>(factory(), nullptr, nullptr, doubleType, 1UL),
              Status::SystemError);
    EXPECT_EQ(made, nullptr);
}

} // namespace
