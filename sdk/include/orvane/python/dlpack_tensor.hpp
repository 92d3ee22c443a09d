// DLPack tensors: their owners, their element types, and tensors of arrays and loans.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/dlpack_abi.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/ending_thread.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/loan.hpp>
#include <orvane/python/own_copy.hpp>
#include <orvane/python/pending_error.hpp>

#include <algorithm>
#include <array>
#include <complex>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// The two forms of a tensor that changes hands.
template <class Form>
concept DlpackForm = std::same_as<Form, dlpack::ManagedTensor> || std::same_as<Form, dlpack::ManagedTensorVersioned>;

/// An element type that DLPack has a name for: it has none for complex integers.
template <class T>
concept DlpackElement = PythonElement<T> && (!isComplexElement<T> || std::floating_point<RealElement<T>>);

namespace detail {

/// Calls a tensor's deleter, code of others: it sees no pending error, and leaves none.
struct DropTensor {
    template <DlpackForm Form>
    void operator()(Form* tensor) const noexcept {
        if (tensor->deleter == nullptr) {
            return;
        }
        sleepIfEnded([tensor] {
            std::optional<PendingError> kept;
            if (holdsInterpreterLock()) {
                kept.emplace();
            }
            tensor->deleter(tensor);
        });
    }
};

} // namespace detail

/// A tensor that calls its deleter when it goes, on whatever thread. `release()` gives it to a consumer, who will.
template <DlpackForm Form = dlpack::ManagedTensorVersioned>
using DlpackTensor = std::unique_ptr<Form, detail::DropTensor>;

namespace detail {

/// An element type by its number at the library's boundary and as DLPack tells it.
struct DlpackKind {
    int type;
    dlpack::DataType dtype;
    std::size_t size;
    std::size_t alignment;
};

template <DlpackElement T>
consteval DlpackKind dlpackKindOf() {
    constexpr auto code = std::is_same_v<T, bool>       ? dlpack::TypeCode::Bool
                          : isComplexElement<T>         ? dlpack::TypeCode::Complex
                          : std::is_floating_point_v<T> ? dlpack::TypeCode::Float
                          : std::is_signed_v<T>         ? dlpack::TypeCode::Int
                                                        : dlpack::TypeCode::UInt;
    return {arrayTypeNumber<T>, {code, 8 * sizeof(T), 1}, sizeof(T), alignof(T)};
}

/// Every kind of element that arrays and DLPack have in common.
inline constexpr auto dlpackKinds = []<std::size_t... I>(std::index_sequence<I...>) {
    std::array<DlpackKind, (elementTypeCount + ... + std::is_floating_point_v<ElementAt<I>>)> kinds{
        dlpackKindOf<ElementAt<I>>()...};
    std::size_t next = elementTypeCount;
    const auto addComplex = [&]<class T>(std::type_identity<T>) {
        if constexpr (std::is_floating_point_v<T>) {
            kinds[next++] = dlpackKindOf<std::complex<T>>();
        }
    };
    (addComplex(std::type_identity<ElementAt<I>>()), ...);
    return kinds;
}(std::make_index_sequence<elementTypeCount>());

template <class Member, class Value>
const DlpackKind* findDlpackKind(Member member, const Value& value) {
    const auto* const found = std::ranges::find(dlpackKinds, value, member);
    return found == dlpackKinds.end() ? nullptr : found;
}

/// Sets the error of tensors that cannot be made or taken, and throws.
template <class... Values>
[[noreturn]] void refuseTensor(const char* format, Values... values) {
    PyErr_Format(PyExc_BufferError, format, values...);
    throw PythonError();
}

inline const DlpackKind& requireDlpackKind(int type) {
    const DlpackKind* const kind = findDlpackKind(&DlpackKind::type, type);
    if (kind == nullptr) {
        refuseTensor("DLPack has no complex integers and no characters");
    }
    return *kind;
}

/// Elements for a tensor to show, or those that one shows.
struct DlpackElements {
    void* first;
    const DlpackKind* kind;
    std::vector<std::size_t> extents;
    std::vector<std::ptrdiff_t> strides; ///< in elements
    std::uint64_t flags = 0;
};

/// Bytes of an element that need not be aligned.
template <std::size_t Size>
struct ElementBytes {
    std::byte bytes[Size];
};

/// The elements in column-major order in a block of their own.
inline std::unique_ptr<std::byte[]> copyOf(const DlpackElements& elements, std::size_t count) {
    std::unique_ptr<std::byte[]> block(new std::byte[count * elements.kind->size]);
    const auto copy = [&]<std::size_t Size>(std::integral_constant<std::size_t, Size>) {
        if (elements.kind->size == Size) {
            using Element = ElementBytes<Size>;
            copyElements<Element>({static_cast<const Element*>(elements.first), elements.extents, elements.strides},
                                  reinterpret_cast<Element*>(block.get()));
        }
    };
    [&]<std::size_t... Power>(std::index_sequence<Power...>) {
        (copy(std::integral_constant<std::size_t, std::size_t{1} << Power>()), ...);
    }(std::make_index_sequence<5>()); // 1 to 16 bytes
    return block;
}

/// A tensor with all that it shows and whatever keeps the elements.
template <DlpackForm Form, class Owner>
struct KeptTensor {
    Form managed{};
    std::vector<std::int64_t> extents;
    std::vector<std::int64_t> strides;
    Owner owner;
};

template <DlpackForm Form, class Owner>
DlpackTensor<Form> makeTensor(const DlpackElements& elements, Owner owner) {
    using Kept = KeptTensor<Form, Owner>;
    std::unique_ptr<Kept> kept(new Kept{{},
                                        {elements.extents.begin(), elements.extents.end()},
                                        {elements.strides.begin(), elements.strides.end()},
                                        std::move(owner)});
    if constexpr (std::is_same_v<Form, dlpack::ManagedTensorVersioned>) {
        kept->managed.version = dlpack::knownVersion;
        kept->managed.flags = elements.flags;
    }
    kept->managed.manager_ctx = kept.get();
    kept->managed.deleter = [](Form* tensor) { delete static_cast<Kept*>(tensor->manager_ctx); };
    kept->managed.dl_tensor = {elements.first,
                               {dlpack::DeviceType::Cpu, 0},
                               static_cast<std::int32_t>(kept->extents.size()),
                               elements.kind->dtype,
                               kept->extents.data(),
                               kept->strides.data(),
                               0};
    return DlpackTensor<Form>(&kept.release()->managed);
}

using OwnedLoan = std::unique_ptr<const OrvaneLoan, GiveBack>;

/// What a loan shows. BufferError for complex integers.
inline DlpackElements elementsOf(const OrvaneLoan& loan, std::uint64_t flags) {
    DlpackElements elements{loan.elements,
                            &requireDlpackKind(loan.type),
                            {loan.extents, loan.extents + loan.rank},
                            {loan.strides, loan.strides + loan.rank},
                            flags};
    for (std::ptrdiff_t& stride : elements.strides) {
        stride /= static_cast<std::ptrdiff_t>(loan.elementSize);
    }
    return elements;
}

} // namespace detail

/// A tensor of elements that Python has lent, which are given back by its deleter, on any thread, with the interpreter
/// lock or without. Nothing is copied; the tensor has the strides of the view. One that was lent for reading is marked
/// read-only, which the older form cannot be: for that lend for writing, or copy.
template <DlpackForm Form = dlpack::ManagedTensorVersioned, class T>
    requires DlpackElement<std::remove_const_t<T>>
DlpackTensor<Form> toDlpack(LentElements<T> loan) {
    static_assert(!std::is_const_v<T> || std::is_same_v<Form, dlpack::ManagedTensorVersioned>,
                  "only version 1 can say that a tensor must not be written to");
    detail::OwnedLoan owned(loan.release());
    const OrvaneLoan& shown = *owned;
    return detail::makeTensor<Form>(detail::elementsOf(shown, std::is_const_v<T> ? dlpack::readOnlyFlag : 0),
                                    std::move(owned));
}

/// A writable tensor of an array of C++: move the only handle in, and no element is copied. A handle that shares its
/// array, or was lent, gives a copy. BufferError for complex integers and characters.
template <DlpackForm Form = dlpack::ManagedTensorVersioned>
DlpackTensor<Form> toDlpack(data::Array array) {
    const detail::DlpackKind& kind = detail::requireDlpackKind(static_cast<int>(array.getType()));
    void* const first = array.writableElements();
    const auto dimensions = array.extents();
    const data::ColumnMajorSpan<std::byte> shape(nullptr, {dimensions.begin(), dimensions.end()});
    return detail::makeTensor<Form>({first, &kind, shape.extents(), shape.strides()}, std::move(array));
}

} // namespace python
} // namespace orvane
