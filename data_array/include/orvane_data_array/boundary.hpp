// What crosses the boundary between the data-array library and its clients: the one exported entry,
// the numbers of the functions behind it and their signatures. Both sides draw them from here.
//
// A function that returns `int` returns a status: 0 for success, otherwise a number whose meaning stands
// in <orvane_data_array/status.hpp>. Its out-parameters are set only on success. No function throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvane::data {

/// The order in which the elements of an array stand in its buffer.
enum class MemoryLayout : std::int32_t {
    ColumnMajor = 0, ///< the first index runs fastest
    RowMajor = 1,    ///< the last index runs fastest
};

namespace impl {

/// An array on the library's side; clients hold it by pointer alone.
class ArrayImpl;
/// The maker of arrays on the library's side.
class ArrayFactoryImpl;

} // namespace impl

namespace detail {

/// One writable element of an array.
class ReferenceImpl;
/// A place in an array: its first element or the end.
class IteratorImpl;

/// Frees the block that it is given. A null deleter frees nothing.
using BufferDeleter = void (*)(void*);

/// The numbers by which functions are asked for. Those up to 115 are what every client may count on, 110 and above
/// with a fallback. The last three lie in a range of Orvane's own, far from any number that another library may use:
/// clients ask for them once and do without them where they are missing.
enum class FunctionType : std::int32_t {
    FactoryCreateArray = 1,
    FactoryCreateScalar = 3,
    FactoryCreateArrayFromColumnMajorBuffer = 11,
    FactoryCreateBuffer = 13,
    FactoryCreate = 14,
    FactoryDestroy = 15,
    ReferenceDestroy = 23,
    ArrayCreateEmpty = 49,
    ArrayDestroy = 50,
    ArrayGetDimensions = 51,
    ArrayGetNumberOfElements = 52,
    ArrayGetType = 53,
    ArrayUnshare = 55,
    ArrayGetReference = 56,
    ArrayBeginFallback = 57,
    ArrayEndFallback = 58,
    TypesAreConvertible = 59,
    ArrayRelease = 60,
    IteratorClone = 63,
    IteratorDestroy = 64,
    IteratorGetElement = 71,
    IteratorGetReference = 72,
    ReferenceGetParts = 94,
    ReferenceSetComplex = 96,
    FactoryCreateArrayFromBuffer = 110,
    IteratorGetComplexElement = 113,
    ArrayBegin = 114,
    ArrayEnd = 115,
    FactoryCreateZeroedBuffer = 0x4F560001,
    ArrayGetFixedElements = 0x4F560002,
    FactoryCreateUnfilledArray = 0x4F560003,
};

/// One function of the boundary: its number and its type.
template <FunctionType Number, class Signature>
struct BoundaryFunction {
    static constexpr FunctionType number = Number;
    using Pointer = Signature*;
};

/// All functions of the boundary, in ascending order of their numbers. `type` and `layout` are numbers of
/// an element kind and of a `MemoryLayout`.
using BoundaryFunctions = std::tuple<
    /// Column-major and zero-filled in this library. No client may rely on the zeros: other libraries need not fill
    /// the elements, nor make arrays of real ones at all.
    BoundaryFunction<FunctionType::FactoryCreateArray,
                     int(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                         impl::ArrayImpl** out)>,
    /// A 1-by-1 array that holds a copy of the value.
    BoundaryFunction<FunctionType::FactoryCreateScalar,
                     int(impl::ArrayFactoryImpl* factory, int type, void const* value, impl::ArrayImpl** out)>,
    /// Adopts the buffer: it belongs to the library from here on, also when the call fails, and goes
    /// through its deleter exactly once.
    BoundaryFunction<FunctionType::FactoryCreateArrayFromColumnMajorBuffer,
                     int(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                         void* buffer, BufferDeleter deleter, impl::ArrayImpl** out)>,
    /// A buffer with unspecified contents, aligned to 64 bytes, never null on success.
    BoundaryFunction<FunctionType::FactoryCreateBuffer,
                     int(impl::ArrayFactoryImpl* factory, void** buffer, BufferDeleter* deleter, int type,
                         unsigned long numElements)>,
    BoundaryFunction<FunctionType::FactoryCreate, int(impl::ArrayFactoryImpl** out)>,
    BoundaryFunction<FunctionType::FactoryDestroy, void(impl::ArrayFactoryImpl* factory)>,
    BoundaryFunction<FunctionType::ReferenceDestroy, void(ReferenceImpl* reference)>,
    /// A 0-by-0 array of `double`.
    BoundaryFunction<FunctionType::ArrayCreateEmpty, impl::ArrayImpl*()>,
    BoundaryFunction<FunctionType::ArrayDestroy, void(impl::ArrayImpl* array)>,
    /// The dimensions stay the array's own and live as long as it does.
    BoundaryFunction<FunctionType::ArrayGetDimensions,
                     void(impl::ArrayImpl* array, unsigned long* numDims, unsigned long** dims)>,
    BoundaryFunction<FunctionType::ArrayGetNumberOfElements, unsigned long(impl::ArrayImpl* array)>,
    BoundaryFunction<FunctionType::ArrayGetType, int(impl::ArrayImpl* array, int* type)>,
    /// True when the caller has to go on with a copy, which then stands in `copy`; a null copy says that
    /// memory was wanting. False when the array has no other owner and may be written as it is.
    BoundaryFunction<FunctionType::ArrayUnshare, bool(impl::ArrayImpl* array, bool isUnique, impl::ArrayImpl** copy)>,
    /// The index counts elements in the order of storage.
    BoundaryFunction<FunctionType::ArrayGetReference,
                     int(impl::ArrayImpl* array, unsigned long index, ReferenceImpl** out)>,
    /// Iterators for writing are asked for after the unshare step alone. The elements may move then, in libraries that
    /// copy lazily, so what an iterator for reading led to is not to be written to.
    BoundaryFunction<FunctionType::ArrayBeginFallback, IteratorImpl*(impl::ArrayImpl* array, bool forWriting)>,
    BoundaryFunction<FunctionType::ArrayEndFallback, IteratorImpl*(impl::ArrayImpl* array, bool forWriting)>,
    /// A type is convertible to itself and to no other.
    BoundaryFunction<FunctionType::TypesAreConvertible, int(int wantedType, int actualType, bool* convertible)>,
    /// Hands the buffer over together with its deleter: the array's own buffer if it is unique, otherwise
    /// a copy. The array that gave its own away is no longer to be read.
    BoundaryFunction<FunctionType::ArrayRelease,
                     int(impl::ArrayImpl* array, bool isUnique, void** buffer, BufferDeleter* deleter)>,
    BoundaryFunction<FunctionType::IteratorClone, IteratorImpl*(IteratorImpl* iterator)>,
    BoundaryFunction<FunctionType::IteratorDestroy, void(IteratorImpl* iterator)>,
    BoundaryFunction<FunctionType::IteratorGetElement, void(IteratorImpl* iterator, void** element)>,
    BoundaryFunction<FunctionType::IteratorGetReference, void(IteratorImpl* iterator, ReferenceImpl** out)>,
    /// The addresses of the two parts of a complex element, the real one first.
    BoundaryFunction<FunctionType::ReferenceGetParts, int(ReferenceImpl* reference, void** realPart, void** imagPart)>,
    BoundaryFunction<FunctionType::ReferenceSetComplex,
                     int(ReferenceImpl* reference, int type, void* realPart, void* imagPart)>,
    /// As for a column-major buffer, with the layout in which the buffer stands.
    BoundaryFunction<FunctionType::FactoryCreateArrayFromBuffer,
                     int(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                         void* buffer, BufferDeleter deleter, impl::ArrayImpl** out, int layout)>,
    BoundaryFunction<FunctionType::IteratorGetComplexElement, void(IteratorImpl* iterator, void** element)>,
    BoundaryFunction<FunctionType::ArrayBegin, IteratorImpl*(impl::ArrayImpl* array, bool forWriting)>,
    BoundaryFunction<FunctionType::ArrayEnd, IteratorImpl*(impl::ArrayImpl* array, bool forWriting)>,
    /// A buffer as from number 13, zero-filled. Large ones come from the system already zeroed.
    BoundaryFunction<FunctionType::FactoryCreateZeroedBuffer,
                     int(impl::ArrayFactoryImpl* factory, void** buffer, BufferDeleter* deleter, int type,
                         unsigned long numElements)>,
    /// The address of the first element. A library that offers this promises that elements never move and are never
    /// shared behind the client's back: the address stays the same until the array is destroyed or released, and its
    /// only owner may write there without an iterator.
    BoundaryFunction<FunctionType::ArrayGetFixedElements, void*(impl::ArrayImpl* array)>,
    /// A column-major array with unspecified elements, and their address, which may be written to: what numbers 13 and
    /// 110 and an address make of three calls.
    BoundaryFunction<FunctionType::FactoryCreateUnfilledArray,
                     int(impl::ArrayFactoryImpl* factory, int type, unsigned long* dims, unsigned long numDims,
                         impl::ArrayImpl** out, void** elements)>>;

inline constexpr std::size_t boundaryFunctionCount = std::tuple_size_v<BoundaryFunctions>;

template <FunctionType Number>
consteval std::size_t positionAmongBoundaryFunctions() {
    return []<std::size_t... I>(std::index_sequence<I...>) {
        return ((std::tuple_element_t<I, BoundaryFunctions>::number == Number ? I : 0) + ...);
    }(std::make_index_sequence<boundaryFunctionCount>{});
}

/// The pointer type of the function that bears the number.
template <FunctionType Number>
using BoundaryPointer =
    typename std::tuple_element_t<positionAmongBoundaryFunctions<Number>(), BoundaryFunctions>::Pointer;

} // namespace detail
} // namespace orvane::data

/// The library's one entry: the address of the function that bears the number, to be cast to the function's
/// own pointer type, or null where the library at hand does not offer it. Never throws, may be called for
/// the same number any number of times and from any thread. The data pointer as a carrier of function
/// addresses is what POSIX promises for `dlsym`.
extern "C" [[gnu::visibility("default")]] void* get_function_ptr(int number) noexcept;
