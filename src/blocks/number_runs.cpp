#include "blocks/number_runs.hpp"

#include <algorithm>
#include <array>
#include <complex>
#include <cstring>

#include "blocks/single_copy.hpp"

namespace orvane::python {

namespace {

template <class T>
constexpr auto sizeOf = static_cast<long>(sizeof(T));

/// Moves items that are far from each other: some are all asked for before the first of them is stored. The distance
/// of their places is a constant to the compiler where it can be.
template <std::size_t size>
[[gnu::always_inline]] inline void moveFarItems(const std::byte* source, long stride, std::byte* target,
                                                long targetStride, long count) noexcept {
    constexpr long together = 8;
    long i = 0;
    for (; i + together <= count; i += together) {
        std::array<std::array<std::byte, size>, together> items;
        for (std::size_t k = 0; k < together; ++k)
            std::memcpy(&items[k], source + (i + static_cast<long>(k)) * stride, size);
        for (std::size_t k = 0; k < together; ++k)
            std::memcpy(target + (i + static_cast<long>(k)) * targetStride, &items[k], size);
    }
    for (; i < count; ++i)
        std::memcpy(target + i * targetStride, source + i * stride, size);
}

/// Moves items as they are.
template <std::size_t size>
void moveItems(const std::byte* source, long stride, std::byte* target, long targetStride, long count) noexcept {
    constexpr auto gapless = static_cast<long>(size);
    if (stride == gapless && targetStride == gapless) {
        std::memcpy(target, source, static_cast<std::size_t>(count) * size);
        return;
    }
    if (targetStride == gapless)
        moveFarItems<size>(source, stride, target, gapless, count);
    else
        moveFarItems<size>(source, stride, target, targetStride, count);
}

/// Converts numbers, or one part of complex ones, which are floats to Python whatever they are in memory. The strides
/// are constants to the compiler where they can be.
template <class Real, class Part, bool isFloat>
[[gnu::always_inline]] inline bool storeParts(const std::byte* source, long stride, std::byte* target,
                                              long targetStride, long count) noexcept {
    bool fit = true;
    for (long i = 0; i < count; ++i) {
        const auto number = loadNumber<Part>(source + i * stride);
        Real part{};
        if constexpr (isFloat && std::is_integral_v<Part>)
            fit &= storePart(static_cast<double>(number), part);
        else
            fit &= storePart(number, part);
        std::memcpy(target + i * targetStride, &part, sizeof part);
    }
    return fit;
}

/// So many numbers are converted between two looks at whether they fit.
constexpr long numbersTogether = 1024;

template <class Real, class Part, bool isFloat>
[[gnu::noinline]] bool convertParts(const std::byte* source, long stride, std::byte* target, long targetStride,
                                    long count) noexcept {
    const bool isGapless = stride == sizeOf<Part> && targetStride == sizeOf<Real>;
    if constexpr (std::is_same_v<Real, float> && std::is_same_v<Part, float>) {
        if (isGapless && reinterpret_cast<std::uintptr_t>(target) % alignof(float) == 0) {
            copySinglesThroughDouble(reinterpret_cast<float*>(target), source, static_cast<std::size_t>(count));
            return true;
        }
    }
    for (long i = 0; i < count;
         i += numbersTogether, source += numbersTogether * stride, target += numbersTogether * targetStride) {
        const long together = std::min(count - i, numbersTogether);
        const bool fit = isGapless
                             ? storeParts<Real, Part, isFloat>(source, sizeOf<Part>, target, sizeOf<Real>, together)
                             : storeParts<Real, Part, isFloat>(source, stride, target, targetStride, together);
        if (!fit)
            return false;
    }
    return true;
}

/// Truth values of complex numbers.
template <class Part>
void convertToTruth(const std::byte* source, long stride, std::byte* target, long targetStride, long count) noexcept {
    for (long i = 0; i < count; ++i, source += stride) {
        const bool isTrue = loadNumber<Part>(source) != 0 || loadNumber<Part>(source + sizeOf<Part>) != 0;
        std::memcpy(target + i * targetStride, &isTrue, sizeof isTrue);
    }
}

template <class T, class From>
bool convertItems(const std::byte* source, long stride, std::byte* target, long targetStride, long count) noexcept {
    using Real = RealElement<T>;
    using Part = RealElement<From>;
    constexpr bool isPair = isComplexElement<From>;
    if constexpr (std::is_same_v<T, From> && keepsItsBits<T>) {
        moveItems<sizeof(T)>(source, stride, target, targetStride, count);
        return true;
    } else if constexpr (std::is_same_v<T, bool> && isPair) {
        convertToTruth<Part>(source, stride, target, targetStride, count);
        return true;
    } else if constexpr (!isComplexElement<T>) {
        return convertParts<Real, Part, isPair>(source, stride, target, targetStride, count);
    } else if constexpr (isPair) {
        if (stride == sizeOf<From> && targetStride == sizeOf<T>)
            return convertParts<Real, Part, true>(source, sizeOf<Part>, target, sizeOf<Real>, 2 * count);
        return convertParts<Real, Part, true>(source, stride, target, targetStride, count) &&
               convertParts<Real, Part, true>(source + sizeOf<Part>, stride, target + sizeOf<Real>, targetStride,
                                              count);
    } else {
        constexpr Real zero{};
        moveItems<sizeof zero>(reinterpret_cast<const std::byte*>(&zero), 0, target + sizeOf<Real>, targetStride,
                               count);
        return convertParts<Real, Part, false>(source, stride, target, targetStride, count);
    }
}

/// The integers of a progression, a few at a time.
template <class T>
bool convertProgression(const NumberRun& run, long count, std::byte* target, long targetStride) noexcept {
    std::array<std::int64_t, 256> numbers;
    for (long start = 0; start < count;) {
        const long together = std::min(count - start, static_cast<long>(numbers.size()));
        for (long i = 0; i < together; ++i)
            numbers[static_cast<std::size_t>(i)] = run.first + (start + i) * run.stride;
        if (!convertItems<T, std::int64_t>(reinterpret_cast<const std::byte*>(numbers.data()), sizeOf<std::int64_t>,
                                           target + start * targetStride, targetStride, together))
            return false;
        start += together;
    }
    return true;
}

} // namespace

template <class T>
bool RunConversion<T>::convert(const NumberRun& run, long count, std::byte* target, long targetStride) noexcept {
    if (run.address == nullptr)
        return convertProgression<T>(run, count, target, targetStride);
    return visitKind(run.kind, [&]<class From>() {
        if constexpr (conversionOf<T, From, true>() == Conversion::Never)
            return false;
        else
            return convertItems<T, From>(run.address, run.stride, target, targetStride, count);
    });
}

template struct RunConversion<double>;
template struct RunConversion<float>;
template struct RunConversion<std::int8_t>;
template struct RunConversion<std::uint8_t>;
template struct RunConversion<std::int16_t>;
template struct RunConversion<std::uint16_t>;
template struct RunConversion<std::int32_t>;
template struct RunConversion<std::uint32_t>;
template struct RunConversion<std::int64_t>;
template struct RunConversion<std::uint64_t>;
template struct RunConversion<bool>;
template struct RunConversion<std::complex<double>>;
template struct RunConversion<std::complex<float>>;
template struct RunConversion<std::complex<std::int8_t>>;
template struct RunConversion<std::complex<std::uint8_t>>;
template struct RunConversion<std::complex<std::int16_t>>;
template struct RunConversion<std::complex<std::uint16_t>>;
template struct RunConversion<std::complex<std::int32_t>>;
template struct RunConversion<std::complex<std::uint32_t>>;
template struct RunConversion<std::complex<std::int64_t>>;
template struct RunConversion<std::complex<std::uint64_t>>;

} // namespace orvane::python
