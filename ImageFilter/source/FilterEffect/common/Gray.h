#pragma once

#include <cstdint>

/// Weights of red, green and blue in the luminance, by byte value; all 0 until InitRGB2GrayTable(). They add up to at most
/// 254, since each is rounded down by itself.
extern std::uint32_t g_table_r[256];
extern std::uint32_t g_table_g[256];
extern std::uint32_t g_table_b[256];

/// Fills the tables on its first call. Two first calls may run at the same time; readers must not, before one has returned.
void InitRGB2GrayTable();

/// Luminance of a block of packed pixels, one byte each, rows back to back in `gray`.
///
/// `srcRowPadding` is what follows a row: line size - width * bytesPerPixel. `order` 1: red is byte 0 and blue byte 2 of a
/// pixel; 0: the other way round; any other value writes nothing. The result has no meaning.
int RGB2Gray(unsigned char* gray, unsigned char* src, int width, int height, int srcRowPadding, int bytesPerPixel,
             int order);
