#pragma once

#include "xafs/Nnls.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

class XafsSpectrum;

// The linear model of a per-pixel linear combination fit of an energy stack:
//     mu(E_k) ~ sum_r w_r * ref_r(E_k - dE_r) [+ c]
// with the design matrix A (energies x references [+ offset column]) built once, and the
// solver for one pixel. A reference with dE = +1.5 is read 1.5 eV below each image energy,
// i.e. the reference moves up in energy.
class LcfModel
{
public:
    enum class FitKind {
        NonNegative, // w_r >= 0
        Free,        // ordinary least squares
        SumToOne,    // w_r >= 0 and sum w_r = 1
    };

    struct Reference
    {
        QString name;
        // The double-normalised reference at an energy (not yet shifted by dE).
        std::function<double(double)> curve;
        double dE = 0.0;
        double e0 = 0.0; // edge energy, for tables
        // The measured energy range; outside it the curve is extrapolated.
        double minE = -std::numeric_limits<double>::infinity();
        double maxE = std::numeric_limits<double>::infinity();
    };

    // A reference from a spectrum's raw points, normalised afresh with fitKind (0 Victreen,
    // 1 straight lines) so joins left by an earlier normalisation of the caller's object
    // play no part. The spectrum's own x shift is not used: dE is applied at evaluation.
    // Outside the measured range the curve is extrapolated along the first or last two
    // points, as the spectrum's interpolation does.
    static Reference fromSpectrum(const XafsSpectrum &spectrum, uint32_t fitKind, double dE);
    // Loads a spectrum file; std::nullopt with *error when it cannot be read.
    static std::optional<Reference> fromFile(const QString &path, uint32_t fitKind, double dE,
                                             QString *error);

    // Refuses (false, *error says why) fewer than two energies, two images at one energy
    // (labels name them; "image k" when missing), energies that are not finite, no
    // reference, a reference without a finite value at some energy, fewer energies than
    // unknowns, more unknowns than the solver takes, and linearly dependent references in a
    // free fit.
    bool build(const QList<double> &energies, const QList<Reference> &references, FitKind kind,
               bool offset, QString *error, const QStringList &labels = {});

    // After build(): one line per reference read outside its measured range, such as
    // "reference 'Fe' is extrapolated at 7600 eV (measured 6950 to 7500 eV)".
    const QStringList &notes() const { return m_notes; }

    bool isBuilt() const { return m_solver != nullptr; }
    FitKind kind() const { return m_kind; }
    bool hasOffset() const { return m_offset; }
    int energyCount() const { return int(m_energies.size()); }
    int referenceCount() const { return int(m_references.size()); }
    int unknownCount() const { return referenceCount() + (m_offset ? 1 : 0); }
    const QList<double> &energies() const { return m_energies; }
    const QList<Reference> &references() const { return m_references; }
    // A[k][j]: reference j (or the offset column, j = referenceCount()) at energy k.
    double design(int k, int j) const { return m_design[size_t(k) * size_t(unknownCount()) + j]; }
    // Reference r at any energy, dE applied: for drawing its curve.
    double referenceAt(int r, double energy) const;

    struct PixelFit
    {
        bool valid = false;          // every mu finite
        std::vector<double> weights; // one per reference
        double offset = 0.0;         // 0 without an offset column
        double total = 0.0;          // sum of the weights
        double residual = 0.0;       // sum (mu - fit)^2 / sum mu^2; NaN when sum mu^2 is 0
        std::vector<double> fitted;  // the fit at each energy
        // w_r / total; NaN when total <= 0.
        double fraction(int r) const;
    };
    // One pixel's mu at each energy, in the order of build()'s energies: for the pointer
    // read-out. The caller leaves out pixels whose flag is invalid in any image; a value that
    // is not finite gives valid = false.
    PixelFit fitPixel(const double *mu) const;

    // The per-pixel core: b = A^T mu (unknownCount values), muMu = mu^T mu; writes the
    // unknowns into x and returns sum (mu - fit)^2; *steps gets the active-set steps taken.
    double solve(const double *b, double muMu, double *x, int *steps = nullptr) const;

private:
    QList<double> m_energies;
    QList<Reference> m_references;
    FitKind m_kind = FitKind::NonNegative;
    bool m_offset = false;
    std::vector<double> m_design;
    QStringList m_notes;
    std::shared_ptr<const Nnls> m_solver; // shared: copies of a built model are cheap
};
