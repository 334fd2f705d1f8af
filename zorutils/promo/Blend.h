// The per-byte arithmetic of the promo player's transitions, on 24-bit
// frame buffers (three bytes per pixel: blue, green, red; rows padded to a
// multiple of four bytes). Internal to zorutils.dll.
//
// Every result is exactly what the plain formula gives, with each product
// divided by 100 on its own and truncated:
//     out = a * (100 - p) / 100 + b * p / 100
// so a frame drawn by a vector path is bit-identical to one drawn byte by
// byte. p outside 0..100 is clamped.
#pragma once

#include <cstddef>

namespace zorpromo {

/// Crossfade of `count` bytes: out[i] = a[i]*(100-p)/100 + b[i]*p/100.
/// `out` may be the same buffer as `a` or `b` (not one overlapping them in
/// part). p 0 and 100 copy `a` or `b` whole. Writes nothing for a null
/// buffer, a count of 0, or a count above PTRDIFF_MAX (a negative one cast).
void BlendBytes(const unsigned char* a, const unsigned char* b, unsigned char* out,
                size_t count, int p);

/// Fades a picture towards a solid colour: for each of `height` rows of
/// `rowBytes` bytes, the first `width` pixels get
///     out = src*(100-q)/100 + c*q/100
/// where c is the colour's blue for a pixel's first byte, green for its
/// second and red for its third (`color` is a COLORREF, 0x00BBGGRR); q 0
/// copies the pixels. Row padding in `out` is left as it was. `out` may be
/// the same buffer as `src`. Writes nothing for a null buffer, a width or
/// height of 0 or less, a row shorter than width * 3 bytes, or a frame of
/// more than PTRDIFF_MAX bytes (a negative stride cast, say).
void BlendTowardColor(const unsigned char* src, unsigned char* out, size_t rowBytes, int width,
                      int height, unsigned long color, int q);

/// Which path the two functions above take on this machine ("sse2" or
/// "portable"), for the benchmark's report.
const char* BlendPath();

}  // namespace zorpromo
