#include "native_api/block_owner.hpp"

#include <new>
#include <utility>

#include "vocabulary/pending_error.hpp"

namespace OCPyArrayAPI {

namespace {

/// Made with the array, as memory may be wanting when the array goes.
struct BlockOwner {
    void* owner;
    void (*release)(void* owner);
    BlockOwner* nextWaiting = nullptr;
};

/// What one thread is releasing. The interpreter may change threads in the midst of it.
struct Releases {
    int depth = 0;
    BlockOwner* waiting = nullptr; ///< the latest first
};

/// Each takes about half a kilobyte of the stack, and more where others' objects stand between two arrays.
constexpr int deepest = 16;

/// In memory that each thread has from its start: any other is allocated when it is first touched, and glibc ends the
/// process where that fails.
[[gnu::tls_model("initial-exec")]] constinit thread_local Releases releases;

void releaseNow(const BlockOwner& ended) {
    if (ended.release == nullptr)
        return;
    // Code of others: it is not to see errors that are pending, nor to leave any.
    const orvane::python::PendingError kept;
    ++releases.depth;
    ended.release(ended.owner);
    --releases.depth;
}

void release(BlockOwner* last) {
    if (releases.depth == deepest) {
        last->nextWaiting = std::exchange(releases.waiting, last);
        return;
    }
    std::unique_ptr<BlockOwner> ended(last);
    releaseNow(*ended);
    while (releases.depth == 0 && releases.waiting != nullptr) {
        ended.reset(releases.waiting);
        releases.waiting = ended->nextWaiting;
        releaseNow(*ended);
    }
}

} // namespace

std::shared_ptr<void> ownerOf(const OrvaneBlock& block) {
    const BlockOwner owner{block.owner, block.release};
    auto* const kept = new (std::nothrow) BlockOwner(owner);
    if (kept == nullptr) {
        releaseNow(owner);
        throw std::bad_alloc();
    }
    return {kept, release};
}

} // namespace OCPyArrayAPI
