// Handles of several threads to the same arrays; most worth under ThreadSanitizer.
#include "data_client/array_factory.hpp"
#include "data_client/column_major_span.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

using namespace orvane::data;

namespace {

/// On the heap, and as a mapping that is kept when it is freed.
class Threads : public ::testing::TestWithParam<unsigned long> {};
INSTANTIATE_TEST_SUITE_P(Sizes, Threads, ::testing::Values(12, 17'000));

// Each thread shares what the one before it had, reads it, lets go of it or writes to it, all in its own time.
TEST_P(Threads, ShareArraysAndWriteToCopies) {
    ArrayFactory factory;
    for (int round = 0; round < 50; ++round) {
        TypedArray<double> whole = factory.createArray<double>({GetParam(), 1});
        *writableElementsOf(whole).data() = round;
        std::vector<std::thread> threads;
        for (int number = 1; number <= 4; ++number) {
            threads.emplace_back([number, round, &factory, mine = whole]() mutable {
                ASSERT_EQ(*std::as_const(mine).begin(), round);
                if (number % 2 == 0) {
                    mine = TypedArray<double>(Array(TypedArray<double>(mine).detach()));
                }
                const TypedArray<double> other = number == 3 ? mine : factory.createArray<double>({GetParam(), 1});
                std::ranges::fill(writableElementsOf(mine).flat(), number);
                ASSERT_EQ(*other.begin(), number == 3 ? round : 0);
                ASSERT_EQ(elementsOf(mine).flat().back(), number);
            });
        }
        TypedArray<double> last = std::move(whole);
        std::ranges::fill(writableElementsOf(last).flat(), -round); // in place once all the others have let go
        std::ranges::for_each(threads, &std::thread::join);
        ASSERT_EQ(elementsOf(last).flat().back(), -round);
    }
}

} // namespace
