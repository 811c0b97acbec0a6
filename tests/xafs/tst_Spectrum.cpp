#include "xafs/LuSolver.h"
#include "xafs/Spectrum.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <utility>

class TestSpectrum : public QObject
{
    Q_OBJECT

private slots:
    void extremesAndClear();
    void smoothingAtTheEnds();
    void interpolationInsideAndBeyond();
    void interpolationEdgeCases();
    void shiftAppliesToEveryRead();
    void solverPermutedAndSingular();
};

void TestSpectrum::extremesAndClear()
{
    Spectrum s;
    QCOMPARE(s.indexOfMinY(), -1);
    s.append(2.0, 5.0);
    QCOMPARE(s.minX(), 2.0);
    QCOMPARE(s.maxX(), 2.0);
    QCOMPARE(s.indexOfMinY(), 0);
    QCOMPARE(s.indexOfMaxY(), 0);
    s.append(1.0, 7.0);
    s.append(3.0, 7.0); // equal maximum later: index stays
    s.append(4.0, 5.0); // equal minimum later: index stays
    s.append(5.0, -1e308);
    QCOMPARE(s.minX(), 1.0);
    QCOMPARE(s.maxX(), 5.0);
    QCOMPARE(s.maxY(), 7.0);
    QCOMPARE(s.indexOfMaxY(), 1);
    QCOMPARE(s.minY(), -1e308);
    QCOMPARE(s.indexOfMinY(), 4);

    s.clear();
    QVERIFY(s.isEmpty());
    QCOMPARE(s.indexOfMaxY(), -1);
    // A huge sample must still replace the empty extremes.
    s.append(1e305, 1e305);
    QCOMPARE(s.minX(), 1e305);
    QCOMPARE(s.maxY(), 1e305);
    QCOMPARE(s.minY(), 1e305);
}

void TestSpectrum::smoothingAtTheEnds()
{
    Spectrum s;
    const double ys[] = {1, 2, 4, 8, 16, 32};
    for (int i = 0; i < 6; ++i)
        s.append(i, ys[i]);
    s.smooth(2);
    const std::vector<double> &m = s.smoothedY();
    // The window shrinks at both ends instead of padding.
    const double expected[] = {7 / 3.0, 15 / 4.0, 31 / 5.0, 62 / 5.0, 60 / 4.0, 56 / 3.0};
    QCOMPARE(int(m.size()), 6);
    for (int i = 0; i < 6; ++i)
        QCOMPARE(m[size_t(i)], expected[i]);

    // A half width wider than the list averages everything at every point.
    s.smooth(10);
    for (double v : s.smoothedY())
        QCOMPARE(v, 63.0 / 6.0);
    s.smooth(0);
    for (int i = 0; i < 6; ++i)
        QCOMPARE(s.smoothedY()[i], ys[i]);

    // Interpolating the average at a sample reads the average there.
    s.smooth(2);
    QCOMPARE(s.interpolateSmoothed(3.0), m[3]);

    Spectrum one;
    one.append(0, 3);
    one.smooth(2);
    QCOMPARE(one.smoothedY()[0], 3.0);
    Spectrum none;
    none.smooth(2);
    QVERIFY(none.smoothedY().empty());
}

void TestSpectrum::interpolationInsideAndBeyond()
{
    Spectrum s;
    for (const auto &[e, y] : {std::pair{0.0, 1.0}, {1.0, 3.0}, {2.0, 4.0}, {4.0, 0.0}})
        s.append(e, y);
    // At the samples, between them, and beyond the ends, where the end segments are
    // extended, never clamped.
    const std::pair<double, double> cases[] = {{0, 1},     {1, 3}, {2, 4},   {4, 0},     {0.5, 2},
                                               {1.5, 3.5}, {3, 2}, {-1, -1}, {-10, -19}, {6, -4}};
    for (const auto &[e, y] : cases)
        QCOMPARE(s.interpolate(e), y);
}

void TestSpectrum::interpolationEdgeCases()
{
    Spectrum empty;
    QCOMPARE(empty.interpolate(1.0), 0.0);

    Spectrum one;
    one.append(5.0, 2.5);
    QCOMPARE(one.interpolate(-100.0), 2.5);
    QCOMPARE(one.interpolate(100.0), 2.5);

    // Duplicated energies at the ends and inside give the mean of the pair.
    Spectrum dup;
    for (const auto &[e, y] : {std::pair{0.0, 1.0}, {0.0, 3.0}, {1.0, 5.0}, {1.0, 9.0}})
        dup.append(e, y);
    QCOMPARE(dup.interpolate(-1.0), 2.0);
    QCOMPARE(dup.interpolate(2.0), 7.0);
    QCOMPARE(dup.interpolate(0.5), 4.0);

    // Unsorted energies must still end and stay in range.
    Spectrum mess;
    const double xs[] = {3, 1, 4, 1, 5, 9, 2, 6};
    for (int i = 0; i < 8; ++i)
        mess.append(xs[i], i);
    for (double e : {-1.0, 2.5, 7.0, 100.0})
        QVERIFY(std::isfinite(mess.interpolate(e)));
}

void TestSpectrum::shiftAppliesToEveryRead()
{
    Spectrum s;
    s.append(10.0, 0.0);
    s.append(20.0, 10.0);
    s.setXOffset(true, 10.0);
    QCOMPARE(s.x(0), 0.0);
    QCOMPARE(s.storedX(0), 10.0);
    QCOMPARE(s.interpolate(5.0), 5.0);
    QCOMPARE(s.effectiveXOffset(), 10.0);
    s.setXOffset(false, 10.0);
    QCOMPARE(s.x(0), 10.0);
    QCOMPARE(s.interpolate(5.0), -5.0);
    QCOMPARE(s.effectiveXOffset(), 0.0);
}

void TestSpectrum::solverPermutedAndSingular()
{
    // A zero leading entry needs a row exchange.
    LuSolver a(3);
    const double m[3][3] = {{0, 2, 1}, {1, 1, 1}, {4, 0, 3}};
    const double x[3] = {1.5, -2.0, 0.25};
    for (int r = 0; r < 3; ++r) {
        double b = 0;
        for (int c = 0; c < 3; ++c) {
            a.setMatrix(r, c, m[r][c]);
            b += m[r][c] * x[c];
        }
        a.setRhs(r, b);
    }
    QVERIFY(a.run().ok());
    for (int k = 0; k < 3; ++k)
        QVERIFY(std::fabs(a.solution(k) - x[k]) < 1e-12);

    // Reverse-ordered rows of a 4 x 4 system.
    LuSolver b(4);
    const double n[4][4] = {{0, 0, 0, 3}, {0, 0, 2, 1}, {0, 5, 1, 1}, {7, 1, 1, 1}};
    const double rhs[4] = {3, 3, 7, 10};
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c)
            b.setMatrix(r, c, n[r][c]);
        b.setRhs(r, rhs[r]);
    }
    QVERIFY(b.run().ok());
    for (int k = 0; k < 4; ++k)
        QVERIFY(std::fabs(b.solution(k) - 1.0) < 1e-12);

    // A zero column fails at the decomposition, and the later stages follow.
    LuSolver zero(2);
    zero.setMatrix(0, 1, 1);
    zero.setMatrix(1, 1, 2);
    const LuSolver::Result rz = zero.run();
    QVERIFY(!rz.decomposed && !rz.forwarded && !rz.solved && !rz.ok());

    // Dependent rows leave a zero last pivot, which the decomposition already refuses.
    LuSolver dep(2);
    dep.setMatrix(0, 0, 1);
    dep.setMatrix(0, 1, 2);
    dep.setMatrix(1, 0, 2);
    dep.setMatrix(1, 1, 4);
    const LuSolver::Result rd = dep.run();
    QVERIFY(!rd.decomposed && !rd.forwarded && !rd.solved);

    // NaN is not a zero pivot.
    LuSolver withNan(2);
    withNan.setMatrix(0, 0, std::numeric_limits<double>::quiet_NaN());
    withNan.setMatrix(1, 1, 1);
    QVERIFY(withNan.decompose());
}

QTEST_GUILESS_MAIN(TestSpectrum)
#include "tst_Spectrum.moc"
