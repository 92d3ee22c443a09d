#include "construction/constructor_parser_impl.hpp"

namespace orvane::python {

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

} // namespace orvane::python
