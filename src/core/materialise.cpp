#include "core/materialise.hpp"

#include <Python.h>

#include <complex>
#include <cstring>
#include <limits>

#include "blocks/single_copy.hpp"
#include "core/element_access.hpp"
#include "core/selection.hpp"
#include "core/selection_copy.hpp"
#include "data_client/array_factory.hpp"
#include "elements/narrowing.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

/// Whether an element may change on the road through a Python number and back.
template <class T>
constexpr bool changesOnTheRoad = std::is_same_v<RealElement<T>, float> || std::is_same_v<T, bool> ||
                                  (isComplexElement<T> && (std::is_same_v<RealElement<T>, std::int64_t> ||
                                                           std::is_same_v<RealElement<T>, std::uint64_t>));

/// A part of a complex element after the road; `refused` is set, once, to the first part that cannot go it.
template <class Real>
Real partAfterTheRoad(Real part, std::optional<double>& refused) {
    if constexpr (std::is_same_v<Real, float>) {
        return singleThroughDouble(part);
    } else {
        const auto number = static_cast<double>(part);
        const std::optional<Real> result = narrowPart<Real>(number);
        if (!result && !refused)
            refused = number;
        return result.value_or(Real{});
    }
}

template <class T>
T afterTheRoad(const std::byte* address, std::optional<double>& refused) {
    const T element = loadElement<T>(address);
    if constexpr (!changesOnTheRoad<T>) {
        return element;
    } else if constexpr (isComplexElement<T>) {
        const auto real = partAfterTheRoad(element.real(), refused);
        return T(real, partAfterTheRoad(element.imag(), refused));
    } else if constexpr (std::is_same_v<T, float>) {
        return partAfterTheRoad(element, refused);
    } else {
        return element;
    }
}

/// Copies a run of elements without gaps.
template <class T>
void copyGapless(T* target, const std::byte* source, long count, std::optional<double>& refused) {
    if constexpr (!changesOnTheRoad<T>) {
        std::memcpy(static_cast<void*>(target), source, static_cast<std::size_t>(count) * sizeof(T));
    } else if constexpr (std::is_same_v<RealElement<T>, float>) {
        const std::size_t parts = isComplexElement<T> ? 2 : 1;
        copySinglesThroughDouble(reinterpret_cast<float*>(target), source, static_cast<std::size_t>(count) * parts);
    } else {
        for (long i = 0; i < count; ++i)
            target[i] = afterTheRoad<T>(source + i * static_cast<long>(sizeof(T)), refused);
    }
}

/// Copies one run along the first free dimension.
template <class T>
void copyRun(T* target, const std::byte* source, long count, long stride, std::optional<double>& refused) {
    if (stride == static_cast<long>(sizeof(T)))
        return copyGapless(target, source, count, refused);
    for (long i = 0; i < count; ++i)
        target[i] = afterTheRoad<T>(source + i * stride, refused);
}

/// Raises for the first element in index order that does not survive the road, its real part first.
template <class T>
void raiseRefused(const std::byte* elements, const Selection& selection) {
    SelectionOdometer odometer(selection);
    std::optional<double> refused;
    do {
        afterTheRoad<T>(elements + odometer.offset(), refused);
    } while (!refused && odometer.advance());
    setError(PyExc_OverflowError, cannotBeStored<RealElement<T>>(refused.value_or(0.0)));
}

std::vector<unsigned long> extentsOfResult(const Selection& selection) {
    if (selection.elementCount == 0) {
        const Extents& whole = selection.layout->shape();
        std::vector<unsigned long> extents(whole.begin(), whole.end());
        extents[0] = 0;
        return extents;
    }
    std::vector<unsigned long> extents(selection.counts.begin(), selection.counts.end());
    if (extents.size() == 1)
        extents.insert(extents.begin(), 1);
    return extents;
}

template <class T>
std::optional<data::Array> materialiseAs(const OCppPyArray& view, const Selection& selection) {
    data::ArrayFactory factory;
    auto buffer = factory.createBuffer<T>(static_cast<unsigned long>(selection.elementCount));
    std::optional<double> refused;
    const auto copy = [&](T* target, const std::byte* source, long count, long stride) {
        copyRun(target, source, count, stride, refused);
    };
    if (selection.elementCount > 0 && !copySelection(buffer.get(), view, selection, copy))
        return std::nullopt;
    if (refused) {
        raiseRefused<T>(view.wrapper().elements(), selection);
        return std::nullopt;
    }
    return factory.createArrayFromBuffer<T>(extentsOfResult(selection), std::move(buffer),
                                            data::MemoryLayout::ColumnMajor);
}

} // namespace

std::optional<data::Array> materialise(const OCppPyArray& view) {
    const Selection selection = selectionOf(view);
    if (!selection.isInside) {
        raiseUnreadable(selection);
        return std::nullopt;
    }
    return visitElementTypeOf(view, [&]<class T>() { return materialiseAs<T>(view, selection); });
}

} // namespace orvane::python
