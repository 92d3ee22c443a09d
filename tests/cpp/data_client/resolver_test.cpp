// Finding functions: labels of what is missing, and when the library is asked.
#include "data_array/deleter_count.hpp"
#include "data_client/adjustable_entry.hpp"
#include "data_client/array_factory.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

using namespace orvane::data;
using detail::FunctionType;
using MissingFeature = detail::ArrayException<orvane::Exception, ExceptionType::FeatureNotSupported>;

namespace {

std::string messageFor(int number) {
    try {
        detail::resolveFunction<void (*)()>(FunctionType{number});
    } catch (const MissingFeature& missing) {
        return missing.what();
    }
    return "found";
}

TEST(Resolver, namesTheReleaseThatAMissingFunctionCameWith) {
    const std::pair<int, const char*> releases[] = {
        {0, "LvlA"},   {108, "LvlA"}, {109, "LvlB"}, {111, "LvlC"}, {117, "LvlC"},   {118, "LvlD"},
        {127, "LvlD"}, {128, "LvlE"}, {129, "LvlE"}, {130, "LvlF"}, {131, "FUTURE"}, {100000, "FUTURE"},
    };
    for (const auto& [number, label] : releases) {
        EXPECT_EQ(messageFor(number), std::string("This feature requires ") + label) << number;
    }
}

TEST(Resolver, asksAgainAfterAFailureAndNeverAfterASuccess) {
    ArrayFactory factory;
    const auto createScalar = [&] { return factory.createScalar<float>(1.5F); };
    {
        const auto entry = AdjustedEntry::withholding(FunctionType::FactoryCreateScalar);
        EXPECT_THROW(createScalar(), MissingFeature);
        EXPECT_THROW(createScalar(), MissingFeature);
        EXPECT_EQ(entry.questions(), 2);
    }
    createScalar();
    const auto entry = AdjustedEntry::withholding(FunctionType::FactoryCreateScalar);
    EXPECT_EQ(createScalar().begin()[0], 1.5F);
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
    try {
        createFromBuffer(MemoryLayout::RowMajor);
        FAIL() << "the library was asked again";
    } catch (const MissingFeature& missing) {
        EXPECT_STREQ(missing.what(), "Row-major buffers require C-level");
    }
    EXPECT_EQ(freedBuffers, 2);
}

} // namespace
