#include "core/layout.hpp"

namespace orvane::python {

constinit RecentLayouts::Places RecentLayouts::s_recent;

} // namespace orvane::python
