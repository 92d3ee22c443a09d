#include "native_api/adopted_block.hpp"

#include <algorithm>
#include <complex>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>

#include "core/array_object.hpp"
#include "data_client/array_factory.hpp"
#include "native_api/block_owner.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/element_vocabulary.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace OCPyArrayAPI {

using namespace orvane;
using namespace orvane::python;

namespace {

bool raiseInvalidType() {
    setError(PyExc_RuntimeError, "invalid type.");
    return false;
}

/// The extents as Python's arrays have them: two at least, none of 1 at the end beyond the second.
std::optional<Extents> extentsOf(const OrvaneBlock& block) {
    if (block.rank < 0 ||
        std::any_of(block.extents, block.extents + block.rank, [](auto extent) { return extent < 0; })) {
        raiseInvalidType();
        return std::nullopt;
    }
    Extents extents(block.extents, block.extents + block.rank);
    if (extents.size() < 2)
        extents.insert(extents.begin(), 2 - extents.size(), 1);
    while (extents.size() > 2 && extents.back() == 1)
        extents.pop_back();
    return extents;
}

/// Storage whose data array lies over the block. Elements of no number have no need of it. The caller holds the owner
/// too: the block outlives the data array also when that comes to nothing.
std::shared_ptr<ODArrayWrapper> storageOver(const OrvaneBlock& block, const TypeAndComplexity& type,
                                            const Extents& extents, long count, const std::shared_ptr<void>& owner) {
    const auto layOver = [&]<class T>() -> data::Array {
        data::ArrayFactory factory;
        data::Buffer<T> buffer(static_cast<T*>(block.elements), [](T*) {});
        if (count == 0)
            buffer = factory.createBuffer<T>(0);
        return factory.createArrayFromBuffer<T>({extents.begin(), extents.end()}, std::move(buffer));
    };
    data::Array array = visitElementType(type.supportedArrayEnum, [&]<class T>() -> data::Array {
        if constexpr (!std::is_same_v<T, bool>) {
            if (type.isComplex)
                return layOver.template operator()<std::complex<T>>();
        }
        return layOver.template operator()<T>();
    });
    return ODArrayWrapper::adopt(std::move(array), {owner, block.isReadOnly != 0});
}

PyObject* newArray(const OrvaneBlock& block, const std::shared_ptr<void>& owner) {
    const auto arrayType = static_cast<data::ArrayType>(block.type);
    const TypeAndComplexity type = getTypeAndComplexityFromArrayType(arrayType);
    if (!type.supported) {
        raiseInvalidType();
        return nullptr;
    }
    const std::optional<Extents> extents = extentsOf(block);
    if (!extents)
        return nullptr;
    const std::size_t partSize = visitElementType(type.supportedArrayEnum, []<class T>() { return sizeof(T); });
    const auto count = checkedProduct(std::span<const long>(extents->data(), extents->size()));
    long bytes = 0;
    if (!count || __builtin_mul_overflow(*count, static_cast<long>(2 * partSize), &bytes)) {
        setError(PyExc_ValueError, "the block cannot be as large as its extents make it.");
        return nullptr;
    }
    if (block.elements == nullptr && *count > 0) {
        setError(PyExc_ValueError, "the block has elements, but no address.");
        return nullptr;
    }
    if (reinterpret_cast<std::uintptr_t>(block.elements) % partSize != 0) {
        setError(PyExc_ValueError, "the block is not aligned as its elements have to be.");
        return nullptr;
    }
    std::shared_ptr<ODArrayWrapper> storage = storageOver(block, type, *extents, *count, owner);
    PyRef object = PyRef::steal(allocOCPyArray(TypeObjectPointers[type.supportedArrayEnum]));
    if (object)
        fillShell(object.get(), std::move(storage), type.supportedArrayEnum, type.isComplex);
    return object.release();
}

} // namespace

PyObject* arrayFromBlock(const OrvaneBlock* block) {
    if (block == nullptr) {
        setError(PyExc_RuntimeError, "null data pointer.");
        return nullptr;
    }
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] { return newArray(*block, ownerOf(*block)); });
}

} // namespace OCPyArrayAPI
