#pragma once

#include <array>

// Solves A x = b for 2 to 4 unknowns by LU decomposition with partial pivoting.
// Rows are never moved: the pivot order is kept as an index vector. Each of the
// three stages reports success on its own.
class LuSolver
{
public:
    static constexpr int kMaxSize = 4;

    // Sizes outside 2..4 are clamped into that range.
    explicit LuSolver(int size);

    int size() const { return m_n; }
    void setMatrix(int row, int column, double value) { m_a[row][column] = value; }
    void setRhs(int row, double value) { m_b[row] = value; }

    // Stage 1: fails on a pivot that is exactly zero.
    bool decompose();
    // Stage 2: forward substitution through L with the permuted right-hand side.
    bool forward();
    // Stage 3: back substitution through U; fails on a zero diagonal.
    bool back();
    double solution(int k) const { return m_x[m_perm[k]]; }

    struct Result
    {
        bool decomposed = false;
        bool forwarded = false;
        bool solved = false;
        bool ok() const { return decomposed && forwarded && solved; }
    };
    // Runs all three stages, even after one has failed, as the callers expect.
    Result run();

private:
    int m_n;
    std::array<std::array<double, kMaxSize>, kMaxSize> m_a{};
    std::array<double, kMaxSize> m_b{};
    std::array<double, kMaxSize> m_y{};
    std::array<double, kMaxSize> m_x{};
    std::array<int, kMaxSize> m_perm{};
    bool m_decomposed = false;
    bool m_forwarded = false;
};
