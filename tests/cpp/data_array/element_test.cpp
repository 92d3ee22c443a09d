// Reaching elements: iterators and references.
#include "data_array/boundary_calls.hpp"

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>

using namespace boundary;

namespace {

using Element = std::complex<std::int32_t>;
constexpr int complexType = orvane::arrayTypeNumber<Element>;

class Elements : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(createArray(complexType, {2, 2}, array), Status::Success); }

    Element* elements() const { return reinterpret_cast<Element*>(dataOf(array)); }

    ReferencePointer referenceTo(unsigned long index) const {
        ReferenceImpl* made = nullptr;
        EXPECT_EQ(call<FunctionType::ArrayGetReference>(array.get(), index, &made), Status::Success);
        return ReferencePointer(made);
    }

    ArrayPointer array;
};

TEST_F(Elements, allWaysToAPlaceLeadToTheSameAddress) {
    struct {
        IteratorImpl* iterator;
        Element* expected;
    } const places[] = {
        {call<FunctionType::ArrayBegin>(array.get(), true), elements()},
        {call<FunctionType::ArrayBeginFallback>(array.get(), false), elements()},
        {call<FunctionType::ArrayEnd>(array.get(), false), elements() + 4},
        {call<FunctionType::ArrayEndFallback>(array.get(), true), elements() + 4},
    };
    for (const auto& [iterator, expected] : places) {
        IteratorImpl* const clone = call<FunctionType::IteratorClone>(iterator);
        call<FunctionType::IteratorDestroy>(iterator);
        void* element = nullptr;
        void* complexElement = nullptr;
        ReferenceImpl* made = nullptr;
        call<FunctionType::IteratorGetElement>(clone, &element);
        call<FunctionType::IteratorGetComplexElement>(clone, &complexElement);
        call<FunctionType::IteratorGetReference>(clone, &made);
        const ReferencePointer reference(made);
        void* realPart = nullptr;
        void* imagPart = nullptr;
        ASSERT_EQ(call<FunctionType::ReferenceGetParts>(made, &realPart, &imagPart), Status::Success);
        EXPECT_EQ(element, expected);
        EXPECT_EQ(complexElement, expected);
        EXPECT_EQ(realPart, expected);
        EXPECT_EQ(imagPart, reinterpret_cast<std::int32_t*>(expected) + 1);
        call<FunctionType::IteratorDestroy>(clone);
    }
}

TEST_F(Elements, writingRefusesAnotherTypeAndLeavesTheElement) {
    double part = 1;
    const ReferencePointer reference = referenceTo(0);
    EXPECT_EQ(call<FunctionType::ReferenceSetComplex>(reference.get(), orvane::arrayTypeNumber<std::complex<double>>,
                                                      &part, &part),
              Status::TypeMismatch);
    EXPECT_EQ(call<FunctionType::ReferenceSetComplex>(reference.get(), complexType, nullptr, &part),
              Status::SystemError);
    EXPECT_EQ(elements()[0], Element(0));
}

TEST_F(Elements, realElementsHaveNoParts) {
    const int type = orvane::arrayTypeNumber<std::int32_t>;
    ASSERT_EQ(createArray(type, {1, 1}, array), Status::Success);
    const ReferencePointer reference = referenceTo(0);
    std::int32_t part = 1;
    void* realPart = nullptr;
    void* imagPart = nullptr;
    EXPECT_EQ(call<FunctionType::ReferenceGetParts>(reference.get(), &realPart, &imagPart), Status::Unsupported);
    EXPECT_EQ(call<FunctionType::ReferenceSetComplex>(reference.get(), type, &part, &part), Status::Unsupported);
}

TEST_F(Elements, indicesBeyondTheElementsAreRefused) {
    ReferenceImpl* made = nullptr;
    EXPECT_EQ(call<FunctionType::ArrayGetReference>(array.get(), 4UL, &made), Status::InvalidIndex);
    EXPECT_EQ(call<FunctionType::ArrayGetReference>(array.get(), ~0UL, &made), Status::InvalidIndex);
    ASSERT_EQ(createArray(complexType, {0, 2}, array), Status::Success);
    EXPECT_EQ(call<FunctionType::ArrayGetReference>(array.get(), 0UL, &made), Status::EmptyArray);
    EXPECT_EQ(made, nullptr);
}

TEST_F(Elements, nullsAreAnsweredWithNullsAndStatuses) {
    void* element = this;
    ReferenceImpl* made = nullptr;
    EXPECT_EQ(call<FunctionType::ArrayBegin>(nullptr, false), nullptr);
    EXPECT_EQ(call<FunctionType::ArrayEnd>(nullptr, false), nullptr);
    call<FunctionType::IteratorGetElement>(nullptr, &element);
    EXPECT_EQ(element, nullptr);
    call<FunctionType::IteratorGetReference>(nullptr, &made);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(call<FunctionType::ArrayGetReference>(nullptr, 0UL, &made), Status::SystemError);
    EXPECT_EQ(call<FunctionType::ReferenceGetParts>(nullptr, &element, &element), Status::SystemError);
    EXPECT_EQ(call<FunctionType::ReferenceSetComplex>(nullptr, complexType, element, element), Status::SystemError);
    call<FunctionType::ReferenceDestroy>(nullptr);
    call<FunctionType::IteratorDestroy>(nullptr);
}

} // namespace
