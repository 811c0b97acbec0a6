#pragma once

#include <QList>
#include <QString>

#include <optional>

// Photon energies of the images of an energy stack: where an image's name tells its energy,
// how a typed energy is read, and which energies a fit can use.
class StackEnergy
{
public:
    enum class Status {
        Usable,
        NotANumber,  // empty or unreadable text, or not finite
        NotPositive, // zero or negative
        Duplicate,   // another image of the stack has the same energy
    };

    // The first number followed by "eV" (or "keV", scaled to eV) in a data id or file name:
    // "I_7117eV" gives 7117, "mu 7112.5 eV" gives 7112.5, "Fe_7.112keV" gives 7112. "eV"
    // must not run on into a word ("7117eVal" tells nothing).
    static std::optional<double> fromLabel(const QString &label);

    // A typed energy in eV: a decimal number, white space around it allowed.
    static std::optional<double> parse(const QString &text);

    // One status per energy, in order; every image that shares its energy with another is a
    // duplicate, since nothing tells which of them was mistyped.
    static QList<Status> check(const QList<std::optional<double>> &energies);

    static bool isUsable(Status s) { return s == Status::Usable; }
};
