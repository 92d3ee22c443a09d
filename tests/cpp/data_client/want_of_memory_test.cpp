// A copy that copy-on-write needs and memory does not allow.
#include "data_client/adjustable_entry.hpp"
#include "data_client/array_factory.hpp"

#include <gtest/gtest.h>

using namespace orvane::data;
using OutOfMemory = detail::ArrayException<orvane::Exception, ExceptionType::OutOfMemory>;

namespace {

bool copyWithoutMemory(impl::ArrayImpl*, bool isUnique, impl::ArrayImpl** copy) {
    *copy = nullptr;
    return !isUnique;
}

TEST(WantOfMemory, unsharingThrowsAndLeavesTheHandle) {
    using Element = std::complex<double>;
    const auto entry = AdjustedEntry::offering<detail::FunctionType::ArrayUnshare>(copyWithoutMemory);
    TypedArray<Element> array = ArrayFactory().createArray<Element>({2, 2});
    const TypedArray<Element> other = array;
    EXPECT_THROW(array.unshare(), OutOfMemory);
    EXPECT_THROW(array.release(), OutOfMemory);
    EXPECT_THROW(array[0], OutOfMemory);
    EXPECT_EQ(array.impl(), other.impl());
    EXPECT_EQ(array.useCount(), 2);
}

} // namespace
