// Basic types and helpers shared by every module of the library.
#pragma once

#include <cstddef>
#include <cstdint>

#include "telva.h"

namespace telva {

using int32 = std::int32_t;
using int64 = std::int64_t;
using uint32 = std::uint32_t;
using uint64 = std::uint64_t;

// Every allocation carries the source place of its request.
#define TVA_HERE __FILE__, __LINE__

} // namespace telva
