#pragma once

#include <cstdint>

#include "media/Input.h"

namespace norix::host {

/// Lets `input` go on near picture `firstFrame`, counted from 0, where that surely decodes to the same pictures as from the
/// beginning on; else leaves it at the beginning. For pictures alone: packets of other streams may be passed over.
/// @return true when the next pictures have to be told by their times, of which `scan` has the list
bool TakeShortCut(Input& input, const ClipScan& scan, std::int64_t firstFrame);

}  // namespace norix::host
