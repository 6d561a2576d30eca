#pragma once

#include <NorixEngine/NorixEngine.h>

/// Fills a record with the entries of "Mirror Scale Blur" for a time 0..10000. Null: does nothing.
void MirrorScaleBlur(int time, FilterGroupParam* group);
