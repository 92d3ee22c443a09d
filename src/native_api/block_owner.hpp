// What keeps a block of others' memory as long as an array uses it.
#pragma once

#include <orvane/exchange.h>

#include <memory>

namespace OCPyArrayAPI {

/// The owner of a block, which is released when the last share goes, and when there is no memory to count the shares.
///
/// It may be the last to hold another array, whose block has an owner of its own, and so on. A few of them are released
/// within each other, and those beyond one after the other: however long such a chain is, the stack is deep enough.
/// All have been released when the release that began it is over.
std::shared_ptr<void> ownerOf(const OrvaneBlock& block);

} // namespace OCPyArrayAPI
