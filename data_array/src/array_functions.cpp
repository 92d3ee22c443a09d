#include "array_functions.hpp"

#include "array_impl.hpp"
#include "storage.hpp"

namespace orvane::data::array_functions {
namespace {

/// The one empty array. Outlives every handle, also those that other libraries destroy at exit.
union EmptyArray {
    impl::ArrayImpl array;

    EmptyArray() noexcept : array(arrayTypeNumber<double>, Dimensions(), 0, storage::allocate(0)) {}
    ~EmptyArray() {}
};

impl::ArrayImpl* emptyArray() noexcept {
    static EmptyArray empty;
    return &empty.array;
}

} // namespace

impl::ArrayImpl* createEmpty() noexcept {
    return emptyArray();
}

void destroy(impl::ArrayImpl* array) noexcept {
    if (array != emptyArray()) {
        const impl::ArrayImpl::Owner owner(array);
    }
}

void getDimensions(impl::ArrayImpl* array, unsigned long* numDims, unsigned long** dims) noexcept {
    if (numDims != nullptr) {
        *numDims = array != nullptr ? array->dimensions().size() : 0;
    }
    if (dims != nullptr) {
        *dims = array != nullptr ? array->dimensions().data() : nullptr;
    }
}

unsigned long getNumberOfElements(impl::ArrayImpl* array) noexcept {
    return array != nullptr ? array->numElements() : 0;
}

int getType(impl::ArrayImpl* array, int* type) noexcept {
    if (array == nullptr || type == nullptr) {
        return static_cast<int>(Status::SystemError);
    }
    *type = array->arrayType();
    return static_cast<int>(Status::Success);
}

bool unshare(impl::ArrayImpl* array, bool isUnique, impl::ArrayImpl** copy) noexcept {
    if (isUnique || array == nullptr || copy == nullptr) {
        return false;
    }
    *copy = array->copy().release();
    return true;
}

int typesAreConvertible(int wantedType, int actualType, bool* convertible) noexcept {
    if (convertible == nullptr) {
        return static_cast<int>(Status::SystemError);
    }
    *convertible = isElementKind(wantedType) && wantedType == actualType;
    return static_cast<int>(Status::Success);
}

int release(impl::ArrayImpl* array, bool isUnique, void** buffer, detail::BufferDeleter* deleter) noexcept {
    if (array == nullptr || buffer == nullptr || deleter == nullptr) {
        return static_cast<int>(Status::SystemError);
    }
    const bool mayTake = isUnique && array != emptyArray();
    storage::Storage storage = mayTake ? array->takeStorage() : array->copyStorage();
    if (!mayTake && !storage) {
        return static_cast<int>(Status::OutOfMemory);
    }
    *deleter = storage.get_deleter().deleter;
    *buffer = storage.release();
    return static_cast<int>(Status::Success);
}

} // namespace orvane::data::array_functions
