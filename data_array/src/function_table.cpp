#include "function_table.hpp"

#include "array_functions.hpp"
#include "element_functions.hpp"
#include "factory_functions.hpp"

#include <orvane_data_array/boundary.hpp>

#include <cstddef>
#include <tuple>
#include <utility>

namespace orvane::data {
namespace {

using detail::FunctionType;

/// A number and the function behind it, whose type the boundary settles.
template <FunctionType Number>
struct Entry {
    static constexpr FunctionType number = Number;
    detail::BoundaryPointer<Number> function;
};

constexpr std::tuple functionTable{
    Entry<FunctionType::FactoryCreateArray>{factory_functions::createArray},
    Entry<FunctionType::FactoryCreateScalar>{factory_functions::createScalar},
    Entry<FunctionType::FactoryCreateArrayFromColumnMajorBuffer>{factory_functions::createArrayFromColumnMajorBuffer},
    Entry<FunctionType::FactoryCreateBuffer>{factory_functions::createBuffer},
    Entry<FunctionType::FactoryCreate>{factory_functions::create},
    Entry<FunctionType::FactoryDestroy>{factory_functions::destroy},
    Entry<FunctionType::ReferenceDestroy>{element_functions::destroyReference},
    Entry<FunctionType::ArrayCreateEmpty>{array_functions::createEmpty},
    Entry<FunctionType::ArrayDestroy>{array_functions::destroy},
    Entry<FunctionType::ArrayGetDimensions>{array_functions::getDimensions},
    Entry<FunctionType::ArrayGetNumberOfElements>{array_functions::getNumberOfElements},
    Entry<FunctionType::ArrayGetType>{array_functions::getType},
    Entry<FunctionType::ArrayUnshare>{array_functions::unshare},
    Entry<FunctionType::ArrayGetReference>{element_functions::getReference},
    Entry<FunctionType::ArrayBeginFallback>{element_functions::begin},
    Entry<FunctionType::ArrayEndFallback>{element_functions::end},
    Entry<FunctionType::TypesAreConvertible>{array_functions::typesAreConvertible},
    Entry<FunctionType::ArrayRelease>{array_functions::release},
    Entry<FunctionType::IteratorClone>{element_functions::cloneIterator},
    Entry<FunctionType::IteratorDestroy>{element_functions::destroyIterator},
    Entry<FunctionType::IteratorGetElement>{element_functions::getElement},
    Entry<FunctionType::IteratorGetReference>{element_functions::getReferenceAt},
    Entry<FunctionType::ReferenceGetParts>{element_functions::getParts},
    Entry<FunctionType::ReferenceSetComplex>{element_functions::setComplex},
    Entry<FunctionType::FactoryCreateArrayFromBuffer>{factory_functions::createArrayFromBuffer},
    Entry<FunctionType::IteratorGetComplexElement>{element_functions::getElement},
    Entry<FunctionType::ArrayBegin>{element_functions::begin},
    Entry<FunctionType::ArrayEnd>{element_functions::end},
    Entry<FunctionType::FactoryCreateZeroedBuffer>{factory_functions::createZeroedBuffer},
    Entry<FunctionType::ArrayGetFixedElements>{element_functions::getFixedElements},
    Entry<FunctionType::FactoryCreateUnfilledArray>{factory_functions::createUnfilledArray},
};

/// Whether the table offers the functions of the boundary, all of them and in their order.
static_assert([]<std::size_t... I>(std::index_sequence<I...>) {
    return sizeof...(I) == std::tuple_size_v<decltype(functionTable)> &&
           ((std::tuple_element_t<I, decltype(functionTable)>::number ==
             std::tuple_element_t<I, detail::BoundaryFunctions>::number) &&
            ...);
}(std::make_index_sequence<detail::boundaryFunctionCount>{}));

} // namespace

void* functionAddress(int number) noexcept {
    void* address = nullptr;
    std::apply(
        [&](const auto&... entry) {
            // Stops at the entry that bears the number.
            (void)((static_cast<int>(entry.number) == number &&
                    (address = reinterpret_cast<void*>(entry.function), true)) ||
                   ...);
        },
        functionTable);
    return address;
}

} // namespace orvane::data
