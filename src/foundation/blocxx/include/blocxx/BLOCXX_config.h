#pragma once

#if __cplusplus < 201703L
#error "libzol_http needs C++17: compile with -std=c++17 or later"
#endif

// Contents and streams are told apart by their type, and so are the exceptions that cross the library's border.
#ifndef __cpp_rtti
#error "libzol_http needs run-time type information: compile without -fno-rtti"
#endif

/// The name of the namespace that holds the library.
#define BLOCXX_NAMESPACE blocxx

/// Marks what the shared library shows to its users; everything else is hidden.
#define BLOCXX_COMMON_API __attribute__((visibility("default")))
