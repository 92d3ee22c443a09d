#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>

#include "core/array_wrapper.hpp"
#include "core/selection.hpp"
#include "data_client/array_factory.hpp"

using namespace orvane;
using namespace orvane::python;

namespace {

int freedBlocks = 0;

/// A 2-by-3 array of 0 to 5 in a foreign block; `freedBlocks` counts its release.
data::TypedArray<double> makeArray() {
    auto* block = static_cast<double*>(std::malloc(6 * sizeof(double)));
    std::iota(block, block + 6, 0.0);
    data::Buffer<double> buffer(block, [](double* elements) {
        ++freedBlocks;
        std::free(elements);
    });
    return data::ArrayFactory().createArrayFromBuffer<double>({2, 3}, std::move(buffer));
}

std::shared_ptr<const Layout> reshaped() {
    return std::make_shared<const Layout>(std::vector<long>{3, 2}, 6, long{sizeof(double)});
}

double mirrorAt(const ODArrayWrapper& wrapper, int i) {
    double element;
    std::memcpy(&element, wrapper.elements() + 8 * i, sizeof element);
    return element;
}

double* nativeElements(data::impl::ArrayImpl* impl, const ODArrayWrapper& wrapper) {
    EXPECT_NE(impl, nullptr);
    return const_cast<double*>(reinterpret_cast<const double*>(wrapper.dataElements()));
}

/// As native code reads them, through the library's own number for it.
std::vector<unsigned long> extentsOf(data::impl::ArrayImpl* impl) {
    const auto getDimensions = data::detail::resolve<data::detail::FunctionType::ArrayGetDimensions>();
    unsigned long count = 0;
    unsigned long* dims = nullptr;
    getDimensions(impl, &count, &dims);
    return {dims, dims + count};
}

} // namespace

TEST(Layout, NothingLeadsOutsideTheElements) {
    const auto layout = reshaped();
    EXPECT_EQ(layout->byteOffset(Extents{2, 1}), 40u);
    EXPECT_FALSE(layout->byteOffset(Extents{0, 2}));
    EXPECT_FALSE(layout->byteOffset(Extents{0, 0, 0}));
    const SliceIndexItem below{0, -1, 2};
    EXPECT_FALSE(select(layout, Extents{}, &below).isInside);
}

TEST(ArrayWrapper, OneBlockServesAsDataAndMirror) {
    freedBlocks = 0;
    auto wrapper = ODArrayWrapper::adopt(makeArray());
    EXPECT_EQ(wrapper->elements(), wrapper->dataElements());
    const void* address = wrapper->exportElements(false).buf;
    wrapper->prepareForWriting();
    wrapper->store(8, 7.5);
    wrapper->reshape(reshaped());
    EXPECT_EQ(mirrorAt(*wrapper, 1), 7.5);
    EXPECT_EQ(wrapper->exportElements(false).buf, address);
    EXPECT_EQ(freedBlocks, 0);
    wrapper.reset();
    EXPECT_EQ(freedBlocks, 1);
}

TEST(ArrayWrapper, HandingOutSplitsTheMirrorOffInPlace) {
    freedBlocks = 0;
    auto wrapper = ODArrayWrapper::adopt(makeArray());
    const void* address = wrapper->exportElements(false).buf;
    auto* impl = wrapper->handOut();
    EXPECT_EQ(wrapper->handOut(), impl);
    EXPECT_EQ(wrapper->exportElements(false).buf, address);
    EXPECT_NE(wrapper->elements(), wrapper->dataElements());

    wrapper->prepareForWriting();
    wrapper->store(0, 9.0);
    EXPECT_EQ(wrapper->handOut(), impl);
    EXPECT_EQ(mirrorAt(*wrapper, 0), 9.0);
    EXPECT_EQ(nativeElements(impl, *wrapper)[0], 9.0);

    // What native code writes shows to Python with the next reshape.
    nativeElements(impl, *wrapper)[1] = 11.0;
    EXPECT_EQ(mirrorAt(*wrapper, 1), 1.0);
    wrapper->reshape(reshaped());
    EXPECT_EQ(mirrorAt(*wrapper, 1), 11.0);
    EXPECT_EQ(extentsOf(wrapper->handOut()), (std::vector<unsigned long>{3, 2}));
    EXPECT_EQ(wrapper->exportElements(false).buf, address);
    wrapper.reset();
    EXPECT_EQ(freedBlocks, 1);
}

TEST(ArrayWrapper, AnArrayFromNativeCodeHasItsMirrorFromTheStart) {
    data::Array array = makeArray();
    auto* impl = array.impl();
    auto wrapper = ODArrayWrapper::adopt(std::move(array), ODArrayWrapper::Reach::Native);
    EXPECT_EQ(wrapper->handOut(), impl);
    nativeElements(impl, *wrapper)[0] = 5.0;
    EXPECT_EQ(mirrorAt(*wrapper, 0), 0.0);
}

TEST(ArrayWrapper, WritesAndExportsDoNotReachWhoeverSharesTheArray) {
    const data::Array shared = makeArray();
    auto written = ODArrayWrapper::adopt(data::Array(shared), ODArrayWrapper::Reach::PythonOnly);
    written->prepareForWriting();
    written->store(0, 42.0);
    EXPECT_EQ(*data::TypedArray<double>(shared).cbegin(), 0.0);

    auto exported = ODArrayWrapper::adopt(data::Array(shared), ODArrayWrapper::Reach::PythonOnly);
    EXPECT_NE(exported->exportElements(false).buf, static_cast<const void*>(elementsOf(shared)));
    auto snapshot = ODArrayWrapper::adopt(data::Array(shared), ODArrayWrapper::Reach::PythonOnly);
    EXPECT_EQ(snapshot->exportElements(true).buf, static_cast<const void*>(elementsOf(shared)));
}

TEST(ArrayWrapper, ExportedLayoutsOutliveAReshape) {
    auto wrapper = ODArrayWrapper::adopt(makeArray());
    const Layout* before = wrapper->exportElements(false).layout;
    wrapper->reshape(reshaped());
    EXPECT_EQ(before->shape(), (Extents{2, 3}));
    wrapper->reshape(std::make_shared<const Layout>(std::vector<long>{2, 3}, 6, long{sizeof(double)}));
    EXPECT_EQ(wrapper->exportElements(false).layout, before);
}
