#include "xafs/LuSolver.h"

#include <algorithm>
#include <cmath>

LuSolver::LuSolver(int size) : m_n(std::clamp(size, 2, kMaxSize))
{
    for (int i = 0; i < kMaxSize; ++i)
        m_perm[i] = i;
}

bool LuSolver::decompose()
{
    m_decomposed = false;
    m_forwarded = false;
    for (int i = 0; i < m_n; ++i)
        m_perm[i] = i;
    for (int k = 0; k < m_n; ++k) {
        int best = k;
        double bestAbs = std::fabs(m_a[m_perm[k]][k]);
        for (int i = k + 1; i < m_n; ++i) {
            const double v = std::fabs(m_a[m_perm[i]][k]);
            if (v > bestAbs) {
                bestAbs = v;
                best = i;
            }
        }
        std::swap(m_perm[k], m_perm[best]);
        const auto &pivotRow = m_a[m_perm[k]];
        const double pivot = pivotRow[k];
        if (pivot == 0.0) return false;
        for (int i = k + 1; i < m_n; ++i) {
            auto &row = m_a[m_perm[i]];
            const double f = row[k] / pivot;
            row[k] = f;
            for (int j = k + 1; j < m_n; ++j)
                row[j] -= f * pivotRow[j];
        }
    }
    m_decomposed = true;
    return true;
}

bool LuSolver::forward()
{
    m_forwarded = false;
    if (!m_decomposed) return false;
    // L has a unit diagonal; the multipliers sit below it in the permuted rows.
    for (int i = 0; i < m_n; ++i) {
        const int r = m_perm[i];
        double s = m_b[r];
        for (int j = 0; j < i; ++j)
            s -= m_a[r][j] * m_y[m_perm[j]];
        m_y[r] = s;
    }
    m_forwarded = true;
    return true;
}

bool LuSolver::back()
{
    if (!m_forwarded) return false;
    for (int i = m_n - 1; i >= 0; --i) {
        const int r = m_perm[i];
        const double diagonal = m_a[r][i];
        if (diagonal == 0.0) return false;
        double s = m_y[r];
        for (int j = i + 1; j < m_n; ++j)
            s -= m_a[r][j] * m_x[m_perm[j]];
        m_x[r] = s / diagonal;
    }
    return true;
}

LuSolver::Result LuSolver::run()
{
    Result r;
    r.decomposed = decompose();
    r.forwarded = forward();
    r.solved = back();
    return r;
}
