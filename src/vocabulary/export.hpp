// Marks the few data symbols that the extension module offers to the dynamic linker.
#pragma once

#define ORVANE_EXPORT __attribute__((visibility("default")))
