#include "blocks/single_copy.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "elements/narrowing.hpp"

// Which registers there are shows when the module is loaded: the linker then takes one of two compilations of the same
// plain loop. Nothing in it is made for one processor.
#if defined(__x86_64__) && defined(__GLIBC__) && __has_attribute(target_clones)
#define ORVANE_ALSO_FOR_WIDE_VECTORS [[gnu::target_clones("avx2", "default")]]
#else
#define ORVANE_ALSO_FOR_WIDE_VECTORS
#endif

namespace orvane::python {

namespace {

/// So many elements, 8 KiB, are copied before they are looked through a second time, while they are still in the first
/// cache, of which any processor has a multiple.
constexpr std::size_t blockLength = 2048;

} // namespace

ORVANE_ALSO_FOR_WIDE_VECTORS
void copySinglesThroughDouble(float* target, const std::byte* source, std::size_t count) noexcept {
    // Infinities and NaNs are rare: a bare copy finds out whether there are any. They are the greatest numbers once the
    // sign has been shifted out.
    constexpr std::uint32_t infinity = 0x7f800000u << 1;
    while (count > 0) {
        const std::size_t length = std::min(count, blockLength);
        std::uint32_t greatest = 0;
        // The fewer instructions a byte, the further ahead of the stores are the loads.
#pragma GCC unroll 4
        for (std::size_t i = 0; i < length; ++i) {
            std::uint32_t bits;
            std::memcpy(&bits, source + i * sizeof bits, sizeof bits);
            std::memcpy(target + i, &bits, sizeof bits);
            greatest = std::max(greatest, bits << 1);
        }
        if (greatest >= infinity)
            std::transform(target, target + length, target, singleThroughDouble);
        target += length;
        source += length * sizeof(float);
        count -= length;
    }
}

} // namespace orvane::python
