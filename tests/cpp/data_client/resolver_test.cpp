// Functions of the library that are missing or answer what nobody expects, and when they are asked for. The entry
// stands in this program itself, and call sites keep what they got: ctest runs every case in a process of its own.
#include "data_array/deleter_count.hpp"
#include "data_client/array_factory.hpp"
#include "data_client/numeric_visitor.hpp"
#include "function_table.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

using namespace orvane::data;
using detail::FunctionType;
template <ExceptionType Type>
using Refusal = detail::ArrayException<orvane::Exception, Type>;

namespace {

int adjustedNumber = -1;
void* adjustedFunction = nullptr;
int numberOfQuestions = 0;

/// Answers for one number with another function, or with null, until the adjustment ends.
struct AdjustedEntry {
    explicit AdjustedEntry(FunctionType number, void* function = nullptr) {
        adjustedNumber = static_cast<int>(number);
        adjustedFunction = function;
        numberOfQuestions = 0;
    }
    AdjustedEntry(const AdjustedEntry&) = delete;
    AdjustedEntry& operator=(const AdjustedEntry&) = delete;
    ~AdjustedEntry() { adjustedNumber = -1; }
};

template <class Call>
std::string missingIn(Call call) {
    try {
        call();
    } catch (const Refusal<ExceptionType::FeatureNotSupported>& missing) {
        return missing.what();
    }
    return "nothing";
}

TEST(Resolver, namesTheReleaseThatAMissingFunctionCameWith) {
    const std::pair<int, const char*> releases[] = {
        {0, "LvlA"},   {108, "LvlA"}, {109, "LvlB"}, {111, "LvlC"}, {117, "LvlC"},   {118, "LvlD"},
        {127, "LvlD"}, {128, "LvlE"}, {129, "LvlE"}, {130, "LvlF"}, {131, "FUTURE"}, {100000, "FUTURE"},
    };
    for (const auto& release : releases) {
        const auto resolve = [&] { detail::resolveFunction<void (*)()>(FunctionType{release.first}); };
        EXPECT_EQ(missingIn(resolve), std::string("This feature requires ") + release.second) << release.first;
    }
}

TEST(Resolver, asksAgainAfterAFailureAndNeverAfterASuccess) {
    const Array array = ArrayFactory().createArray<float>({2, 3});
    {
        const AdjustedEntry entry(FunctionType::ArrayGetType);
        EXPECT_EQ(missingIn([&] { array.getType(); }), "This feature requires LvlA");
        EXPECT_THROW(array.getType(), Refusal<ExceptionType::FeatureNotSupported>);
        EXPECT_EQ(numberOfQuestions, 2);
        EXPECT_THROW(TypedArray<float>{array}, Refusal<ExceptionType::FeatureNotSupported>);
        EXPECT_EQ(array.getNumberOfElements(), 6u) << "what needs no type works";
    }
    array.getType();
    const AdjustedEntry entry(FunctionType::ArrayGetType);
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
        const AdjustedEntry entry(FunctionType::FactoryCreateArrayFromBuffer);
        createFromBuffer(MemoryLayout::ColumnMajor);
        EXPECT_EQ(freedBuffers, 1);
    }
    EXPECT_EQ(missingIn([&] { createFromBuffer(MemoryLayout::RowMajor); }), "Row-major buffers require C-level");
    EXPECT_EQ(freedBuffers, 2);
}

TEST(NumericVisitor, refusesKindsThatThisLayerDoesNotKnow) {
    static int toldType = 0;
    const detail::BoundaryPointer<FunctionType::ArrayGetType> tell = [](impl::ArrayImpl*, int* type) {
        *type = toldType;
        return 0;
    };
    const AdjustedEntry entry(FunctionType::ArrayGetType, reinterpret_cast<void*>(tell));
    for (const int type : {-1, 2, 23, 1000}) {
        toldType = type;
        EXPECT_THROW(apply_numeric_visitor(Array(), [](const auto&) {}), Refusal<ExceptionType::InvalidArrayType>);
    }
}

TEST(WantOfMemory, unsharingThrowsAndLeavesTheHandle) {
    const detail::BoundaryPointer<FunctionType::ArrayUnshare> copyNothing = [](impl::ArrayImpl*, bool isUnique,
                                                                               impl::ArrayImpl**) { return !isUnique; };
    using Element = std::complex<double>;
    const AdjustedEntry entry(FunctionType::ArrayUnshare, reinterpret_cast<void*>(copyNothing));
    TypedArray<Element> array = ArrayFactory().createArray<Element>({2, 2});
    const TypedArray<Element> other = array;
    EXPECT_THROW(array.unshare(), Refusal<ExceptionType::OutOfMemory>);
    EXPECT_THROW(array.release(), Refusal<ExceptionType::OutOfMemory>);
    EXPECT_THROW(array[0], Refusal<ExceptionType::OutOfMemory>);
    EXPECT_EQ(array.impl(), other.impl());
    EXPECT_EQ(array.useCount(), 2);
}

} // namespace

void* get_function_ptr(int number) noexcept {
    ++numberOfQuestions;
    return number == adjustedNumber ? adjustedFunction : orvane::data::functionAddress(number);
}
