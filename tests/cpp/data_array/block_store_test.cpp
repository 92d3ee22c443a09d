// Large blocks that are freed and asked for again.
#include "block_store.hpp"
#include "storage.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

using namespace orvane::data::storage;

namespace {

constexpr std::size_t kibibyte = 1024, mebibyte = 1024 * kibibyte;

/// A store that gives everything back in the end.
struct Store : BlockStore {
    using BlockStore::BlockStore;
    ~Store() { dropAll(); }
    void putNew(std::size_t bytes) { put(map(bytes)); }
    /// The capacity of the block that is had for so many bytes, 0 for none.
    std::size_t capacityFor(std::size_t bytes) {
        MappingHeader* const block = take(bytes);
        const std::size_t capacity = block != nullptr ? block->capacity : 0;
        if (block != nullptr) {
            unmap(block);
        }
        return capacity / mebibyte;
    }
};

TEST(KeptBlocks, serveWhoAsksForAsMuchOrAQuarterLess) {
    using Sizes = std::vector<std::size_t>;
    const std::tuple<Sizes, std::size_t, std::size_t> rows[] = {
        {{}, 8, 0},  {{8}, 8, 8},       {{8}, 7, 8},    {{8}, 6, 0},
        {{8}, 9, 0}, {{9, 8, 9}, 8, 8}, {{8, 9}, 9, 9}, {{80}, 80, 0},
    };
    for (const auto& [kept, asked, found] : rows) {
        Store store;
        std::ranges::for_each(kept, [&](std::size_t size) { store.putNew(size * mebibyte); });
        EXPECT_EQ(store.capacityFor(asked * mebibyte), found) << asked;
    }
}

TEST(KeptBlocks, areFewAndNotForEver) {
    for (const auto& [size, most] : {std::pair{8 * mebibyte, 8}, {256 * kibibyte, int{BlockStore::mostBlocks}}}) {
        Store store;
        for (int i = 0; i < 50; ++i) {
            store.putNew(size);
        }
        int taken = 0;
        while (MappingHeader* const block = store.take(size)) {
            unmap(block);
            ++taken;
        }
        EXPECT_EQ(taken, most) << size;
    }
    Store keen, idle{-1};
    for (Store* const store : {&keen, &idle}) {
        store->putNew(mebibyte);
        store->dropIdle();
    }
    EXPECT_TRUE(idle.isEmpty());
    EXPECT_FALSE(keen.isEmpty());
    EXPECT_TRUE(keen.dropAll());
    EXPECT_TRUE(keen.isEmpty() && !keen.dropAll());
}

TEST(KeptBlocks, serveAgainUnlessSwitchedOffAndAreZeroedOnDemand) {
    const char* const wish = std::getenv("ORVANE_KEEP_BLOCKS");
    const bool mayKeep = wish == nullptr || wish != std::string("0");
    if (mayKeep && blockStore() == nullptr) {
        GTEST_SKIP() << "nothing is kept under AddressSanitizer";
    }
    ASSERT_EQ(blockStore() != nullptr, mayKeep);
    for (const std::size_t size : {200 * kibibyte, 3 * mebibyte, 5 * mebibyte + 7}) {
        void* former = nullptr;
        {
            const Storage storage = allocate(size);
            former = std::memset(storage.get(), 0xA5, size);
        }
        EXPECT_EQ(mayKeep, blockStore() != nullptr && !blockStore()->isEmpty());
        const Storage storage = allocateZeroed(size);
        const auto* const bytes = static_cast<const char*>(storage.get());
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; })) << size;
        EXPECT_TRUE(!mayKeep || storage.get() == former) << size;
    }
}

} // namespace
