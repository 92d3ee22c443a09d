#include "construction/constructor_parser_impl.hpp"

namespace orvane::python {

bool detail::raiseUnableToAllocate(std::optional<std::size_t> count, const char* typeName) {
    const std::size_t written = count.value_or(std::numeric_limits<std::size_t>::max());
    setError(PyExc_MemoryError, "unable to allocate memory for array with number of elements = " +
                                    std::to_string(written) + "; type = " + typeName);
    return false;
}

std::optional<std::size_t> detail::wideProduct(const Dims& dims) noexcept {
    std::size_t product = 1;
    bool overflowed = false;
    for (const std::size_t extent : dims) {
        if (extent == 0)
            return 0;
        overflowed |= __builtin_mul_overflow(product, extent, &product);
    }
    return overflowed ? std::nullopt : std::optional(product);
}

template class FinalConstructorParser<double>;
template class FinalConstructorParser<float>;
template class FinalConstructorParser<std::int8_t>;
template class FinalConstructorParser<std::uint8_t>;
template class FinalConstructorParser<std::int16_t>;
template class FinalConstructorParser<std::uint16_t>;
template class FinalConstructorParser<std::int32_t>;
template class FinalConstructorParser<std::uint32_t>;
template class FinalConstructorParser<std::int64_t>;
template class FinalConstructorParser<std::uint64_t>;
template class FinalConstructorParser<bool>;

template std::optional<data::TypedArray<double>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<float>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::int8_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::uint8_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::int16_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::uint16_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::int32_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::uint32_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::int64_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<std::uint64_t>> createArrayFromConstructorArgs(const ConstructorArguments&);
template std::optional<data::TypedArray<bool>> createArrayFromConstructorArgs(const ConstructorArguments&);

} // namespace orvane::python
