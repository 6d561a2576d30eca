#pragma once

#include <array>
#include <climits>

#include "support/Formats.h"

namespace norix::test {

/// Everything a host may propose in negotiation: known formats, one that is none of them, and hostile numbers.
inline constexpr std::array<int, 12> kProposals = {kYuv420p, kRgb24, kBgr24, kRgba,    kBgra,   kYuva420p,
                                                   kRgb0,    kBgr0,  -1,     kYuyv422, INT_MIN, INT_MAX};

}  // namespace norix::test
