#pragma once

#include <QString>

// Photon energies written into file names, such as "mu_7112.5eV.zmp" or "I0 7100 eV.tif".
class EnergyParser
{
public:
    // The last number directly followed by "eV" (blanks allowed between, case as written)
    // in name; NaN when there is none. Give the file name without its folder, since a
    // folder such as "scan_7keV" would otherwise be read.
    static double fromName(const QString &name);
};
