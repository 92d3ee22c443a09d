#include "block_store.hpp"

#include <time.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace orvane::data::storage {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool isChecked = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool isChecked = true;
#else
constexpr bool isChecked = false;
#endif
#else
constexpr bool isChecked = false;
#endif

std::int64_t secondsNow() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec;
}

} // namespace

/// The right to look into the store, for a moment in which nothing is asked of the system.
class BlockStore::Use {
public:
    explicit Use(BlockStore& store) noexcept
        : m_flag(store.m_inUse), m_isGranted(!m_flag.test_and_set(std::memory_order_acquire)) {}
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() {
        if (m_isGranted) {
            m_flag.clear(std::memory_order_release);
        }
    }
    explicit operator bool() const noexcept { return m_isGranted; }

private:
    std::atomic_flag& m_flag;
    bool m_isGranted;
};

/// Blocks on their way back to the system, which they reach when this goes: after the right to look into the store.
class BlockStore::Withdrawn {
public:
    Withdrawn() noexcept = default;
    Withdrawn(const Withdrawn&) = delete;
    Withdrawn& operator=(const Withdrawn&) = delete;
    ~Withdrawn() { std::for_each_n(m_blocks.begin(), m_count, unmap); }

    void add(MappingHeader* block) noexcept { m_blocks[m_count++] = block; }

private:
    std::array<MappingHeader*, mostBlocks> m_blocks;
    std::size_t m_count = 0;
};

void BlockStore::forget(std::size_t first, std::size_t count) noexcept {
    Kept* const gap = m_kept.data() + first;
    Kept* const end = m_kept.data() + m_count.load(std::memory_order_relaxed);
    std::for_each_n(gap, count, [this](const Kept& kept) { m_bytes -= kept.capacity; });
    std::copy(gap + count, end, gap);
    m_count.store(static_cast<std::size_t>(end - m_kept.data()) - count, std::memory_order_relaxed);
}

MappingHeader* BlockStore::take(std::size_t bytes) noexcept {
    const Use use(*this);
    if (!use) {
        return nullptr;
    }
    const std::size_t count = m_count.load(std::memory_order_relaxed);
    std::size_t best = count;
    for (std::size_t i = count; i-- > 0;) {
        const std::size_t capacity = m_kept[i].capacity;
        if (capacity >= bytes && capacity - bytes <= bytes / 4 && (best == count || capacity < m_kept[best].capacity)) {
            best = i;
        }
    }
    if (best == count) {
        return nullptr;
    }
    MappingHeader* const block = m_kept[best].block;
    forget(best, 1);
    return block;
}

void BlockStore::put(MappingHeader* block) noexcept {
    Withdrawn withdrawn;
    const Use use(*this);
    if (!use || block->capacity > mostBytes) {
        withdrawn.add(block);
        return;
    }
    std::size_t count = m_count.load(std::memory_order_relaxed);
    std::size_t gone = 0;
    for (std::size_t bytes = m_bytes + block->capacity; bytes > mostBytes || count - gone == mostBlocks; ++gone) {
        bytes -= m_kept[gone].capacity;
        withdrawn.add(m_kept[gone].block);
    }
    forget(0, gone);
    count -= gone;
    m_kept[count] = {block, block->capacity, secondsNow()};
    m_bytes += block->capacity;
    m_count.store(count + 1, std::memory_order_relaxed);
}

template <class IsToGo>
bool BlockStore::dropOldestWhile(IsToGo isToGo) noexcept {
    Withdrawn withdrawn;
    const Use use(*this);
    std::size_t gone = 0;
    while (use && gone < m_count.load(std::memory_order_relaxed) && isToGo(m_kept[gone])) {
        withdrawn.add(m_kept[gone++].block);
    }
    if (gone != 0) {
        forget(0, gone);
    }
    return gone != 0;
}

void BlockStore::dropIdle() noexcept {
    const std::int64_t latest = secondsNow() - m_mostSecondsIdle;
    dropOldestWhile([&](const Kept& kept) { return kept.since < latest; });
}

bool BlockStore::dropAll() noexcept {
    return dropOldestWhile([](const Kept&) { return true; });
}

BlockStore* blockStore() noexcept {
    static constinit BlockStore store;
    static BlockStore* const inUse = [] {
        const char* const wish = std::getenv("ORVANE_KEEP_BLOCKS");
        return isChecked || (wish != nullptr && std::string_view(wish) == "0") ? nullptr : &store;
    }();
    return inUse;
}

} // namespace orvane::data::storage
