#pragma once

#include <vector>

// Least squares with sign constraints, worked on the normal equations: minimises
// |A x - mu|^2 given only G = A^T A (fixed for a whole image stack) and b = A^T mu (one
// per pixel). Chosen unknowns must be >= 0 and may be asked to add up to 1; the others
// are free. G is factorised once; a pixel whose unconstrained solution already meets the
// constraints costs one small matrix-vector product, the others run a Lawson-Hanson
// style active-set search on subsets of G.
class Nnls
{
public:
    static constexpr int kMaxUnknowns = 32;

    // gram is n x n, row-major, symmetric positive semi-definite. constrained[i] marks
    // x_i >= 0; sumToOne asks the constrained unknowns to add up to 1.
    Nnls(const std::vector<double> &gram, const std::vector<bool> &constrained, bool sumToOne);

    int size() const { return m_n; }
    // False when G is singular (linearly dependent columns of A): every pixel then takes
    // the active-set search, which still returns a minimiser.
    bool isRegular() const { return m_regular; }
    // The first unknown found to depend on earlier ones, -1 when G is regular.
    int dependentUnknown() const { return m_dependent; }

    // Writes the constrained minimiser into x; returns the number of active-set steps
    // (0 when the unconstrained solution was already feasible).
    int solve(const double *b, double *x) const;
    // The same without constraints (free fit); only meaningful when isRegular().
    void solveFree(const double *b, double *x) const;
    // |A x - mu|^2 from the normal equations, given mu^T mu; never negative.
    double residual(const double *b, double muMu, const double *x) const;

private:
    // Solves the equality-constrained problem on the unknowns in `passive` (others 0).
    // Unknowns that turn out to depend on earlier passive ones are left 0 and reported
    // in *dropped. False when the sum constraint cannot be met on this subset.
    bool solveSubset(const bool *passive, const double *b, double *x, bool *dropped) const;
    // One solve with the unknowns that came out negative held at zero; false when that
    // is not the constrained minimiser.
    bool guessFromSigns(const double *b, double *x) const;
    int activeSet(const double *b, double *x) const;

    int m_n = 0;
    std::vector<double> m_gram;
    std::vector<bool> m_constrained;
    bool m_sumToOne = false;
    bool m_regular = false;
    int m_dependent = -1;
    std::vector<double> m_inverse;      // G^-1 when regular
    std::vector<double> m_sumDirection; // G^-1 e, e marking the constrained unknowns
    double m_sumCurvature = 0.0;        // e^T G^-1 e
    bool m_anyConstrained = false;
};
