// The library at its boundary, where client classes never go: kinds, layouts and numbers that do not exist, nulls,
// every way to an element. What clients do with it is tested through their classes.
#include "data_array/deleter_count.hpp"
#include "data_client/array_factory.hpp"

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <set>

using namespace orvane::data;
using detail::FunctionType;

namespace {

/// Calls the function that bears the number; `int` results come back as the statuses that they are.
template <FunctionType Number, class... Arguments>
auto call(Arguments... arguments) {
    const auto function = reinterpret_cast<detail::BoundaryPointer<Number>>(get_function_ptr(static_cast<int>(Number)));
    if constexpr (std::is_same_v<decltype(function(arguments...)), int>) {
        return Status{function(arguments...)};
    } else {
        return function(arguments...);
    }
}

using Extents = std::vector<unsigned long>;
using Element = std::complex<std::int32_t>;
constexpr int complexType = orvane::arrayTypeNumber<Element>;
constexpr int int16Type = orvane::arrayTypeNumber<std::int16_t>;
constexpr int uint8Type = orvane::arrayTypeNumber<std::uint8_t>;
constexpr int doubleType = orvane::arrayTypeNumber<double>;
constexpr unsigned long mebibyte = 1UL << 20;
constexpr unsigned long most = ~0UL;

impl::ArrayFactoryImpl* factory() {
    impl::ArrayFactoryImpl* made = nullptr;
    EXPECT_EQ(call<FunctionType::FactoryCreate>(&made), Status::Success);
    return made;
}

struct MadeBuffer {
    void* buffer = nullptr;
    detail::BufferDeleter deleter = nullptr;
    Status status;

    MadeBuffer(int type, unsigned long size)
        : status(call<FunctionType::FactoryCreateBuffer>(factory(), &buffer, &deleter, type, size)) {}
};

TEST(Buffers, areAlignedAndWritableToTheirEndAndLeaveNoTraceInTheNextArray) {
    for (const unsigned long size :
         {0UL, 1UL, 63UL, 64UL, 4096UL, 300'000UL, 4 * mebibyte - 1, 4 * mebibyte, 9 * mebibyte + 5, 11 * mebibyte}) {
        for (int repeat = 0; repeat < 5; ++repeat) {
            const MadeBuffer made(uint8Type, size);
            ASSERT_NE(made.buffer, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(made.buffer) % 64, 0u) << size;
            std::memset(made.buffer, 0xA5, size);
            made.deleter(made.buffer);
        }
        const auto array = ArrayFactory().createArray<std::uint8_t>({size, 1});
        EXPECT_EQ(std::accumulate(array.begin(), array.end(), 0), 0) << size;
    }
}

TEST(Creation, refusesUnknownKindsAndWhatCannotBeCountedOrHeld) {
    constexpr unsigned long half = 1UL << 32;
    const std::tuple<int, Extents, Status> rows[] = {
        {-1, {1, 1}, Status::ArrayTypeMismatch},
        {2, {1, 1}, Status::ArrayTypeMismatch},
        {23, {1, 1}, Status::ArrayTypeMismatch},
        {1 << 20, {1, 1}, Status::ArrayTypeMismatch},
        {uint8Type, {half, half / 2}, Status::TooManyElements},
        {uint8Type, {most, 1}, Status::TooManyElements},
        {uint8Type, {half, half, half}, Status::TooManyElements},
        {doubleType, {half, 1UL << 28}, Status::TooManyElements},
        {orvane::arrayTypeNumber<std::complex<double>>, {1UL << 59, 1}, Status::TooManyElements},
        {uint8Type, {half, half / 4}, Status::OutOfMemory},
        {doubleType, {1UL << 58, 1}, Status::OutOfMemory},
        {uint8Type, {most >> 1, 1}, Status::OutOfMemory},
    };
    impl::ArrayImpl* array = nullptr;
    for (auto [type, extents, expected] : rows) {
        EXPECT_EQ(call<FunctionType::FactoryCreateArray>(factory(), type, extents.data(), extents.size(), &array),
                  expected);
        EXPECT_EQ(array, nullptr);
        if (extents.back() == 1) {
            const MadeBuffer made(type, extents[0]);
            EXPECT_EQ(made.status, expected);
            EXPECT_EQ(made.buffer, nullptr);
        }
    }
    EXPECT_EQ(call<FunctionType::FactoryCreateScalar>(factory(), 2, rows, &array), Status::ArrayTypeMismatch);
}

TEST(Creation, aBufferStaysInPlaceAndIsFreedOnceAlsoWhenRefused) {
    freedBuffers = 0;
    int freed = 0;
    unsigned long extents[] = {2, 3};
    const auto adopt = [&](impl::ArrayFactoryImpl* by, int type, int layout, Status expected) {
        void* const block = std::calloc(6, sizeof(std::int16_t));
        impl::ArrayImpl* made = nullptr;
        EXPECT_EQ(
            call<FunctionType::FactoryCreateArrayFromBuffer>(by, type, extents, 2UL, block, countedFree, &made, layout),
            expected);
        EXPECT_EQ(made != nullptr, expected == Status::Success);
        if (made != nullptr) {
            EXPECT_EQ(static_cast<const void*>(TypedArray<std::int16_t>(Array(made)).cbegin().get()), block);
        }
        EXPECT_EQ(freedBuffers, ++freed);
    };
    adopt(factory(), int16Type, 0, Status::Success);
    adopt(factory(), int16Type, 1, Status::Success);
    adopt(factory(), int16Type, 2, Status::Unsupported);
    adopt(factory(), 2, 0, Status::ArrayTypeMismatch);
    adopt(nullptr, int16Type, 0, Status::SystemError);
    extents[0] = most;
    adopt(factory(), int16Type, 0, Status::TooManyElements);
    const auto adoptColumns = [&](std::int16_t* block, detail::BufferDeleter deleter, unsigned long* dims) {
        impl::ArrayImpl* array = nullptr;
        const Status status = call<FunctionType::FactoryCreateArrayFromColumnMajorBuffer>(factory(), int16Type, dims,
                                                                                          2UL, block, deleter, &array);
        call<FunctionType::ArrayDestroy>(array);
        return status;
    };
    std::int16_t own[6] = {1, 2, 3, 4, 5, 6};
    extents[0] = 2;
    EXPECT_EQ(adoptColumns(own, nullptr, extents), Status::Success);
    EXPECT_EQ(own[5], 6) << "what has no deleter stays the caller's";
    EXPECT_EQ(adoptColumns(own, nullptr, nullptr), Status::SystemError);
    EXPECT_EQ(adoptColumns(nullptr, countedFree, extents), Status::SystemError);
    extents[0] = 0;
    EXPECT_EQ(adoptColumns(nullptr, countedFree, extents), Status::Success);
    EXPECT_EQ(freedBuffers, freed);
}

TEST(Elements, allWaysToAPlaceLeadToTheSameAddress) {
    const auto array = ArrayFactory().createArray<Element>({2, 2});
    detail::IteratorImpl* const begin = call<FunctionType::ArrayBeginFallback>(array.impl(), false);
    detail::IteratorImpl* const end = call<FunctionType::ArrayEndFallback>(array.impl(), true);
    void *first, *last, *realPart, *imagPart;
    call<FunctionType::IteratorGetElement>(call<FunctionType::IteratorClone>(begin), &first);
    call<FunctionType::IteratorGetComplexElement>(end, &last);
    EXPECT_EQ(first, array.cbegin().get());
    EXPECT_EQ(last, array.cbegin().get() + 4);
    detail::ReferenceImpl* made = nullptr;
    call<FunctionType::IteratorGetReference>(begin, &made);
    const ReferenceHolder reference(made);
    ASSERT_EQ(call<FunctionType::ReferenceGetParts>(made, &realPart, &imagPart), Status::Success);
    EXPECT_EQ(realPart, first);
    EXPECT_EQ(imagPart, static_cast<std::int32_t*>(first) + 1);
}

TEST(Elements, referencesRefuseWhatIsNoElement) {
    const auto array = ArrayFactory().createArray<Element>({2, 2});
    const auto reals = ArrayFactory().createArray<std::int32_t>({1, 1});
    const auto none = ArrayFactory().createArray<Element>({0, 2});
    const auto referenceTo = [](const Array& to, unsigned long index, Status expected) {
        detail::ReferenceImpl* made = nullptr;
        EXPECT_EQ(call<FunctionType::ArrayGetReference>(to.impl(), index, &made), expected);
        return ReferenceHolder(made);
    };
    referenceTo(array, 4, Status::InvalidIndex);
    referenceTo(array, most, Status::InvalidIndex);
    referenceTo(none, 0, Status::EmptyArray);
    const auto reference = referenceTo(array, 0, Status::Success), real = referenceTo(reals, 0, Status::Success);
    double part = 1;
    void* parts[2];
    const auto set = [&](detail::ReferenceImpl* to, int type, void* imaginary) {
        return call<FunctionType::ReferenceSetComplex>(to, type, &part, imaginary);
    };
    EXPECT_EQ(set(reference.impl(), orvane::arrayTypeNumber<std::complex<double>>, &part), Status::TypeMismatch);
    EXPECT_EQ(set(reference.impl(), complexType, nullptr), Status::SystemError);
    EXPECT_EQ(set(nullptr, complexType, &part), Status::SystemError);
    EXPECT_EQ(set(real.impl(), orvane::arrayTypeNumber<std::int32_t>, &part), Status::Unsupported);
    EXPECT_EQ(call<FunctionType::ReferenceGetParts>(real.impl(), &parts[0], &parts[1]), Status::Unsupported);
    EXPECT_EQ(array.cbegin()[0], Element(0));
}

TEST(Arrays, typesAreConvertibleWhenTheyAreOneKnownType) {
    for (int wanted = -1; wanted <= orvane::arrayTypeLimit; ++wanted) {
        for (int actual = -1; actual <= orvane::arrayTypeLimit; ++actual) {
            bool convertible = wanted != actual;
            ASSERT_EQ(call<FunctionType::TypesAreConvertible>(wanted, actual, &convertible), Status::Success);
            EXPECT_EQ(convertible, wanted == actual && orvane::isElementKind(wanted)) << wanted << ' ' << actual;
        }
    }
}

TEST(Nulls, areAnsweredWithNullsAndStatuses) {
    impl::ArrayImpl* const noArray = nullptr;
    impl::ArrayImpl* made = nullptr;
    detail::ReferenceImpl* reference = nullptr;
    void* place = &made;
    detail::BufferDeleter deleter = nullptr;
    int type = 0;
    unsigned long count = 1;
    unsigned long* extents = &count;
    for (const Status status : {
             call<FunctionType::FactoryCreateArray>(nullptr, doubleType, extents, 1UL, &made),
             call<FunctionType::FactoryCreateArray>(factory(), doubleType, nullptr, 1UL, &made),
             call<FunctionType::FactoryCreateArray>(factory(), doubleType, extents, 1UL, nullptr),
             call<FunctionType::FactoryCreate>(nullptr),
             call<FunctionType::FactoryCreateScalar>(factory(), doubleType, nullptr, &made),
             call<FunctionType::FactoryCreateBuffer>(factory(), nullptr, nullptr, doubleType, 1UL),
             call<FunctionType::ArrayGetType>(noArray, &type),
             call<FunctionType::ArrayRelease>(noArray, true, &place, &deleter),
             call<FunctionType::ArrayGetReference>(noArray, 0UL, &reference),
             call<FunctionType::TypesAreConvertible>(3, 3, nullptr),
             call<FunctionType::ReferenceGetParts>(nullptr, &place, &place),
         }) {
        EXPECT_EQ(status, Status::SystemError);
    }
    call<FunctionType::ArrayGetDimensions>(noArray, &count, &extents);
    call<FunctionType::IteratorGetElement>(nullptr, &place);
    call<FunctionType::IteratorGetReference>(nullptr, &reference);
    EXPECT_EQ(call<FunctionType::ArrayGetNumberOfElements>(noArray) + count, 0u);
    EXPECT_EQ(call<FunctionType::ArrayBegin>(noArray, false), nullptr);
    EXPECT_EQ(call<FunctionType::ArrayEnd>(noArray, false), nullptr);
    EXPECT_TRUE(extents == nullptr && place == nullptr && reference == nullptr && made == nullptr);
    call<FunctionType::ArrayDestroy>(noArray);
    call<FunctionType::ReferenceDestroy>(nullptr);
    call<FunctionType::IteratorDestroy>(nullptr);
}

// Written out once more here: these numbers are what independent clients have compiled in.
const std::set<int> offeredNumbers = {1,  3,  11, 13, 14, 15, 23, 49, 50, 51, 52,  53,  55,  56,
                                      57, 58, 59, 60, 63, 64, 71, 72, 94, 96, 110, 113, 114, 115};
const std::set<int> numbersOfOurOwn = {0x4F560001, 0x4F560002, 0x4F560003};

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
