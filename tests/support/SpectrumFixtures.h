// Small spectra with known shapes for the XAFS tests.
#pragma once

#include "xafs/Spectrum.h"
#include "xafs/XafsConstants.h"

#include <cmath>

inline bool near(double a, double b, double tolerance)
{
    return std::fabs(a - b) <= tolerance;
}

// n points a0 + slope * e from `from` on, `step` apart.
inline Spectrum line(double a0, double slope, double from, double step, int n)
{
    Spectrum s;
    for (int i = 0; i < n; ++i)
        s.append(from + i * step, a0 + slope * (from + i * step));
    return s;
}

inline double victreen(double a0, double a1, double a2, double e)
{
    const double l = XafsConstants::hc / e;
    return a0 + a1 * l * l * l + a2 * l * l * l * l;
}

// An absorption edge shaped as an arctangent on a sloping background.
inline Spectrum arctanEdge(double centre, double width, double jump, double from, double to,
                           double step)
{
    Spectrum s;
    for (double e = from; e <= to + 1e-9; e += step)
        s.append(e,
                 0.2 + 1e-4 * (e - from) + jump * (0.5 + std::atan((e - centre) / width) / M_PI));
    return s;
}
