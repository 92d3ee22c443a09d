#include "core/gathering.hpp"

#include <cstring>

#include "core/element_access.hpp"
#include "core/selection_copy.hpp"
#include "data_client/array_factory.hpp"

namespace orvane::python {

namespace {

template <class T>
void copyRun(T* target, const std::byte* source, long count, long stride) {
    if (stride == static_cast<long>(sizeof(T))) {
        std::memcpy(static_cast<void*>(target), source, static_cast<std::size_t>(count) * sizeof(T));
        return;
    }
    for (long i = 0; i < count; ++i)
        std::memcpy(static_cast<void*>(target + i), source + i * stride, sizeof(T));
}

template <class T>
std::optional<std::shared_ptr<std::byte>> gatherElements(const OCppPyArray& view, const Selection& selection) {
    const auto count = static_cast<unsigned long>(selection.elementCount);
    const std::shared_ptr<T[]> block = data::ArrayFactory().createBuffer<T>(count);
    if (count > 0 && !copySelection(block.get(), view, selection, copyRun<T>))
        return std::nullopt;
    return std::shared_ptr<std::byte>(block, reinterpret_cast<std::byte*>(block.get()));
}

} // namespace

std::optional<std::shared_ptr<std::byte>> gather(const OCppPyArray& view, const Selection& selection) {
    return visitElementTypeOf(view, [&]<class T>() { return gatherElements<T>(view, selection); });
}

} // namespace orvane::python
