// That the header for C says of the boundary what the one for C++ says.
#include <orvane/boundary.h>
#include <orvane_data_array/boundary.hpp>
#include <orvane_data_array/element_kinds.hpp>

#include <tuple>
#include <type_traits>

namespace {

using namespace orvane::data;

/// A type of the C header with C++'s types in place of what C knows by pointer alone.
template <class T>
struct InCpp : std::type_identity<T> {};
template <>
struct InCpp<OrvaneArray> : std::type_identity<impl::ArrayImpl> {};
template <>
struct InCpp<OrvaneFactory> : std::type_identity<impl::ArrayFactoryImpl> {};
template <>
struct InCpp<OrvaneIterator> : std::type_identity<detail::IteratorImpl> {};
template <>
struct InCpp<OrvaneReference> : std::type_identity<detail::ReferenceImpl> {};
template <class T>
struct InCpp<T*> : std::type_identity<typename InCpp<T>::type*> {};
template <class Result, class... T>
struct InCpp<Result(T...)> : std::type_identity<typename InCpp<Result>::type(typename InCpp<T>::type...)> {};

template <int Number, class Pointer>
struct Row {
    template <class Function>
    static constexpr bool agreesWith = static_cast<int>(Function::number) == Number &&
                                       std::is_same_v<typename Function::Pointer, typename InCpp<Pointer>::type>;
};

#define ROW(type) Row<type##Number, type>
using Rows = std::tuple<
    ROW(OrvaneFactoryCreateArray), ROW(OrvaneFactoryCreateScalar), ROW(OrvaneFactoryCreateArrayFromColumnMajorBuffer),
    ROW(OrvaneFactoryCreateBuffer), ROW(OrvaneFactoryCreate), ROW(OrvaneFactoryDestroy), ROW(OrvaneReferenceDestroy),
    ROW(OrvaneArrayCreateEmpty), ROW(OrvaneArrayDestroy), ROW(OrvaneArrayGetDimensions),
    ROW(OrvaneArrayGetNumberOfElements), ROW(OrvaneArrayGetType), ROW(OrvaneArrayUnshare), ROW(OrvaneArrayGetReference),
    ROW(OrvaneArrayBeginFallback), ROW(OrvaneArrayEndFallback), ROW(OrvaneTypesAreConvertible), ROW(OrvaneArrayRelease),
    ROW(OrvaneIteratorClone), ROW(OrvaneIteratorDestroy), ROW(OrvaneIteratorGetElement),
    ROW(OrvaneIteratorGetReference), ROW(OrvaneReferenceGetParts), ROW(OrvaneReferenceSetComplex),
    ROW(OrvaneFactoryCreateArrayFromBuffer), ROW(OrvaneIteratorGetComplexElement), ROW(OrvaneArrayBegin),
    ROW(OrvaneArrayEnd), ROW(OrvaneFactoryCreateZeroedBuffer), ROW(OrvaneArrayGetFixedElements),
    ROW(OrvaneFactoryCreateUnfilledArray)>;

template <class... Function>
consteval bool rowsAgreeWith(std::type_identity<std::tuple<Function...>>) {
    return []<class... R>(std::type_identity<std::tuple<R...>>) {
        return (R::template agreesWith<Function> && ...);
    }(std::type_identity<Rows>{});
}
static_assert(rowsAgreeWith(std::type_identity<detail::BoundaryFunctions>{}));

static_assert(std::is_same_v<OrvaneDeleter, detail::BufferDeleter>);
static_assert(ORVANE_COLUMN_MAJOR == static_cast<int>(MemoryLayout::ColumnMajor) &&
              ORVANE_ROW_MAJOR == static_cast<int>(MemoryLayout::RowMajor));
template <class T>
constexpr auto number = orvane::arrayTypeNumber<T>;
static_assert(ORVANE_LOGICAL == number<bool> && ORVANE_CHARACTER == number<char16_t> &&
              ORVANE_DOUBLE == number<double> && ORVANE_SINGLE == number<float> && ORVANE_INT8 == number<std::int8_t> &&
              ORVANE_UINT8 == number<std::uint8_t> && ORVANE_INT16 == number<std::int16_t> &&
              ORVANE_UINT16 == number<std::uint16_t> && ORVANE_INT32 == number<std::int32_t> &&
              ORVANE_UINT32 == number<std::uint32_t> && ORVANE_INT64 == number<std::int64_t> &&
              ORVANE_UINT64 == number<std::uint64_t> &&
              ORVANE_DOUBLE + ORVANE_COMPLEX_OFFSET == number<std::complex<double>>);

} // namespace
