// Large blocks that were freed and wait for the next who asks for as much.
#pragma once

#include "mapping.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orvane::data::storage {

/// Keeps a few blocks, so that arrays which come and go in a loop do not fetch every page anew from the system. What is
/// too much, or has waited for too long, goes back to the system; so does everything when memory is wanting.
///
/// From any thread. Nobody waits for anybody: who finds the store in use by another thread does without, as does a
/// child process that was forked in that very moment, for good. There is nothing to destroy when the process ends.
class BlockStore {
public:
    static constexpr std::size_t mostBytes = std::size_t{64} << 20;
    static constexpr std::size_t mostBlocks = 32;

    /// A block that has waited for more seconds than `mostSecondsIdle` has waited for too long.
    explicit constexpr BlockStore(std::int64_t mostSecondsIdle = 10) noexcept : m_mostSecondsIdle(mostSecondsIdle) {}

    /// A block of at least so many bytes, and at most a quarter more; null if there is none.
    MappingHeader* take(std::size_t bytes) noexcept;
    /// Takes a block over, and gives back what has no place any more.
    void put(MappingHeader* block) noexcept;
    /// Gives back what has waited for too long.
    void dropIdle() noexcept;
    /// Gives everything back. False when there was nothing.
    bool dropAll() noexcept;

    bool isEmpty() const noexcept { return m_count.load(std::memory_order_relaxed) == 0; }

private:
    struct Kept {
        MappingHeader* block;
        std::size_t capacity;
        std::int64_t since; ///< seconds
    };
    class Use;
    class Withdrawn;

    template <class IsToGo>
    bool dropOldestWhile(IsToGo isToGo) noexcept;
    void forget(std::size_t first, std::size_t count) noexcept;

    const std::int64_t m_mostSecondsIdle;
    std::atomic_flag m_inUse = ATOMIC_FLAG_INIT;
    std::atomic<std::size_t> m_count = 0;
    std::size_t m_bytes = 0;
    std::array<Kept, mostBlocks> m_kept{}; ///< the one that came last stands last
};

/// The store of the process, or null where none is to be: in a program under AddressSanitizer, which is to see what is
/// used after it was freed, and where the environment has ORVANE_KEEP_BLOCKS=0.
BlockStore* blockStore() noexcept;

} // namespace orvane::data::storage
