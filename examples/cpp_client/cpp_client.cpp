// A tour of the client classes: an array from a buffer, a typed view of it, a write that leaves the other
// handle alone, and the elements handed back.
#include "data_client/array_factory.hpp"
#include "data_client/numeric_visitor.hpp"

#include <exception>
#include <iostream>
#include <numeric>
#include <span>
#include <string_view>
#include <utility>

namespace {

using namespace orvane::data;

void print(std::string_view label, std::span<const double> elements) {
    std::cout << label;
    for (const double element : elements) {
        std::cout << ' ' << element;
    }
    std::cout << '\n';
}

void printArray(std::string_view label, const TypedArray<double>& array) {
    // The elements are contiguous, column by column.
    print(label, {array.begin(), array.end()});
}

/// The sum of an array of any element kind that can be summed.
double sum(const Array& array) {
    return apply_numeric_visitor(array, [](const auto& typed) {
        double total = 0;
        for (const auto& element : typed) {
            if constexpr (requires { static_cast<double>(element); }) {
                total += static_cast<double>(element);
            }
        }
        return total;
    });
}

void tour() {
    ArrayFactory factory;

    // The library's buffers are aligned and can become arrays without a copy.
    Buffer<double> buffer = factory.createBuffer<double>(6);
    std::iota(buffer.get(), buffer.get() + 6, 1.0);
    const Array array = factory.createArrayFromBuffer<double>({2, 3}, std::move(buffer));
    const auto dimensions = array.getDimensions();
    std::cout << dimensions[0] << "-by-" << dimensions[1] << ", sum " << sum(array) << '\n';

    // A second handle shares the elements until one of the two writes.
    TypedArray<double> copy(array);
    *copy.begin() = 10;
    printArray("the array ", TypedArray<double>(array));
    printArray("its copy  ", copy);

    // The only owner gives its elements away as they stand.
    const Buffer<double> released = copy.release();
    print("released  ", {released.get(), 6});

    // What cannot be done is said by an exception.
    try {
        const TypedArray<float> singles(array);
    } catch (const orvane::Exception& refusal) {
        std::cout << refusal.what() << '\n';
    }
}

} // namespace

int main() {
    try {
        tour();
    } catch (const std::exception& fault) {
        std::cerr << fault.what() << '\n';
        return 1;
    }
}
