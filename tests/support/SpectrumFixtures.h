// Small spectra with known shapes for the XAFS tests.
#pragma once

#include "xafs/LuSolver.h"
#include "xafs/Spectrum.h"
#include "xafs/XafsConstants.h"

#include <cmath>
#include <vector>

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

// Solves the row-major n x n system m x = b; empty when the solver refuses it.
inline std::vector<double> solve(int n, const std::vector<double> &m, const std::vector<double> &b)
{
    LuSolver lu(n);
    for (int r = 0; r < n; ++r) {
        for (int c = 0; c < n; ++c)
            lu.setMatrix(r, c, m[size_t(r * n + c)]);
        lu.setRhs(r, b[size_t(r)]);
    }
    std::vector<double> x;
    if (lu.run().ok())
        for (int k = 0; k < n; ++k)
            x.push_back(lu.solution(k));
    return x;
}
