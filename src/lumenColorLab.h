// The integer arithmetic of L*a*b*: tables, coefficients and scales, for the reference and the
// vector implementations. Tables are computed when the library is compiled.

#ifndef LUMEN_COLOR_LAB_H
#define LUMEN_COLOR_LAB_H

#include <cstddef>
#include <cstdint>

namespace lumColor {

// The root of x, 0 < x, by Newton's method.
template <int kDegree>
constexpr double root(double x) {
  double r = 1;
  for (int step = 0; step < 60; ++step) {
    double power = 1;
    for (int i = 1; i < kDegree; ++i) power *= r;
    r += (x / power - r) / kDegree;
  }
  return r;
}

// Linear light of an sRGB value, in 1/65535.
inline constexpr uint32_t LINEAR_MAX = 65535;
struct LinearTable {
  uint32_t value[256];
  constexpr LinearTable() : value() {
    for (int i = 0; i < 256; ++i) {
      const double v = i / 255.0, base = (v + 0.055) / 1.055, fifth = root<5>(base);
      const double linear = v <= 0.04045 ? v / 12.92 : base * base * fifth * fifth;
      value[i] = static_cast<uint32_t>(linear * LINEAR_MAX + 0.5);
    }
  }
};
inline constexpr LinearTable LINEAR;

// X / Xn, Y / Yn and Z / Zn of linear R, G and B, in 1/16384: the sRGB primaries and white of
// IEC 61966-2-1, each row divided by its sum.
inline constexpr int32_t XYZ_COEFFICIENT[3][3] = {
    {7110, 6164, 3110}, {3484, 11717, 1183}, {291, 1793, 14300}};
// The sum's steps in the table of f: 65535 * 16384 becomes 8191.9.
inline constexpr int XYZ_SHIFT = 17;

// f(t) of CIE 1976 in 1/32768. A padding element lets vector units read 32 bits at any of them.
inline constexpr size_t LAB_STEPS = 8192;
inline constexpr int LAB_F_BITS = 15;
struct LabTable {
  uint16_t f[LAB_STEPS + 2];
  constexpr LabTable() : f() {
    constexpr double kStepsOfOne = double{LINEAR_MAX} * 16384 / (1 << XYZ_SHIFT);
    double cubeRoot = 0.2;
    for (size_t i = 0; i <= LAB_STEPS; ++i) {
      const double t = static_cast<double>(i) / kStepsOfOne;
      // From the neighbour's root, a few steps of Newton's method are exact.
      for (int step = 0; t > 0 && step < 6; ++step) {
        cubeRoot += (t / (cubeRoot * cubeRoot) - cubeRoot) / 3;
      }
      constexpr double kEdge = 6.0 / 29 * 6 / 29 * 6 / 29;
      const double value = t > kEdge ? cubeRoot : t * (841.0 / 108) + 4.0 / 29;
      f[i] = static_cast<uint16_t>(value * (1 << LAB_F_BITS) + 0.5);
    }
  }
};
inline constexpr LabTable LAB;

// L* 255 / 100 = (116 f(Y) - 16) * 2.55; in 1/64 the factor is a whole number, nearly.
inline constexpr int L_SHIFT = LAB_F_BITS + 6;
inline constexpr int32_t L_FACTOR = 18931;
inline constexpr int32_t L_OFFSET = (1 << (L_SHIFT - 1)) - 85563802;  // 40.8, less a half
// a* + 128 and b* + 128, from differences of f.
inline constexpr int32_t A_FACTOR = 500, B_FACTOR = 200;
inline constexpr int32_t AB_OFFSET = (128 << LAB_F_BITS) + (1 << (LAB_F_BITS - 1));

}  // namespace lumColor

#endif  // LUMEN_COLOR_LAB_H
