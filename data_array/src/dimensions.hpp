// The extents of an array.
#pragma once

#include <orvane_data_array/status.hpp>

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <tuple>
#include <utility>

namespace orvane::data {

/// As many extents as one likes, first dimension first; the usual few take no memory of their own.
class Dimensions {
public:
    /// 0-by-0.
    Dimensions() noexcept {}
    /// The source has no extents afterwards.
    Dimensions(Dimensions&& other) noexcept { take(other); }
    Dimensions& operator=(Dimensions&& other) noexcept {
        reset();
        take(other);
        return *this;
    }
    ~Dimensions() {
        if (areMany()) {
            freeMany();
        }
    }

    /// Copies the extents; gives `OutOfMemory` and stays as it was where that is not possible.
    Status assign(std::span<const unsigned long> extents) noexcept;

    unsigned long* data() noexcept { return areMany() ? m_many : m_few.data(); }
    std::size_t size() const noexcept { return m_size; }
    std::span<const unsigned long> extents() const noexcept { return {areMany() ? m_many : m_few.data(), m_size}; }

private:
    using Few = std::array<unsigned long, 4>;

    bool areMany() const noexcept { return m_size > std::tuple_size_v<Few>; }
    void freeMany() noexcept { const std::unique_ptr<unsigned long[]> owner(m_many); }
    /// 0-by-0 again.
    void reset() noexcept {
        if (areMany()) {
            freeMany();
        }
        m_few = {};
        m_size = 2;
    }
    void take(Dimensions& other) noexcept {
        if (other.areMany()) {
            m_many = std::exchange(other.m_many, nullptr);
        } else {
            m_few = other.m_few;
        }
        m_size = std::exchange(other.m_size, 0);
    }

    std::size_t m_size = 2;
    union {
        Few m_few{};
        unsigned long* m_many; ///< owned
    };
};

/// The number of elements under the extents: their product, or 0 as soon as one of them is 0, whatever the
/// others are. Gives `TooManyElements` when the elements or their bytes cannot be counted in a signed 64-bit
/// integer.
Status countElements(std::span<const unsigned long> extents, std::size_t elementSize, std::size_t& count) noexcept;

} // namespace orvane::data
