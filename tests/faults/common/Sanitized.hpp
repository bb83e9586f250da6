#pragma once

/// @file
/// Defines ZOL_SANITIZED where a sanitizer runs along, which allocates memory and opens descriptors as well.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZOL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZOL_SANITIZED 1
#endif
#endif
