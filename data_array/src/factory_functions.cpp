#include "factory_functions.hpp"

#include "array_impl.hpp"
#include "dimensions.hpp"
#include "storage.hpp"

#include <cstring>
#include <new>
#include <span>
#include <utility>

namespace orvane::data {

/// Holds nothing: one serves all.
class impl::ArrayFactoryImpl {};

namespace factory_functions {
namespace {

using storage::Storage;

impl::ArrayFactoryImpl theFactory;

int number(Status status) noexcept {
    return static_cast<int>(status);
}

/// What a new array is to be, checked and counted.
struct Plan {
    Dimensions dimensions;
    std::size_t numElements = 0;
};

Status makePlan(const impl::ArrayFactoryImpl* factory, int type, const unsigned long* dims, unsigned long numDims,
                impl::ArrayImpl* const* out, Plan& plan) noexcept {
    if (factory == nullptr || out == nullptr || (dims == nullptr && numDims != 0)) {
        return Status::SystemError;
    }
    if (!isElementKind(type)) {
        return Status::ArrayTypeMismatch;
    }
    const std::span extents(dims, numDims);
    if (const Status status = countElements(extents, elementSize(type), plan.numElements); status != Status::Success) {
        return status;
    }
    return plan.dimensions.assign(extents);
}

Status makeArray(int type, Plan&& plan, Storage&& storage, impl::ArrayImpl** out) noexcept {
    if (!storage && plan.numElements != 0) {
        return Status::OutOfMemory;
    }
    auto array = impl::ArrayImpl::make(type, std::move(plan.dimensions), plan.numElements, std::move(storage));
    if (!array) {
        return Status::OutOfMemory;
    }
    *out = array.release();
    return Status::Success;
}

int makeBuffer(impl::ArrayFactoryImpl* factory, void** buffer, detail::BufferDeleter* deleter, int type,
               unsigned long numElements, Storage (*allocate)(std::size_t)) noexcept {
    if (factory == nullptr || buffer == nullptr || deleter == nullptr) {
        return number(Status::SystemError);
    }
    if (!isElementKind(type)) {
        return number(Status::ArrayTypeMismatch);
    }
    std::size_t count = 0;
    const Status status = countElements(std::span(&numElements, 1), elementSize(type), count);
    if (status != Status::Success) {
        return number(status);
    }
    Storage storage = allocate(count * elementSize(type));
    if (!storage) {
        return number(Status::OutOfMemory);
    }
    *deleter = storage.get_deleter().deleter;
    *buffer = storage.release();
    return number(Status::Success);
}

} // namespace

int create(impl::ArrayFactoryImpl** out) noexcept {
    if (out == nullptr) {
        return number(Status::SystemError);
    }
    *out = &theFactory;
    return number(Status::Success);
}

void destroy(impl::ArrayFactoryImpl*) noexcept {}

int createBuffer(impl::ArrayFactoryImpl* factory, void** buffer, detail::BufferDeleter* deleter, int type,
                 unsigned long numElements) noexcept {
    return makeBuffer(factory, buffer, deleter, type, numElements, storage::allocate);
}

int createZeroedBuffer(impl::ArrayFactoryImpl* factory, void** buffer, detail::BufferDeleter* deleter, int type,
                       unsigned long numElements) noexcept {
    return makeBuffer(factory, buffer, deleter, type, numElements, storage::allocateZeroed);
}

int createArray(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                impl::ArrayImpl** out) noexcept {
    Plan plan;
    if (const Status status = makePlan(factory, type, dims, numDims, out, plan); status != Status::Success) {
        return number(status);
    }
    Storage storage = storage::allocateZeroed(plan.numElements * elementSize(type));
    return number(makeArray(type, std::move(plan), std::move(storage), out));
}

int createUnfilledArray(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                        impl::ArrayImpl** out, void** elements) noexcept {
    if (elements == nullptr) {
        return number(Status::SystemError);
    }
    Plan plan;
    if (const Status status = makePlan(factory, type, dims, numDims, out, plan); status != Status::Success) {
        return number(status);
    }
    Storage storage = storage::allocate(plan.numElements * elementSize(type));
    void* const first = storage.get();
    const Status status = makeArray(type, std::move(plan), std::move(storage), out);
    if (status == Status::Success) {
        *elements = first;
    }
    return number(status);
}

int createScalar(impl::ArrayFactoryImpl* factory, int type, void const* value, impl::ArrayImpl** out) noexcept {
    constexpr unsigned long oneByOne[] = {1, 1};
    if (value == nullptr) {
        return number(Status::SystemError);
    }
    Plan plan;
    if (const Status status = makePlan(factory, type, oneByOne, 2, out, plan); status != Status::Success) {
        return number(status);
    }
    Storage storage = storage::allocate(elementSize(type));
    if (storage) {
        std::memcpy(storage.get(), value, elementSize(type));
    }
    return number(makeArray(type, std::move(plan), std::move(storage), out));
}

int createArrayFromBuffer(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                          void* buffer, detail::BufferDeleter deleter, impl::ArrayImpl** out, int layout) noexcept {
    // First of all, so that every way out frees the buffer: the caller has given it up.
    Storage storage = storage::adopt(buffer, deleter);
    Plan plan;
    if (const Status status = makePlan(factory, type, dims, numDims, out, plan); status != Status::Success) {
        return number(status);
    }
    const MemoryLayout memoryLayout{layout};
    if (memoryLayout != MemoryLayout::ColumnMajor && memoryLayout != MemoryLayout::RowMajor) {
        return number(Status::Unsupported);
    }
    if (!storage && plan.numElements != 0) {
        return number(Status::SystemError);
    }
    return number(makeArray(type, std::move(plan), std::move(storage), out));
}

int createArrayFromColumnMajorBuffer(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims,
                                     unsigned long numDims, void* buffer, detail::BufferDeleter deleter,
                                     impl::ArrayImpl** out) noexcept {
    return createArrayFromBuffer(factory, type, dims, numDims, buffer, deleter, out,
                                 static_cast<int>(MemoryLayout::ColumnMajor));
}

} // namespace factory_functions
} // namespace orvane::data
