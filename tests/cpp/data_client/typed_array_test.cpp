// Typed handles, their iterators and visitors, over all element kinds.
#include "data_client/array_factory.hpp"
#include "data_client/column_major_span.hpp"
#include "data_client/numeric_visitor.hpp"
#include "data_client/set_element.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

using namespace orvane::data;

namespace {

static_assert(std::contiguous_iterator<TypedIterator<double>>);
static_assert(std::contiguous_iterator<TypedIterator<const std::complex<float>>>);
// Loops over handles only read.
static_assert(std::ranges::contiguous_range<const TypedArray<double>> && !std::ranges::range<TypedArray<double>&>);
static_assert(std::is_nothrow_default_constructible_v<Array> && std::is_nothrow_move_constructible_v<Array>);

using Extents = std::vector<unsigned long>;

template <class Check>
void forEachKind(Check check) {
    [&]<class... T>(std::type_identity<std::tuple<T...>>) {
        const auto checkKind = [&]<class Kind>(std::type_identity<Kind>) {
            SCOPED_TRACE(static_cast<int>(arrayTypeOf<Kind>));
            check.template operator()<Kind>();
        };
        (checkKind(std::type_identity<T>()), ...);
    }(std::type_identity<orvane::ElementKinds>());
}

/// The value at a position; neighbours differ also in `bool`.
template <class T>
T value(int position) {
    if constexpr (ComplexArrayElement<T>) {
        using Part = typename T::value_type;
        return T(static_cast<Part>(position), static_cast<Part>(position + 50));
    } else {
        return static_cast<T>(std::is_same_v<T, bool> ? position % 2 : position);
    }
}

template <class T>
std::vector<T> values() {
    return {value<T>(0), value<T>(1), value<T>(2), value<T>(3), value<T>(4), value<T>(5)};
}

template <class T>
std::vector<T> elements(const TypedArray<T>& array) {
    return {array.cbegin(), array.cend()};
}

template <class T>
TypedArray<T> twoByThree() {
    auto buffer = ArrayFactory().createBuffer<T>(6);
    std::ranges::copy(values<T>(), buffer.get());
    return ArrayFactory().createArrayFromBuffer<T>({2, 3}, std::move(buffer));
}

TEST(TypedArrays, areMadeOfZerosInAnyShape) {
    forEachKind([]<class T>() {
        const std::pair<Extents, unsigned long> shapes[] = {
            {{3, 1, 2, 1, 4, 1}, 24}, {{5}, 5}, {{}, 1}, {{~0UL, ~0UL, 0}, 0}};
        for (const auto& [extents, count] : shapes) {
            const TypedArray<T> array = ArrayFactory().createArray<T>(extents);
            EXPECT_EQ(array.getType(), arrayTypeOf<T>);
            EXPECT_EQ(array.getDimensions(), extents);
            EXPECT_EQ(array.getNumberOfElements(), count);
            EXPECT_EQ(elements(array), std::vector<T>(count));
        }
        EXPECT_EQ(elements(TypedArray<T>(ArrayFactory().createScalar<T>(value<T>(1)))), std::vector<T>{value<T>(1)});
    });
    for (int repeat = 0; repeat < 3; ++repeat) { // the empty one can be released and destroyed any number of times
        TypedArray<double> empty{Array()};
        EXPECT_EQ(elements(empty), std::vector<double>());
        empty.release();
    }
    EXPECT_EQ(TypedArray<std::int8_t>().getDimensions(), (Extents{0, 0}));
}

TEST(TypedArrays, writingASharedArrayLeavesTheOtherHandleItsElements) {
    forEachKind([]<class T>() {
        auto array = twoByThree<T>();
        const auto other = array;
        EXPECT_EQ(array.cbegin().get(), other.cbegin().get()) << "reading took a copy";
        std::ranges::reverse(writableElementsOf(array).flat());
        auto reversed = values<T>();
        std::reverse(reversed.begin(), reversed.end());
        EXPECT_EQ(elements(array), reversed);
        EXPECT_EQ(elements(other), values<T>());
        EXPECT_EQ(array.getDimensions(), other.getDimensions());
        EXPECT_EQ(array.useCount(), 1);
        const T* const place = array.cbegin().get();
        EXPECT_EQ(writableElementsOf(array).flat().data(), place) << "the only owner took a copy";
    });
}

TEST(TypedArrays, releaseHandsOverTheVeryBufferOrACopyOfASharedOne) {
    forEachKind([]<class T>() {
        auto array = twoByThree<T>();
        const T* const address = array.cbegin().get();
        const auto copy = TypedArray<T>(array).release();
        EXPECT_NE(copy.get(), address);
        EXPECT_EQ(std::vector<T>(copy.get(), copy.get() + 6), values<T>());
        auto buffer = array.release();
        EXPECT_EQ(buffer.get(), address);
        EXPECT_EQ(std::vector<T>(buffer.get(), buffer.get() + 6), values<T>());
        const auto next = ArrayFactory().createArrayFromBuffer<T>({3, 2}, std::move(buffer));
        EXPECT_NE(next.impl(), array.impl()) << "made where the first one still stands";
        EXPECT_EQ(elements(ArrayFactory().createArrayFromBuffer<T>({0}, std::move(buffer))), std::vector<T>());
    });
}

TEST(TypedArrays, aSpanIsReadByPlacesColumnsAndStrides) {
    TypedArray<double> array = ArrayFactory().createArray<double>({2, 3, 4});
    std::ranges::generate(writableElementsOf(array).flat(), [next = 0]() mutable { return next++; });
    const auto elements = elementsOf(array);
    EXPECT_EQ(elements.rank(), 3u);
    EXPECT_EQ(elements.extents(), (std::vector<std::size_t>{2, 3, 4}));
    EXPECT_EQ(elements.strides(), (std::vector<std::ptrdiff_t>{1, 2, 6}));
    EXPECT_EQ(elements(1, 2, 3) - elements(1, 0) - elements(0, 1, 1), 23 - 1 - 8);
    EXPECT_EQ(elements(1, 2, 3, 0), 23) << "a dimension that was dropped";
    EXPECT_EQ(elements.extent(3), 1u);
    EXPECT_TRUE(std::ranges::equal(elements.column(2), std::vector{4, 5}));
#ifdef __cpp_lib_mdspan
    const auto view = elements.toMdspan<4>();
    EXPECT_EQ((std::vector{view.extent(1), view.extent(3), view.stride(2)}), (std::vector<std::size_t>{3, 1, 6}));
    EXPECT_EQ((&view[std::array<std::size_t, 4>{1, 2, 3, 0}]), &elements(1, 2, 3));
#endif
}

TEST(TypedArrays, aHandleOfAnotherTypeIsRefusedAndLeavesTheSource) {
    using Refusal = detail::ArrayException<orvane::Exception, ExceptionType::InvalidArrayType>;
    forEachKind([]<class T>() {
        using Other = std::conditional_t<std::is_same_v<T, double>, float, double>;
        Array array = twoByThree<T>();
        EXPECT_THROW(TypedArray<Other>{array}, Refusal);
        EXPECT_THROW(TypedArray<Other>{std::move(array)}, Refusal);
        EXPECT_EQ(array.useCount(), 1);
        const TypedArray<T> typed(std::move(array));
        EXPECT_EQ(typed.useCount(), 1);
        EXPECT_EQ(elements(typed), values<T>());
    });
}

TEST(TypedArrays, anElementOfAComplexArrayIsWrittenThroughItsReference) {
    forEachKind([]<class T>() {
        if constexpr (ComplexArrayElement<T>) {
            auto array = twoByThree<T>();
            const auto other = array;
            const ReferenceHolder reference = array[4];
            detail::setElement(reference.impl(), value<T>(77), static_cast<int>(arrayTypeOf<T>));
            auto expected = values<T>();
            EXPECT_EQ(elements(other), expected);
            expected[4] = value<T>(77);
            EXPECT_EQ(elements(array), expected);
            EXPECT_THROW(array[6], std::exception);
        } else {
            static_assert(!requires(TypedArray<T> array) { array[0]; });
        }
    });
}

TEST(TypedArrays, aVisitorIsToldTheElementType) {
    forEachKind([]<class T>() {
        Array array = twoByThree<T>();
        long handles = 0;
        const auto visit = [&]<class Handle>(Handle visited) {
            handles = visited.useCount();
            EXPECT_EQ((std::is_same_v<Handle, CharArray>), (std::is_same_v<T, char16_t>));
            return visited.getType();
        };
        EXPECT_EQ(apply_numeric_visitor(std::as_const(array), visit), arrayTypeOf<T>);
        EXPECT_EQ(handles, 2) << "shares the array with the caller";
        EXPECT_EQ(apply_numeric_visitor(std::move(array), visit), arrayTypeOf<T>);
        EXPECT_EQ(handles, 1) << "handed over";
    });
}

} // namespace
