// The second table, which the capsule's context holds.
#pragma once

#include <orvane/exchange.h>

namespace OCPyArrayAPI {

/// The table; lives as long as the process.
const OrvaneExchange* exchangeTable() noexcept;

} // namespace OCPyArrayAPI
