#pragma once

/// Marks what the shared library shows to its users; everything else is hidden.
#define OW_HTTP_API __attribute__((visibility("default")))
