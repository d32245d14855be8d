// Colours: as light, as a screen shows them, and as an eye compares them.

#ifndef MODEL_TOOL_COLOR_H_
#define MODEL_TOOL_COLOR_H_

#include <cmath>

namespace model_tool {

/// An amount of light: what factors and vertex colours of a file are, and what may be averaged.
struct LinearColor {
  double r = 0;
  double g = 0;
  double b = 0;
};

inline LinearColor operator+(const LinearColor& a, const LinearColor& b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
inline LinearColor operator*(const LinearColor& a, const LinearColor& b) { return {a.r * b.r, a.g * b.g, a.b * b.b}; }
inline LinearColor operator*(double factor, const LinearColor& a) { return {factor * a.r, factor * a.g, factor * a.b}; }

/// sRGB's curve, from what a screen is given (0 to 1) to light and back; values beyond that are clamped.
inline double DecodeSrgb(double display) {
  if (!(display > 0)) return 0;
  if (display >= 1) return 1;
  return display <= 0.04045 ? display / 12.92 : std::pow((display + 0.055) / 1.055, 2.4);
}
inline double EncodeSrgb(double light) {
  if (!(light > 0)) return 0;
  if (light >= 1) return 1;
  return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

/// The same colour where distances are about what an eye makes of them.
struct OkLab {
  double l = 0;
  double a = 0;
  double b = 0;
};

inline OkLab ToOkLab(const LinearColor& c) {
  const double l = std::cbrt(0.4122214708 * c.r + 0.5363325363 * c.g + 0.0514459929 * c.b);
  const double m = std::cbrt(0.2119034982 * c.r + 0.6806995451 * c.g + 0.1073969566 * c.b);
  const double s = std::cbrt(0.0883024619 * c.r + 0.2817188376 * c.g + 0.6299787005 * c.b);
  return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
          1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
          0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

inline LinearColor FromOkLab(const OkLab& c) {
  const double l = std::pow(c.l + 0.3963377774 * c.a + 0.2158037573 * c.b, 3);
  const double m = std::pow(c.l - 0.1055613458 * c.a - 0.0638541728 * c.b, 3);
  const double s = std::pow(c.l - 0.0894841775 * c.a - 1.2914855480 * c.b, 3);
  return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
          -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
          -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

}  // namespace model_tool

#endif  // MODEL_TOOL_COLOR_H_
