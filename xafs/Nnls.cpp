#include "xafs/Nnls.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int kMax = Nnls::kMaxUnknowns;
// A column whose part outside the span of the earlier ones is below this share of its
// length (squared) counts as dependent: about 1e-5 rad between it and that span.
constexpr double kDependence = 1e-10;

// Cholesky factor of G restricted to the unknowns marked `use`, taken in order; an unknown
// that depends on the ones accepted before it is skipped and marked in dropped.
struct SubsetCholesky
{
    int m = 0;
    std::array<int, kMax> index{};
    std::array<double, kMax * kMax> l{}; // row-major m x m, lower triangle

    void factor(const double *g, int n, const bool *use, bool *dropped)
    {
        m = 0;
        for (int j = 0; j < n; ++j) {
            dropped[j] = false;
            if (!use[j]) continue;
            const double gjj = g[j * n + j];
            double *row = &l[size_t(m) * kMax];
            double d = gjj;
            for (int i = 0; i < m; ++i) {
                double s = g[j * n + index[size_t(i)]];
                const double *ri = &l[size_t(i) * kMax];
                for (int k = 0; k < i; ++k)
                    s -= row[k] * ri[k];
                row[i] = s / ri[i];
                d -= row[i] * row[i];
            }
            if (!(gjj > 0.0) || !(d > kDependence * gjj)) {
                dropped[j] = true;
                continue;
            }
            row[m] = std::sqrt(d);
            index[size_t(m)] = j;
            ++m;
        }
    }

    // y = G_sub^-1 r_sub, gathered from and scattered into full-length vectors.
    void solve(const double *r, double *y) const
    {
        std::array<double, kMax> t{};
        for (int i = 0; i < m; ++i) {
            double s = r[index[size_t(i)]];
            const double *ri = &l[size_t(i) * kMax];
            for (int k = 0; k < i; ++k)
                s -= ri[k] * t[size_t(k)];
            t[size_t(i)] = s / ri[i];
        }
        for (int i = m - 1; i >= 0; --i) {
            double s = t[size_t(i)];
            for (int k = i + 1; k < m; ++k)
                s -= l[size_t(k) * kMax + size_t(i)] * t[size_t(k)];
            t[size_t(i)] = s / l[size_t(i) * kMax + size_t(i)];
        }
        for (int i = 0; i < m; ++i)
            y[index[size_t(i)]] = t[size_t(i)];
    }
};

} // namespace

Nnls::Nnls(const std::vector<double> &gram, const std::vector<bool> &constrained, bool sumToOne)
    : m_n(std::clamp(int(constrained.size()), 0, kMax)), m_gram(gram), m_constrained(constrained),
      m_sumToOne(sumToOne)
{
    m_gram.resize(size_t(m_n) * size_t(m_n), 0.0);
    m_constrained.resize(size_t(m_n), false);
    for (int i = 0; i < m_n; ++i)
        m_anyConstrained = m_anyConstrained || m_constrained[size_t(i)];
    if (m_n == 0) return;

    std::array<bool, kMax> all{};
    std::array<bool, kMax> dropped{};
    std::fill_n(all.begin(), m_n, true);
    SubsetCholesky chol;
    chol.factor(m_gram.data(), m_n, all.data(), dropped.data());
    for (int i = 0; i < m_n && m_dependent < 0; ++i)
        if (dropped[size_t(i)]) m_dependent = i;
    m_regular = m_dependent < 0;
    if (!m_regular) return;

    m_inverse.assign(size_t(m_n) * size_t(m_n), 0.0);
    std::array<double, kMax> unit{};
    std::array<double, kMax> column{};
    for (int j = 0; j < m_n; ++j) {
        unit.fill(0.0);
        unit[size_t(j)] = 1.0;
        chol.solve(unit.data(), column.data());
        for (int i = 0; i < m_n; ++i)
            m_inverse[size_t(i) * size_t(m_n) + size_t(j)] = column[size_t(i)];
    }
    std::array<double, kMax> e{};
    for (int i = 0; i < m_n; ++i)
        e[size_t(i)] = m_constrained[size_t(i)] ? 1.0 : 0.0;
    m_sumDirection.assign(size_t(m_n), 0.0);
    chol.solve(e.data(), m_sumDirection.data());
    for (int i = 0; i < m_n; ++i)
        m_sumCurvature += e[size_t(i)] * m_sumDirection[size_t(i)];
}

void Nnls::solveFree(const double *b, double *x) const
{
    const int n = m_n;
    for (int i = 0; i < n; ++i) {
        const double *row = &m_inverse[size_t(i) * size_t(n)];
        double s = 0.0;
        for (int j = 0; j < n; ++j)
            s += row[j] * b[j];
        x[i] = s;
    }
}

int Nnls::solve(const double *b, double *x) const
{
    if (m_regular) {
        solveFree(b, x);
        if (m_sumToOne && m_sumCurvature > 0.0) {
            double sum = 0.0;
            for (int i = 0; i < m_n; ++i)
                if (m_constrained[size_t(i)]) sum += x[i];
            const double lambda = (sum - 1.0) / m_sumCurvature;
            for (int i = 0; i < m_n; ++i)
                x[i] -= lambda * m_sumDirection[size_t(i)];
        }
        bool feasible = true;
        for (int i = 0; i < m_n; ++i)
            feasible = feasible && (!m_constrained[size_t(i)] || x[i] >= 0.0);
        if (feasible) return 0;
        if (guessFromSigns(b, x)) return 1;
    }
    return activeSet(b, x);
}

bool Nnls::guessFromSigns(const double *b, double *x) const
{
    // Most infeasible pixels lack just the references that came out negative: hold those
    // at zero, solve once and keep the answer when it meets the optimality conditions.
    std::array<bool, kMax> passive{};
    std::array<bool, kMax> dropped{};
    std::array<double, kMax> trial{};
    for (int i = 0; i < m_n; ++i)
        passive[size_t(i)] = !m_constrained[size_t(i)] || x[i] > 0.0;
    if (!solveSubset(passive.data(), b, trial.data(), dropped.data())) return false;
    double lambda = 0.0;
    int passiveConstrained = 0;
    std::array<double, kMax> g{};
    double scale = 0.0;
    for (int i = 0; i < m_n; ++i) {
        if (dropped[size_t(i)]) return false;
        if (m_constrained[size_t(i)] && passive[size_t(i)] && trial[size_t(i)] < 0.0) return false;
        double s = -b[i];
        for (int j = 0; j < m_n; ++j)
            s += m_gram[size_t(i) * size_t(m_n) + size_t(j)] * trial[size_t(j)];
        g[size_t(i)] = s;
        scale = std::max(scale, std::fabs(b[i]));
        if (m_sumToOne && m_constrained[size_t(i)] && passive[size_t(i)]) {
            lambda -= s;
            ++passiveConstrained;
        }
    }
    if (passiveConstrained > 0) lambda /= passiveConstrained;
    for (int i = 0; i < m_n; ++i)
        if (!passive[size_t(i)] && g[size_t(i)] + lambda < -1e-12 * scale) return false;
    std::copy_n(trial.begin(), m_n, x);
    return true;
}

bool Nnls::solveSubset(const bool *passive, const double *b, double *x, bool *dropped) const
{
    SubsetCholesky chol;
    chol.factor(m_gram.data(), m_n, passive, dropped);
    std::fill_n(x, m_n, 0.0);
    chol.solve(b, x);
    if (!m_sumToOne) return true;
    std::array<double, kMax> e{};
    std::array<double, kMax> u{};
    for (int i = 0; i < m_n; ++i)
        e[size_t(i)] = m_constrained[size_t(i)] && passive[i] && !dropped[i] ? 1.0 : 0.0;
    chol.solve(e.data(), u.data());
    double s = 0.0, sum = 0.0;
    for (int i = 0; i < m_n; ++i) {
        s += e[size_t(i)] * u[size_t(i)];
        sum += e[size_t(i)] * x[i];
    }
    if (!(s > 0.0)) return false;
    const double lambda = (sum - 1.0) / s;
    for (int i = 0; i < m_n; ++i)
        x[i] -= lambda * u[size_t(i)];
    return true;
}

int Nnls::activeSet(const double *b, double *x) const
{
    const int n = m_n;
    std::array<bool, kMax> held{};    // held at zero
    std::array<bool, kMax> blocked{}; // dependent on the others: never freed again
    std::array<bool, kMax> passive{};
    std::array<bool, kMax> dropped{};
    std::array<double, kMax> trial{};
    int constrainedCount = 0;
    for (int i = 0; i < n; ++i)
        constrainedCount += m_constrained[size_t(i)] ? 1 : 0;
    // A feasible start: all constrained unknowns at zero, or spread evenly when they must
    // add up to one.
    for (int i = 0; i < n; ++i) {
        const bool c = m_constrained[size_t(i)];
        x[i] = m_sumToOne && c ? 1.0 / constrainedCount : 0.0;
        held[size_t(i)] = c && !m_sumToOne;
    }
    double scale = 0.0;
    for (int i = 0; i < n; ++i)
        scale = std::max(scale, std::fabs(b[i]));
    const double tolerance = 1e-12 * scale;

    // Each step either frees one unknown or holds at least one more at zero; the bound
    // only guards against rounding that would make it cycle.
    const int maxSteps = 3 * n + 30;
    int steps = 0;
    for (; steps < maxSteps; ++steps) {
        for (int i = 0; i < n; ++i)
            passive[size_t(i)] = !held[size_t(i)];
        if (!solveSubset(passive.data(), b, trial.data(), dropped.data())) break;
        for (int i = 0; i < n; ++i)
            if (dropped[size_t(i)]) held[size_t(i)] = blocked[size_t(i)] = true;

        double alpha = 1.0;
        int blocking = -1;
        for (int i = 0; i < n; ++i)
            if (m_constrained[size_t(i)] && !held[size_t(i)] && trial[size_t(i)] < 0.0) {
                const double a = x[i] / (x[i] - trial[size_t(i)]);
                if (a < alpha) {
                    alpha = a;
                    blocking = i;
                }
            }
        if (alpha >= 1.0) {
            std::copy_n(trial.begin(), n, x);
            // Multipliers of the unknowns held at zero: a negative one means the objective
            // falls when that unknown is let go.
            std::array<double, kMax> g{};
            double lambda = 0.0;
            int passiveConstrained = 0;
            for (int i = 0; i < n; ++i) {
                double s = -b[i];
                for (int j = 0; j < n; ++j)
                    s += m_gram[size_t(i) * size_t(n) + size_t(j)] * x[j];
                g[size_t(i)] = s;
                if (m_sumToOne && m_constrained[size_t(i)] && !held[size_t(i)]) {
                    lambda -= s;
                    ++passiveConstrained;
                }
            }
            if (passiveConstrained > 0) lambda /= passiveConstrained;
            int best = -1;
            double bestValue = -tolerance;
            for (int i = 0; i < n; ++i) {
                if (!held[size_t(i)] || blocked[size_t(i)] || !m_constrained[size_t(i)]) continue;
                const double mu = g[size_t(i)] + lambda;
                if (mu < bestValue) {
                    bestValue = mu;
                    best = i;
                }
            }
            if (best < 0) return steps;
            held[size_t(best)] = false;
        } else {
            for (int i = 0; i < n; ++i) {
                if (held[size_t(i)]) continue;
                x[i] += alpha * (trial[size_t(i)] - x[i]);
                // The unknown that set alpha reaches zero exactly, whatever the rounding.
                if (m_constrained[size_t(i)] && (i == blocking || x[i] <= 0.0)) {
                    x[i] = 0.0;
                    held[size_t(i)] = true;
                }
            }
        }
    }
    for (int i = 0; i < n; ++i)
        if (m_constrained[size_t(i)] && x[i] < 0.0) x[i] = 0.0;
    return steps;
}

double Nnls::residual(const double *b, double muMu, const double *x) const
{
    const int n = m_n;
    double r = muMu;
    for (int i = 0; i < n; ++i) {
        double gx = 0.0;
        for (int j = 0; j < n; ++j)
            gx += m_gram[size_t(i) * size_t(n) + size_t(j)] * x[j];
        r += x[i] * (gx - 2.0 * b[i]);
    }
    return r > 0.0 ? r : 0.0;
}
