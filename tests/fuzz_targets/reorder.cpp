// From row-major to column-major order, element by element.
#include "blocks/reorder.hpp"
#include "fuzzing.hpp"

using namespace orvane::python;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const std::size_t width = 1 << data.ConsumeIntegralInRange(0, 4);
    const bool isTruth = width == 1 && data.ConsumeBool();
    std::vector<std::size_t> dims;
    std::size_t count = 1;
    for (std::size_t extent = 1; dims.size() < 8 && count * extent < 20'000; count *= extent, dims.push_back(extent))
        extent = data.ConsumeIntegralInRange<std::size_t>(1, data.ConsumeBool() ? 5 : 300);
    const auto misalignment = data.ConsumeIntegralInRange<std::size_t>(0, 15);
    std::vector<std::uint8_t> source(misalignment + count * width), target(count * width);
    for (std::size_t i = 0; i < source.size(); ++i)
        source[i] = i * 167 >> i % 5;
    const std::uint8_t* const rows = source.data() + misalignment;
    reorderToColumnMajor(target.data(), rows, dims, width, isTruth ? Transfer::TruthValues : Transfer::Bytewise);
    for (std::size_t i = 0; i < count * width; ++i) {
        const std::size_t place = columnMajorPlace(i / width, dims, count) * width + i % width;
        require(target[place] == (isTruth ? rows[i] != 0 : rows[i]));
    }
    return 0;
}
