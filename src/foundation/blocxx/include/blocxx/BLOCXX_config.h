#pragma once

/// The name of the namespace that holds the library.
#define BLOCXX_NAMESPACE blocxx

/// Marks what the shared library shows to its users; everything else is hidden.
#define BLOCXX_COMMON_API __attribute__((visibility("default")))
