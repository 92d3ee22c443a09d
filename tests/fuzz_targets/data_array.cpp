// The data-array library at its boundary: statuses follow from the arguments alone, and elements stay what they are.
#include <cstring>

#include <orvane_data_array/boundary.hpp>
#include <orvane_data_array/element_kinds.hpp>
#include <orvane_data_array/status.hpp>

#include "fuzzing.hpp"

using namespace orvane::data;
using detail::FunctionType;

template <FunctionType Number, class... Arguments>
static auto call(Arguments... arguments) {
    return reinterpret_cast<detail::BoundaryPointer<Number>>(get_function_ptr(static_cast<int>(Number)))(arguments...);
}

extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1"; // what is beyond all memory is a status
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const auto number = [&] {
        return data.ConsumeBool() ? data.ConsumeIntegral<unsigned long>() : data.ConsumeIntegralInRange(0UL, 9UL);
    };
    const int type = data.ConsumeIntegralInRange(-2, 25);
    const std::size_t width = orvane::elementSize(type);
    double total = static_cast<double>(width); // in bytes; exact as far as it matters
    std::vector<unsigned long> dims(data.ConsumeIntegralInRange(0, 4));
    for (unsigned long& extent : dims)
        total *= static_cast<double>(extent = number());
    impl::ArrayFactoryImpl* factory = nullptr; // holds nothing: one serves all
    impl::ArrayImpl* array = nullptr;
    require(call<FunctionType::FactoryCreate>(&factory) == 0);
    const Status made{call<FunctionType::FactoryCreateArray>(factory, type, dims.data(), dims.size(), &array)};
    require((array != nullptr) == (made == Status::Success));
    require((made == Status::ArrayTypeMismatch) == (width == 0));
    require((made == Status::TooManyElements) == (total >= 0x1p63));
    require(total > 0x1p30 || width == 0 || made == Status::Success);
    std::vector<std::uint8_t> wanted(array != nullptr && total < 0x1p20 ? static_cast<std::size_t>(total) : 0);
    while (array != nullptr && total < 0x1p20 && data.remaining_bytes() > 0) {
        const unsigned long index = number(), count = wanted.size() / width;
        std::uint8_t value[16] = {data.ConsumeIntegral<std::uint8_t>(), 1, 2, 3, 4, 5, 6, 7, 8};
        detail::ReferenceImpl* element = nullptr;
        const Status found{call<FunctionType::ArrayGetReference>(array, index, &element)};
        require(found == (count == 0 ? Status::EmptyArray : index < count ? Status::Success : Status::InvalidIndex));
        if (element != nullptr) {
            const int given = data.ConsumeBool() ? type : data.ConsumeIntegralInRange(-2, 25);
            void *const real = value, *const imaginary = value + width / 2;
            const Status set{call<FunctionType::ReferenceSetComplex>(element, given, real, imaginary)};
            const auto otherwise = given == type ? Status::Success : Status::TypeMismatch;
            require(set == (orvane::isComplexKind(type) ? otherwise : Status::Unsupported));
            call<FunctionType::ReferenceDestroy>(element);
            if (set == Status::Success)
                std::memcpy(wanted.data() + index * width, value, width);
        }
        if (impl::ArrayImpl* copy = nullptr; call<FunctionType::ArrayUnshare>(array, data.ConsumeBool(), &copy)) {
            call<FunctionType::ArrayDestroy>(array);
            array = copy;
        }
        const void* const elements = call<FunctionType::ArrayGetFixedElements>(array);
        require(wanted.empty() || std::memcmp(elements, wanted.data(), wanted.size()) == 0);
    }
    call<FunctionType::ArrayDestroy>(array);
    return 0;
}
