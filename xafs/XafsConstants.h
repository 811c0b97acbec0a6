#pragma once

#include <array>

// The physical constants block shared by spectra and background lines.
struct XafsConstants
{
    enum Index {
        DSpacing, // monochromator crystal d-spacing, angstrom
        Pi,
        LightSpeed,
        HBar,
        Planck,
        ElementaryCharge,
        ElectronMass,
        Epsilon0,
        HcEvA,       // eV * angstrom
        HcKevA,      // keV * angstrom
        HBar2mEvA2,  // eV * angstrom^2
        HBar2mKevA2, // keV * angstrom^2
        Count
    };

    static constexpr std::array<double, Count> values = {
        3.1355316,          3.14159265358979323846, 299792458.0,
        1.05457266e-34,     6.6260754426652935e-34, 1.60217733e-19,
        9.10938356e-31,     8.85418782e-12,         12398.424360742056,
        12.398424360742055, 3.809986606798852,      0.003809986606798852};

    static constexpr double hc = values[HcEvA];
};
