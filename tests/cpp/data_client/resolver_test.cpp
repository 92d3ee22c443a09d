// Functions of the library that are missing or answer what nobody expects, and when they are asked for.
#include "data_array/deleter_count.hpp"
#include "data_client/adjustable_entry.hpp"
#include "data_client/array_factory.hpp"
#include "data_client/numeric_visitor.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

using namespace orvane::data;
using detail::FunctionType;
using MissingFeature = detail::ArrayException<orvane::Exception, ExceptionType::FeatureNotSupported>;

namespace {

template <class Call>
std::string missingIn(Call call) {
    try {
        call();
    } catch (const MissingFeature& missing) {
        return missing.what();
    }
    return "nothing";
}

TEST(Resolver, namesTheReleaseThatAMissingFunctionCameWith) {
    const std::pair<int, const char*> releases[] = {
        {0, "LvlA"},   {108, "LvlA"}, {109, "LvlB"}, {111, "LvlC"}, {117, "LvlC"},   {118, "LvlD"},
        {127, "LvlD"}, {128, "LvlE"}, {129, "LvlE"}, {130, "LvlF"}, {131, "FUTURE"}, {100000, "FUTURE"},
    };
    for (const auto& [number, label] : releases) {
        const auto resolve = [&] { detail::resolveFunction<void (*)()>(FunctionType{number}); };
        EXPECT_EQ(missingIn(resolve), std::string("This feature requires ") + label) << number;
    }
}

TEST(Resolver, asksAgainAfterAFailureAndNeverAfterASuccess) {
    const Array array = ArrayFactory().createArray<float>({2, 3});
    {
        const auto entry = AdjustedEntry::withholding(FunctionType::ArrayGetType);
        EXPECT_EQ(missingIn([&] { array.getType(); }), "This feature requires LvlA");
        EXPECT_THROW(array.getType(), MissingFeature);
        EXPECT_EQ(entry.questions(), 2);
        EXPECT_THROW(TypedArray<float>{array}, MissingFeature);
        EXPECT_EQ(array.getNumberOfElements(), 6u) << "what needs no type works";
    }
    array.getType();
    const auto entry = AdjustedEntry::withholding(FunctionType::ArrayGetType);
    EXPECT_EQ(array.getType(), ArrayType::Single);
}

TEST(Resolver, keepsTheAbsenceOfAFunctionThatHasAFallback) {
    ArrayFactory factory;
    const auto createFromBuffer = [&](MemoryLayout layout) {
        auto* const element = static_cast<float*>(std::malloc(sizeof(float)));
        Buffer<float> buffer(element, [](float* block) { countedFree(block); });
        return factory.createArrayFromBuffer<float>({1, 1}, std::move(buffer), layout);
    };
    freedBuffers = 0;
    {
        const auto entry = AdjustedEntry::withholding(FunctionType::FactoryCreateArrayFromBuffer);
        createFromBuffer(MemoryLayout::ColumnMajor);
        EXPECT_EQ(freedBuffers, 1);
    }
    EXPECT_EQ(missingIn([&] { createFromBuffer(MemoryLayout::RowMajor); }), "Row-major buffers require C-level");
    EXPECT_EQ(freedBuffers, 2);
}

int toldType = 0;

int tellForeignType(impl::ArrayImpl*, int* type) {
    *type = toldType;
    return 0;
}

TEST(NumericVisitorDeathTest, refusesKindsThatThisLayerDoesNotKnow) {
    // In a process of its own: the call site keeps the function that it is given here.
    const auto refusals = [] {
        const auto entry = AdjustedEntry::offering<detail::FunctionType::ArrayGetType>(tellForeignType);
        int refused = 0;
        for (const int type : {-1, 2, 23, 1000}) {
            toldType = type;
            try {
                apply_numeric_visitor(Array(), [](const auto&) {});
            } catch (const detail::ArrayException<orvane::Exception, ExceptionType::InvalidArrayType>& refusal) {
                refused += refusal.what() == std::string("Invalid type of array passed to apply_numeric_visitor.");
            }
        }
        return refused;
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(refusals()), testing::ExitedWithCode(4), "");
}

} // namespace
