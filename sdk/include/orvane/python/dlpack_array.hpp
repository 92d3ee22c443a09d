// Python arrays of DLPack tensors.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/adopt.hpp>
#include <orvane/python/dlpack_abi.hpp>
#include <orvane/python/dlpack_tensor.hpp>
#include <orvane/python/reference.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// Whether elements are copied on their way in or out; the word `copy` of Python's protocol.
enum class DlpackCopy {
    IfNeeded, ///< None
    Always,   ///< True
    Never     ///< False: BufferError where a copy is needed
};

namespace detail {

/// What is known of a tensor once it has been looked through.
struct TensorContent : DlpackElements {
    std::size_t count = 1;
    bool isCopied = false; ///< whether an array has to have elements of its own
};

/// How many elements there are. BufferError for extents that no memory has.
inline std::size_t countOf(const dlpack::Tensor& tensor, std::size_t elementSize) {
    if (tensor.ndim < 0 || (tensor.ndim > 0 && tensor.shape == nullptr)) {
        refuseTensor("the DLPack tensor does not tell its extents");
    }
    const std::span<const std::int64_t> extents(tensor.shape, static_cast<std::size_t>(tensor.ndim));
    if (std::ranges::any_of(extents, [](std::int64_t extent) { return extent < 0; })) {
        refuseTensor("the DLPack tensor has a negative extent");
    }
    if (std::ranges::find(extents, 0) != extents.end()) {
        return 0;
    }
    constexpr auto most = std::numeric_limits<std::ptrdiff_t>::max() / 2;
    auto bytes = static_cast<std::ptrdiff_t>(elementSize);
    for (const std::int64_t extent : extents) {
        if (__builtin_mul_overflow(bytes, extent, &bytes) || bytes > most) {
            refuseTensor("the DLPack tensor is too large");
        }
    }
    return static_cast<std::size_t>(bytes) / elementSize;
}

/// The tensor's strides, in elements; those of row-major order where it has none.
inline std::vector<std::ptrdiff_t> stridesOf(const dlpack::Tensor& tensor) {
    const auto rank = static_cast<std::size_t>(tensor.ndim);
    if (tensor.strides != nullptr) {
        return {tensor.strides, tensor.strides + rank};
    }
    std::vector<std::ptrdiff_t> strides(rank, 1);
    for (std::size_t d = rank; d > 1; --d) {
        strides[d - 2] = strides[d - 1] * tensor.shape[d - 1];
    }
    return strides;
}

/// The address of the first element. BufferError when it, or the way from there to any other, leaves the memory.
inline void* firstOf(const dlpack::Tensor& tensor, const DlpackElements& elements) {
    const auto base = reinterpret_cast<std::uintptr_t>(tensor.data);
    std::uintptr_t first = 0;
    bool isLost = base == 0 || __builtin_add_overflow(base, tensor.byte_offset, &first);
    std::uintptr_t lowest = first;
    std::uintptr_t highest = first;
    for (std::size_t d = 0; d < elements.extents.size(); ++d) {
        const bool isDescending = elements.strides[d] < 0;
        std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(elements.kind->size * (elements.extents[d] - 1));
        isLost |= __builtin_mul_overflow(reach, elements.strides[d], &reach);
        std::uintptr_t& end = isDescending ? lowest : highest;
        isLost |= __builtin_add_overflow(end, reach, &end);
    }
    if (isLost) {
        refuseTensor("the DLPack tensor has elements outside of the memory");
    }
    return reinterpret_cast<void*>(first);
}

/// What a tensor shows. BufferError for tensors that are no array's and for those that cannot be true.
inline TensorContent contentOf(const dlpack::Tensor& tensor) {
    if (tensor.device.device_type != dlpack::DeviceType::Cpu) {
        refuseTensor("the DLPack tensor lies on a device of type %d, not in the CPU's memory",
                     static_cast<int>(tensor.device.device_type));
    }
    TensorContent content{};
    content.kind = findDlpackKind(&DlpackKind::dtype, tensor.dtype);
    if (content.kind == nullptr) {
        refuseTensor("arrays have no elements of DLPack's type %d with %d bits and %d lanes",
                     static_cast<int>(tensor.dtype.code), int{tensor.dtype.bits}, int{tensor.dtype.lanes});
    }
    content.count = countOf(tensor, content.kind->size);
    content.extents.assign(tensor.shape, tensor.shape + tensor.ndim);
    if (content.count == 0) {
        content.strides.assign(content.extents.size(), 0);
        return content;
    }
    content.strides = stridesOf(tensor);
    content.first = firstOf(tensor, content);
    const data::ColumnMajorSpan<std::byte> shape(nullptr, content.extents, content.strides);
    content.isCopied =
        !shape.isContiguous() || reinterpret_cast<std::uintptr_t>(content.first) % content.kind->alignment != 0;
    return content;
}

/// Whether some byte of the elements of a logical array is neither 0 nor 1, which no `bool` may be.
inline bool hasOtherThanTruthValues(const TensorContent& content, const void* first) {
    const auto* const bytes = static_cast<const unsigned char*>(first);
    return content.kind->dtype.code == dlpack::TypeCode::Bool &&
           std::any_of(bytes, bytes + content.count, [](unsigned char byte) { return byte > 1; });
}

/// What a tensor shows, and whether it is to be copied. BufferError for tensors that cannot be taken.
template <DlpackForm Form>
TensorContent contentOf(const Form& managed, DlpackCopy copy) {
    std::uint64_t flags = dlpack::readOnlyFlag; // what the older form does not tell may be so
    if constexpr (std::is_same_v<Form, dlpack::ManagedTensorVersioned>) {
        if (managed.version.major != dlpack::knownVersion.major) {
            refuseTensor("version %u of DLPack is not known", static_cast<unsigned>(managed.version.major));
        }
        flags = managed.flags;
    }
    TensorContent content = contentOf(managed.dl_tensor);
    content.flags = flags;
    content.isCopied = content.isCopied || hasOtherThanTruthValues(content, content.first);
    if (content.isCopied && copy == DlpackCopy::Never) {
        refuseTensor("the elements of the DLPack tensor cannot be had without a copy");
    }
    content.isCopied |= copy == DlpackCopy::Always && (flags & dlpack::isCopiedFlag) == 0;
    return content;
}

template <DlpackForm Form>
Reference arrayOf(const TensorContent& content, DlpackTensor<Form> tensor) {
    const std::vector<std::ptrdiff_t> extents(content.extents.begin(), content.extents.end());
    if (!content.isCopied) {
        const bool isReadOnly = (content.flags & dlpack::readOnlyFlag) != 0;
        return adopt(content.first, content.kind->type, extents, isReadOnly, std::move(tensor));
    }
    std::unique_ptr<std::byte[]> block = copyOf(content, content.count);
    if (hasOtherThanTruthValues(content, block.get())) {
        std::ranges::replace_if(
            block.get(), block.get() + content.count, [](std::byte byte) { return byte != std::byte{0}; },
            std::byte{1});
    }
    tensor.reset();
    std::byte* const first = block.get();
    return adopt(first, content.kind->type, extents, false, std::move(block));
}

} // namespace detail

/// A new Python array of a tensor in the CPU's memory. It takes the tensor over in every case, and its deleter is
/// called once: on failure, after a copy, or when nothing uses the elements any more.
///
/// Where the elements lie in column-major order without gaps nothing is copied: what Python assigns is seen by whoever
/// else has them. They are copied once where they lie otherwise, where they are not aligned, and where truth values are
/// neither 0 nor 1, which then count as 1. Elements that are marked read-only, and all of the older form, which cannot
/// say so, are copied at Python's first assignment.
///
/// No dimension makes an array of 1 by 1, one dimension a row; extents of 1 beyond the second are dropped at the end.
///
/// BufferError for other devices, element types that arrays do not have (several lanes among them), extents and strides
/// that cannot be true, and major versions that are not known. TypeError for a null pointer.
template <DlpackForm Form>
Reference fromDlpack(DlpackTensor<Form> tensor, DlpackCopy copy = DlpackCopy::IfNeeded) {
    if (!tensor) {
        detail::refuse("a DLPack tensor", nullptr);
    }
    const detail::TensorContent content = detail::contentOf(*tensor, copy);
    return detail::arrayOf(content, std::move(tensor));
}

} // namespace python
} // namespace orvane
