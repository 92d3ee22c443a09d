// An iterator over the elements of an array. It asks the library once for the address of its element and
// goes on from there by pointer arithmetic: the elements of an array are contiguous, in storage order.
#pragma once

#include "element_address.hpp"
#include "element_types.hpp"
#include "function_resolver.hpp"

#include <compare>
#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

namespace orvane::data {

namespace detail {

/// The address of the element, for iterators, which cannot say what they lack.
template <ArrayElement T, bool IsConst>
std::conditional_t<IsConst, const T, T>* createTempRef(IteratorImpl* iterator) noexcept {
    return static_cast<std::conditional_t<IsConst, const T, T>*>(elementAddress(iterator, ComplexArrayElement<T>));
}

} // namespace detail

/// `T` is an element type, or a constant element type for reading alone.
template <class T>
    requires ArrayElement<std::remove_const_t<T>>
class TypedIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using iterator_concept = std::contiguous_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    TypedIterator() noexcept = default;

    /// Takes ownership of the library's iterator.
    explicit TypedIterator(detail::IteratorImpl* iterator)
        : m_iterator(iterator, detail::DestroyIterator{}),
          m_element(detail::createTempRef<value_type, std::is_const_v<T>>(m_iterator.get())) {}

    TypedIterator(const TypedIterator& other) noexcept : m_element(other.m_element) {
        if (other.m_iterator) {
            static const auto fcn = detail::resolve<detail::FunctionType::IteratorClone>();
            m_iterator = std::shared_ptr<detail::IteratorImpl>(fcn(other.m_iterator.get()), detail::DestroyIterator{});
        }
    }

    TypedIterator(TypedIterator&& other) noexcept = default;

    TypedIterator& operator=(const TypedIterator& other) noexcept { return *this = TypedIterator(other); }

    TypedIterator& operator=(TypedIterator&& other) noexcept = default;

    ~TypedIterator() = default;

    /// The address of the current element.
    T* get() const noexcept { return m_element; }
    T& operator*() const noexcept { return *m_element; }
    T* operator->() const noexcept { return m_element; }
    T& operator[](difference_type distance) const noexcept { return m_element[distance]; }

    TypedIterator& operator+=(difference_type distance) noexcept {
        m_element += distance;
        return *this;
    }
    TypedIterator& operator-=(difference_type distance) noexcept {
        m_element -= distance;
        return *this;
    }
    TypedIterator& operator++() noexcept { return *this += 1; }
    TypedIterator& operator--() noexcept { return *this -= 1; }
    TypedIterator operator++(int) noexcept {
        TypedIterator before(*this);
        ++*this;
        return before;
    }
    TypedIterator operator--(int) noexcept {
        TypedIterator before(*this);
        --*this;
        return before;
    }

    friend TypedIterator operator+(TypedIterator iterator, difference_type distance) noexcept {
        iterator += distance;
        return iterator;
    }
    friend TypedIterator operator+(difference_type distance, TypedIterator iterator) noexcept {
        iterator += distance;
        return iterator;
    }
    friend TypedIterator operator-(TypedIterator iterator, difference_type distance) noexcept {
        iterator -= distance;
        return iterator;
    }
    friend difference_type operator-(const TypedIterator& left, const TypedIterator& right) noexcept {
        return left.m_element - right.m_element;
    }
    friend bool operator==(const TypedIterator& left, const TypedIterator& right) noexcept {
        return left.m_element == right.m_element;
    }
    friend std::strong_ordering operator<=>(const TypedIterator& left, const TypedIterator& right) noexcept {
        return left.m_element <=> right.m_element;
    }

private:
    std::shared_ptr<detail::IteratorImpl> m_iterator;
    T* m_element = nullptr;
};

} // namespace orvane::data
