#pragma once

#include <NorixEngine/NorixEngine.h>

/// The groups. Every one fills a record's entries for a time 0..10000; null: does nothing.

void BlurryCross(int time, FilterGroupParam* group);
void BlurryRollDown(int time, FilterGroupParam* group);
void BlurryRollLeft(int time, FilterGroupParam* group);
void FlipRollDown(int time, FilterGroupParam* group);
void FlipRollLeft(int time, FilterGroupParam* group);
void FlipRollRight(int time, FilterGroupParam* group);
void FlipRollUp(int time, FilterGroupParam* group);
void MirrorScaleBlur(int time, FilterGroupParam* group);
void TileZoomBlur(int time, FilterGroupParam* group);
void TileZoomBlur1(int time, FilterGroupParam* group);
