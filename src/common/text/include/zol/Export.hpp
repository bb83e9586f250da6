#pragma once

/// Marks what the shared libraries of the zol namespace show to their users; everything else is hidden.
#define ZOL_API __attribute__((visibility("default")))
