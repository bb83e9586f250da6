#pragma once

#include "blocxx/COWReferenceClone.hpp" // IWYU pragma: export
