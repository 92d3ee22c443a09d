// The maker of arrays and of the buffers that become arrays.
#pragma once

#include "element_types.hpp"
#include "function_resolver.hpp"
#include "throw_if_error.hpp"
#include "typed_array.hpp"

#include <algorithm>
#include <concepts>
#include <initializer_list>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace orvane::data {

/// Cheap to make on the spot and stateless.
class ArrayFactory {
public:
    ArrayFactory() : m_impl(make()) {}
    ArrayFactory(const ArrayFactory&) : ArrayFactory() {}
    ArrayFactory& operator=(const ArrayFactory&) noexcept { return *this; } // all are alike

    /// A block for the given number of elements, with unspecified contents.
    template <ArrayElement T>
    Buffer<T> createBuffer(unsigned long numElements) {
        static const auto fcn = detail::resolve<detail::FunctionType::FactoryCreateBuffer>();
        return bufferFrom<T>(fcn, numElements);
    }

    /// The same, all zero. Where the library offers it, a large one comes from the system already zeroed, without a
    /// pass over the elements.
    template <ArrayElement T>
    Buffer<T> createZeroedBuffer(unsigned long numElements) {
        static const auto fcn = detail::find<detail::FunctionType::FactoryCreateZeroedBuffer>();
        if (fcn != nullptr) [[likely]] {
            return bufferFrom<T>(fcn, numElements);
        }
        Buffer<T> buffer = createBuffer<T>(numElements);
        std::fill_n(buffer.get(), numElements, T{});
        return buffer;
    }

    /// An array of zeros, made from a zeroed buffer: the library's own way need not fill the elements.
    template <ArrayElement T>
    TypedArray<T> createArray(std::vector<unsigned long> dims) {
        auto buffer = createZeroedBuffer<T>(countElements(dims));
        return createArrayFromBuffer<T>(dims, std::move(buffer));
    }

    /// An array whose elements the caller is to fill, and the address of the first.
    template <ArrayElement T>
    std::pair<TypedArray<T>, T*> createUnfilledArray(std::span<const unsigned long> dims) {
        static const auto fcn = detail::find<detail::FunctionType::FactoryCreateUnfilledArray>();
        if (fcn != nullptr) [[likely]] {
            impl::ArrayImpl* array = nullptr;
            void* elements = nullptr;
            detail::throwIfError(fcn(m_impl.get(), arrayTypeNumber<T>, const_cast<unsigned long*>(dims.data()),
                                     dims.size(), &array, &elements));
            return {TypedArray<T>(array), static_cast<T*>(elements)};
        }
        TypedArray<T> array = arrayFromBuffer<T>(dims, createBuffer<T>(countElements(dims)), MemoryLayout::ColumnMajor);
        T* const elements = array.writableData();
        return {std::move(array), elements};
    }

    /// A 1-by-1 array.
    template <ArrayElement T>
    TypedArray<T> createScalar(T value) {
        static const auto fcn = detail::resolve<detail::FunctionType::FactoryCreateScalar>();
        impl::ArrayImpl* array = nullptr;
        detail::throwIfError(fcn(m_impl.get(), arrayTypeNumber<T>, &value, &array));
        return TypedArray<T>(array);
    }

    /// An array around the buffer, which has to hold as many elements as the dimensions say. The buffer is freed by its
    /// own deleter: with the array, or here if this throws.
    ///
    /// The layout is told to the library and to nobody else: iterators, spans and Python take the elements in the order
    /// of storage, as column-major. Give a row-major block its extents in reverse instead, and it is read as what it
    /// is, with the subscripts in reverse; or reorder it.
    template <ArrayElement T>
    TypedArray<T> createArrayFromBuffer(const std::vector<unsigned long>& dims, Buffer<T> buffer,
                                        MemoryLayout layout = MemoryLayout::ColumnMajor) {
        return arrayFromBuffer<T>(dims, std::move(buffer), layout);
    }

    /// The same with extents that are written down: `{rows, columns}`.
    template <ArrayElement T>
    TypedArray<T> createArrayFromBuffer(std::initializer_list<unsigned long> dims, Buffer<T> buffer,
                                        MemoryLayout layout = MemoryLayout::ColumnMajor) {
        return arrayFromBuffer<T>(dims, std::move(buffer), layout);
    }

    /// The same with extents that stand somewhere.
    template <ArrayElement T, std::same_as<std::span<const unsigned long>> Extents>
    TypedArray<T> createArrayFromBuffer(Extents dims, Buffer<T> buffer,
                                        MemoryLayout layout = MemoryLayout::ColumnMajor) {
        return arrayFromBuffer<T>(dims, std::move(buffer), layout);
    }

    /// The library's factory, borrowed.
    impl::ArrayFactoryImpl* impl() const noexcept { return m_impl.get(); }

private:
    template <ArrayElement T>
    TypedArray<T> arrayFromBuffer(std::span<const unsigned long> dims, Buffer<T> buffer, MemoryLayout layout) {
        // The library calls the deleter under the type that it was given out with.
        const auto deleter = reinterpret_cast<detail::BufferDeleter>(buffer.get_deleter());
        impl::ArrayImpl* array = nullptr;
        static const auto fcn = detail::find<detail::FunctionType::FactoryCreateArrayFromBuffer>();
        if (fcn != nullptr) [[likely]] {
            detail::throwIfError(fcn(m_impl.get(), arrayTypeNumber<T>, const_cast<unsigned long*>(dims.data()),
                                     dims.size(), buffer.release(), deleter, &array, static_cast<int>(layout)));
            return TypedArray<T>(array);
        }
        if (layout == MemoryLayout::RowMajor) {
            throw detail::ArrayException<Exception, ExceptionType::FeatureNotSupported>(
                "Row-major buffers require C-level");
        }
        return createArrayFromColumnMajorBuffer(dims, std::move(buffer), deleter);
    }

    struct Destroy {
        void operator()(impl::ArrayFactoryImpl* factory) const {
            static const auto destroyFcn = detail::resolve<detail::FunctionType::FactoryDestroy>();
            destroyFcn(factory);
        }
    };

    static impl::ArrayFactoryImpl* make() {
        static const auto fcn = detail::resolve<detail::FunctionType::FactoryCreate>();
        impl::ArrayFactoryImpl* factory = nullptr;
        detail::throwIfError(fcn(&factory));
        return factory;
    }

    template <class T, class Create>
    Buffer<T> bufferFrom(Create create, unsigned long numElements) {
        void* block = nullptr;
        detail::BufferDeleter deleter = nullptr;
        detail::throwIfError(create(m_impl.get(), &block, &deleter, arrayTypeNumber<T>, numElements));
        if (block == nullptr && numElements != 0) [[unlikely]] {
            detail::throwStatus(static_cast<int>(Status::OutOfMemory), {});
        }
        return detail::makeBuffer<T>(block, deleter);
    }

    /// The product of the extents, 0 as soon as one of them is 0.
    static unsigned long countElements(std::span<const unsigned long> dims) {
        unsigned long count = 1;
        bool overflows = false;
        for (const unsigned long extent : dims) {
            if (extent == 0) {
                return 0;
            }
            overflows = __builtin_mul_overflow(count, extent, &count) || overflows;
        }
        if (overflows) {
            detail::throwStatus(static_cast<int>(Status::TooManyElements), {});
        }
        return count;
    }

    /// For libraries that know no layouts.
    template <ArrayElement T>
    TypedArray<T> createArrayFromColumnMajorBuffer(std::span<const unsigned long> dims, Buffer<T> buffer,
                                                   detail::BufferDeleter deleter) {
        static const auto fcn = detail::resolve<detail::FunctionType::FactoryCreateArrayFromColumnMajorBuffer>();
        impl::ArrayImpl* array = nullptr;
        detail::throwIfError(fcn(m_impl.get(), arrayTypeNumber<T>, const_cast<unsigned long*>(dims.data()), dims.size(),
                                 buffer.release(), deleter, &array));
        return TypedArray<T>(array);
    }

    std::unique_ptr<impl::ArrayFactoryImpl, Destroy> m_impl;
};

template <ArrayElement T>
TypedArray<T>::TypedArray()
    : TypedArray(ArrayFactory().createArrayFromBuffer<T>({0, 0}, ArrayFactory().createBuffer<T>(0))) {}

} // namespace orvane::data
