#pragma once

/// Settings of sub-effects over the time of a transition, 0..10000.
namespace norix {

/// Motion blur of rolls, in pixels: from 0 to 40 at the middle and back.
double RollBlur(int time);

/// Move of the blurry rolls, in picture sizes: a short way back, fast through ten sizes, a little too far, and back to 10.
double FallingRoll(int time);

/// The same the other way: to -10.
double RisingRoll(int time);

}  // namespace norix
