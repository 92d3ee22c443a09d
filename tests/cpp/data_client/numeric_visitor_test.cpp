#include "data_client/adjustable_entry.hpp"
#include "data_client/array_factory.hpp"
#include "data_client/numeric_visitor.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

using namespace orvane::data;

namespace {

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

template <class Check>
void forEachElementKind(Check check) {
    [&]<class... T>(std::type_identity<std::tuple<T...>>) {
        (check.template operator()<T>(), ...);
    }(std::type_identity<orvane::ElementKinds>{});
}

TEST(NumericVisitor, isToldTheElementTypeOfEveryKind) {
    forEachElementKind([]<class T>() {
        Array array = ArrayFactory().createArray<T>({2, 2});
        KindVisitor visitor;
        EXPECT_EQ(apply_numeric_visitor(std::as_const(array), visitor), arrayTypeOf<T>);
        EXPECT_EQ(visitor.gotCharArray, (std::is_same_v<T, char16_t>));
        EXPECT_EQ(visitor.handles, 2) << "shares the array with the caller";
        EXPECT_EQ(array.useCount(), 1) << "dropped after the call";
        EXPECT_EQ(apply_numeric_visitor(std::move(array), visitor), arrayTypeOf<T>);
        EXPECT_EQ(visitor.handles, 1) << "handed over";
    });
}

TEST(NumericVisitor, takesTheResultOfAnyVisitor) {
    const Array array = ArrayFactory().createScalar<std::int16_t>(-8);
    const std::string text = apply_numeric_visitor(array, [](const auto& typed) {
        if constexpr (std::is_convertible_v<decltype(*typed.begin()), long>) {
            return std::to_string(static_cast<long>(*typed.begin()));
        } else {
            return std::string("no number");
        }
    });
    EXPECT_EQ(text, "-8");
    int calls = 0;
    apply_numeric_visitor(array, [&](auto&&) { ++calls; });
    EXPECT_EQ(calls, 1);
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
                apply_numeric_visitor(Array(), KindVisitor());
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
