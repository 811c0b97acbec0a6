#include "xafs/LcfModel.h"

#include "xafs/XafsSpectrum.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <numeric>

LcfModel::Reference LcfModel::fromSpectrum(const XafsSpectrum &spectrum, uint32_t fitKind,
                                           double dE)
{
    Spectrum raw;
    raw.reserve(spectrum.size());
    for (const Spectrum::Point &p : spectrum.points())
        raw.append(p.x, p.y);
    const auto fresh = std::make_shared<const XafsSpectrum>(raw, spectrum.name(), fitKind, 0.0,
                                                            spectrum.edgeParameters());
    Reference r;
    r.name = spectrum.name();
    r.curve = [fresh](double e) { return fresh->doubleNormalizedPreBase(e); };
    r.dE = dE;
    r.e0 = fresh->e0();
    if (!fresh->isEmpty()) {
        r.minE = fresh->x(0);
        r.maxE = fresh->x(fresh->size() - 1);
    }
    return r;
}

std::optional<LcfModel::Reference> LcfModel::fromFile(const QString &path, uint32_t fitKind,
                                                      double dE, QString *error)
{
    XafsSpectrum s;
    if (!s.load(path)) {
        *error = QStringLiteral("%1: not a readable XAFS spectrum").arg(path);
        return std::nullopt;
    }
    s.setName(QFileInfo(path).completeBaseName());
    return fromSpectrum(s, fitKind, dE);
}

bool LcfModel::build(const QList<double> &energies, const QList<Reference> &references,
                     FitKind kind, bool offset, QString *error, const QStringList &labels)
{
    m_solver.reset();
    m_notes.clear();
    const auto label = [&](qsizetype k) {
        return k < labels.size() ? labels.at(k) : QStringLiteral("image %1").arg(k);
    };
    const qsizetype energyCount = energies.size();
    if (energyCount < 2) {
        *error =
            QStringLiteral("an energy stack needs at least two images, not %1").arg(energyCount);
        return false;
    }
    for (qsizetype k = 0; k < energyCount; ++k)
        if (!std::isfinite(energies.at(k))) {
            *error = QStringLiteral("%1 has no finite energy").arg(label(k));
            return false;
        }
    std::vector<qsizetype> order(static_cast<size_t>(energyCount));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](qsizetype a, qsizetype b) { return energies.at(a) < energies.at(b); });
    for (size_t i = 1; i < order.size(); ++i)
        if (energies.at(order[i]) == energies.at(order[i - 1])) {
            *error = QStringLiteral("%1 and %2 are both at %3 eV: one energy, one image")
                         .arg(label(order[i - 1]), label(order[i]))
                         .arg(energies.at(order[i]));
            return false;
        }
    if (references.isEmpty()) {
        *error = QStringLiteral("no reference to fit with");
        return false;
    }
    const int r = int(references.size());
    const int n = r + (offset ? 1 : 0);
    if (n > Nnls::kMaxUnknowns) {
        *error = QStringLiteral("%1 unknowns are more than the %2 a fit takes")
                     .arg(n)
                     .arg(Nnls::kMaxUnknowns);
        return false;
    }
    if (energyCount < n) {
        *error = QStringLiteral("%1 energies cannot determine %2 unknowns (%3 references%4): "
                                "the fit is underdetermined")
                     .arg(energyCount)
                     .arg(n)
                     .arg(r)
                     .arg(offset ? QStringLiteral(" and the offset") : QString());
        return false;
    }

    std::vector<double> design(size_t(energyCount) * size_t(n));
    QStringList notes;
    for (int j = 0; j < r; ++j) {
        const Reference &ref = references.at(j);
        for (qsizetype k = 0; k < energyCount; ++k) {
            const double e = energies.at(k) - ref.dE;
            if (e < ref.minE || e > ref.maxE) {
                notes << QStringLiteral("reference '%1' is extrapolated at %2 eV (measured %3 to "
                                        "%4 eV)")
                             .arg(ref.name)
                             .arg(e)
                             .arg(ref.minE)
                             .arg(ref.maxE);
                break;
            }
        }
    }
    for (qsizetype k = 0; k < energyCount; ++k) {
        for (int j = 0; j < r; ++j) {
            const Reference &ref = references.at(j);
            const double v = ref.curve ? ref.curve(energies.at(k) - ref.dE) : std::nan("");
            if (!std::isfinite(v)) {
                *error = QStringLiteral("reference '%1' has no finite value at %2 eV "
                                        "(is it a normalisable spectrum?)")
                             .arg(ref.name)
                             .arg(energies.at(k) - ref.dE);
                return false;
            }
            design[size_t(k) * size_t(n) + size_t(j)] = v;
        }
        if (offset) design[size_t(k) * size_t(n) + size_t(r)] = 1.0;
    }
    std::vector<double> gram(size_t(n) * size_t(n), 0.0);
    for (qsizetype k = 0; k < energyCount; ++k) {
        const double *row = &design[size_t(k) * size_t(n)];
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                gram[size_t(i) * size_t(n) + size_t(j)] += row[i] * row[j];
    }
    std::vector<bool> constrained(size_t(n), kind != FitKind::Free);
    if (offset) constrained[size_t(r)] = false;
    auto solver = std::make_shared<const Nnls>(gram, constrained, kind == FitKind::SumToOne);
    if (kind == FitKind::Free && !solver->isRegular()) {
        const int d = solver->dependentUnknown();
        *error = d < r ? QStringLiteral("reference '%1' is a linear combination of the others at "
                                        "these energies: a free fit has no single answer")
                             .arg(references.at(d).name)
                       : QStringLiteral("the offset is a linear combination of the references "
                                        "at these energies: a free fit has no single answer");
        return false;
    }
    m_energies = energies;
    m_references = references;
    m_kind = kind;
    m_offset = offset;
    m_design = std::move(design);
    m_solver = std::move(solver);
    m_notes = notes;
    return true;
}

double LcfModel::referenceAt(int r, double energy) const
{
    const Reference &ref = m_references.at(r);
    return ref.curve ? ref.curve(energy - ref.dE) : std::nan("");
}

double LcfModel::solve(const double *b, double muMu, double *x, int *steps) const
{
    const int taken = m_solver->solve(b, x);
    if (steps) *steps = taken;
    return m_solver->residual(b, muMu, x);
}

double LcfModel::PixelFit::fraction(int r) const
{
    return total > 0.0 ? weights[size_t(r)] / total : std::nan("");
}

LcfModel::PixelFit LcfModel::fitPixel(const double *mu) const
{
    PixelFit fit;
    if (!isBuilt()) return fit;
    const int k = energyCount();
    const int n = unknownCount();
    const int r = referenceCount();
    std::vector<double> b(size_t(n), 0.0);
    std::vector<double> x(size_t(n), 0.0);
    double muMu = 0.0;
    for (int e = 0; e < k; ++e) {
        if (!std::isfinite(mu[e])) return fit;
        muMu += mu[e] * mu[e];
        for (int j = 0; j < n; ++j)
            b[size_t(j)] += design(e, j) * mu[e];
    }
    const double residual = solve(b.data(), muMu, x.data());
    fit.valid = true;
    fit.weights.assign(x.begin(), x.begin() + r);
    fit.offset = m_offset ? x[size_t(r)] : 0.0;
    fit.total = std::accumulate(fit.weights.begin(), fit.weights.end(), 0.0);
    fit.residual = muMu > 0.0 ? residual / muMu : std::nan("");
    fit.fitted.resize(size_t(k));
    for (int e = 0; e < k; ++e) {
        double s = 0.0;
        for (int j = 0; j < n; ++j)
            s += design(e, j) * x[size_t(j)];
        fit.fitted[size_t(e)] = s;
    }
    return fit;
}
