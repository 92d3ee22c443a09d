#include "core/gathering.hpp"

#include <cstring>

#include "core/element_access.hpp"
#include "data_client/array_factory.hpp"

namespace orvane::python {

namespace {

template <class T>
T* copyRun(T* target, const std::byte* source, long count, long stride) {
    if (stride == static_cast<long>(sizeof(T))) {
        std::memcpy(static_cast<void*>(target), source, static_cast<std::size_t>(count) * sizeof(T));
        return target + count;
    }
    for (long i = 0; i < count; ++i)
        std::memcpy(static_cast<void*>(target++), source + i * stride, sizeof(T));
    return target;
}

template <class T>
std::shared_ptr<std::byte> gatherElements(const OCppPyArray& view, const Selection& selection) {
    const auto count = static_cast<unsigned long>(selection.elementCount);
    const std::shared_ptr<T[]> block = data::ArrayFactory().createBuffer<T>(count);
    if (count > 0) {
        T* target = block.get();
        visitRuns(selection, [&](unsigned long offset, long length, long stride) {
            target = copyRun(target, view.wrapper().elements() + offset, length, stride);
            return true;
        });
    }
    return {block, reinterpret_cast<std::byte*>(block.get())};
}

} // namespace

std::shared_ptr<std::byte> gather(const OCppPyArray& view, const Selection& selection) {
    return visitElementTypeOf(view, [&]<class T>() { return gatherElements<T>(view, selection); });
}

} // namespace orvane::python
