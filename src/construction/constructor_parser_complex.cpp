#include "construction/constructor_parser_impl.hpp"

namespace orvane::python {

template class FinalConstructorParser<std::complex<double>>;
template class FinalConstructorParser<std::complex<float>>;
template class FinalConstructorParser<std::complex<std::int8_t>>;
template class FinalConstructorParser<std::complex<std::uint8_t>>;
template class FinalConstructorParser<std::complex<std::int16_t>>;
template class FinalConstructorParser<std::complex<std::uint16_t>>;
template class FinalConstructorParser<std::complex<std::int32_t>>;
template class FinalConstructorParser<std::complex<std::uint32_t>>;
template class FinalConstructorParser<std::complex<std::int64_t>>;
template class FinalConstructorParser<std::complex<std::uint64_t>>;

} // namespace orvane::python
