// Typed handles, their iterators and visitors, over all element kinds.
#include "data_client/array_factory.hpp"
#include "data_client/numeric_visitor.hpp"
#include "data_client/set_element.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <iterator>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

using namespace orvane::data;

namespace {

static_assert(std::contiguous_iterator<TypedIterator<double>>);
static_assert(std::contiguous_iterator<TypedIterator<const std::complex<float>>>);
static_assert(std::is_nothrow_default_constructible_v<Array> && std::is_nothrow_move_constructible_v<Array>);

/// Tells the element kind that it was called for, how many handles hold the array meanwhile, and whether it
/// got the handle for characters.
struct KindVisitor {
    long handles = 0;
    bool gotCharArray = false;

    template <class T>
    ArrayType operator()(TypedArray<T> array) {
        handles = array.useCount();
        return arrayTypeOf<T>;
    }
    ArrayType operator()(CharArray array) {
        handles = array.useCount();
        gotCharArray = true;
        return ArrayType::Character;
    }
};

template <class T>
class TypedArrays : public testing::Test {
protected:
    /// The value at a position; neighbours differ also in `bool`.
    static T value(unsigned long position) {
        if constexpr (ComplexArrayElement<T>) {
            using Part = typename T::value_type;
            return T(static_cast<Part>(position), static_cast<Part>(position + 50));
        } else if constexpr (std::is_same_v<T, bool>) {
            return position % 2 == 1;
        } else {
            return static_cast<T>(position);
        }
    }

    /// 2-by-3, the values of the positions in order.
    static TypedArray<T> twoByThree() {
        ArrayFactory factory;
        auto buffer = factory.createBuffer<T>(6);
        for (unsigned long i = 0; i < 6; ++i) {
            buffer[i] = value(i);
        }
        return factory.createArrayFromBuffer<T>({2, 3}, std::move(buffer));
    }

    static std::vector<T> elementsOf(const TypedArray<T>& array) { return {array.begin(), array.end()}; }
};

template <class List>
struct AsTestTypes;
template <class... T>
struct AsTestTypes<std::tuple<T...>> {
    using Type = testing::Types<T...>;
};
TYPED_TEST_SUITE(TypedArrays, AsTestTypes<orvane::ElementKinds>::Type);

TYPED_TEST(TypedArrays, areMadeOfZerosInAnyShape) {
    for (const std::vector<unsigned long>& extents :
         {std::vector<unsigned long>{2, 3}, {3, 1, 2, 1, 4, 1}, {5}, {}, {~0UL, ~0UL, 0}}) {
        const TypedArray<TypeParam> array = ArrayFactory().createArray<TypeParam>(extents);
        EXPECT_EQ(array.getType(), arrayTypeOf<TypeParam>);
        EXPECT_EQ(array.getDimensions(), extents);
        EXPECT_EQ(this->elementsOf(array), std::vector<TypeParam>(array.getNumberOfElements()));
        EXPECT_EQ(array.getNumberOfElements(), extents.empty() ? 1u : extents[0] == 5 ? 5u : extents[0] * 3 % 24);
    }
}

TYPED_TEST(TypedArrays, writingASharedArrayLeavesTheOtherHandleItsElements) {
    auto array = this->twoByThree();
    const auto other = array;
    EXPECT_EQ(std::as_const(array).begin().get(), other.begin().get()) << "reading took a copy";

    std::reverse(array.begin(), array.end());
    const auto place = array.begin();
    EXPECT_NE(place.get(), other.begin().get());
    EXPECT_EQ(array.getDimensions(), other.getDimensions());
    EXPECT_EQ(array.getType(), other.getType());
    for (unsigned long i = 0; i < 6; ++i) {
        EXPECT_EQ(std::span(array.cbegin(), array.cend())[i], this->value(5 - i));
        EXPECT_EQ(other.begin()[static_cast<long>(i)], this->value(i));
    }
    EXPECT_EQ(array.useCount(), 1);
    EXPECT_EQ(array.begin().get(), place.get()) << "the only owner took a copy";
    auto iterator = place;
    const auto second = ++iterator;
    EXPECT_EQ(iterator++, second);
    EXPECT_EQ(--iterator, second);
    EXPECT_EQ(second - place, 1);
    EXPECT_LT(place, second);
}

TYPED_TEST(TypedArrays, releaseHandsOverTheVeryBufferOrACopyOfASharedOne) {
    auto array = this->twoByThree();
    const auto elements = this->elementsOf(array);
    auto shared = array;
    const auto copy = shared.release();
    EXPECT_NE(copy.get(), std::as_const(array).begin().get());
    EXPECT_EQ(std::vector<TypeParam>(copy.get(), copy.get() + 6), elements);

    shared = TypedArray<TypeParam>(ArrayFactory().createScalar<TypeParam>(this->value(1)));
    EXPECT_EQ(this->elementsOf(shared), std::vector<TypeParam>{this->value(1)});
    const TypeParam* const address = std::as_const(array).begin().get();
    const auto buffer = array.release();
    EXPECT_EQ(buffer.get(), address);
    EXPECT_EQ(std::vector<TypeParam>(buffer.get(), buffer.get() + 6), elements);
}

TYPED_TEST(TypedArrays, aHandleOfAnotherTypeIsRefusedAndLeavesTheSource) {
    using Other = std::conditional_t<std::is_same_v<TypeParam, double>, float, double>;
    using Refusal = detail::ArrayException<orvane::Exception, ExceptionType::InvalidArrayType>;
    Array array = this->twoByThree();
    EXPECT_THROW(TypedArray<Other>{array}, Refusal);
    EXPECT_THROW(TypedArray<Other>{std::move(array)}, Refusal);
    EXPECT_EQ(array.useCount(), 1);
    const TypedArray<TypeParam> typed(std::move(array));
    EXPECT_EQ(typed.useCount(), 1);
    EXPECT_EQ(typed.begin()[5], this->value(5));
}

TYPED_TEST(TypedArrays, anElementOfAComplexArrayIsWrittenThroughItsReference) {
    if constexpr (ComplexArrayElement<TypeParam>) {
        auto array = this->twoByThree();
        const auto other = array;
        const ReferenceHolder reference = array[4];
        detail::setElement(reference.impl(), this->value(77), static_cast<int>(arrayTypeOf<TypeParam>));
        auto expected = this->elementsOf(other);
        EXPECT_EQ(std::exchange(expected[4], this->value(77)), this->value(4));
        EXPECT_EQ(this->elementsOf(array), expected);
        EXPECT_THROW(array[6], std::exception);
    } else {
        static_assert(!requires(TypedArray<TypeParam> array) { array[0]; });
    }
}

TYPED_TEST(TypedArrays, aVisitorIsToldTheElementType) {
    Array array = this->twoByThree();
    KindVisitor visitor;
    EXPECT_EQ(apply_numeric_visitor(std::as_const(array), visitor), arrayTypeOf<TypeParam>);
    EXPECT_EQ(visitor.gotCharArray, (std::is_same_v<TypeParam, char16_t>));
    EXPECT_EQ(visitor.handles, 2) << "shares the array with the caller";
    EXPECT_EQ(apply_numeric_visitor(std::move(array), visitor), arrayTypeOf<TypeParam>);
    EXPECT_EQ(visitor.handles, 1) << "handed over";
}

TEST(Arrays, theDefaultArrayIsEmpty) {
    const Array array;
    EXPECT_EQ(array.getType(), ArrayType::Double);
    EXPECT_EQ(array.getDimensions(), (std::vector<unsigned long>{0, 0}));
    const TypedArray<double> typed(array);
    EXPECT_EQ(typed.begin(), typed.end());
}

} // namespace
