#include "tests/support/SpectrumFixtures.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <utility>

namespace {

Spectrum spectrum(std::initializer_list<std::pair<double, double>> points)
{
    Spectrum s;
    for (const auto &[e, y] : points)
        s.append(e, y);
    return s;
}

} // namespace

class TestSpectrum : public QObject
{
    Q_OBJECT

private slots:
    void extremesAndClear()
    {
        Spectrum s;
        QCOMPARE(s.indexOfMinY(), -1);
        s.append(2.0, 5.0);
        QCOMPARE((QList<double>{s.minX(), s.maxX()}), (QList<double>{2, 2}));
        QCOMPARE((QList<int>{s.indexOfMinY(), s.indexOfMaxY()}), (QList<int>{0, 0}));
        s.append(1.0, 7.0);
        s.append(3.0, 7.0); // equal maximum later: index stays
        s.append(4.0, 5.0); // equal minimum later: index stays
        s.append(5.0, -1e308);
        QCOMPARE((QList<double>{s.minX(), s.maxX(), s.maxY(), s.minY()}),
                 (QList<double>{1, 5, 7, -1e308}));
        QCOMPARE((QList<int>{s.indexOfMaxY(), s.indexOfMinY()}), (QList<int>{1, 4}));
        s.clear();
        QVERIFY(s.isEmpty());
        QCOMPARE(s.indexOfMaxY(), -1);
        // A huge sample must still replace the empty extremes.
        s.append(1e305, 1e305);
        QCOMPARE((QList<double>{s.minX(), s.maxY(), s.minY()}),
                 (QList<double>{1e305, 1e305, 1e305}));
    }

    void smoothingAtTheEnds()
    {
        Spectrum s = spectrum({{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 16}, {5, 32}});
        // The window shrinks at both ends instead of padding.
        s.smooth(2);
        QCOMPARE(s.smoothedY(),
                 (std::vector<double>{7 / 3.0, 15 / 4.0, 31 / 5.0, 62 / 5.0, 60 / 4.0, 56 / 3.0}));
        // Interpolating the average at a sample reads the average there.
        QCOMPARE(s.interpolateSmoothed(3.0), 62 / 5.0);
        // A half width wider than the list averages everything at every point.
        s.smooth(10);
        QCOMPARE(s.smoothedY(), std::vector<double>(6, 63.0 / 6.0));
        s.smooth(0);
        QCOMPARE(s.smoothedY(), (std::vector<double>{1, 2, 4, 8, 16, 32}));
        Spectrum one = spectrum({{0, 3}});
        one.smooth(2);
        QCOMPARE(one.smoothedY(), std::vector<double>{3.0});
        Spectrum none;
        none.smooth(2);
        QVERIFY(none.smoothedY().empty());
    }

    void interpolation()
    {
        // At the samples, between them, and beyond the ends, where the end segments are
        // extended, never clamped.
        const Spectrum s = spectrum({{0, 1}, {1, 3}, {2, 4}, {4, 0}});
        const std::pair<double, double> cases[] = {{0, 1},     {1, 3},     {2, 4}, {4, 0},
                                                   {0.5, 2},   {1.5, 3.5}, {3, 2}, {-1, -1},
                                                   {-10, -19}, {6, -4}};
        for (const auto &[e, y] : cases)
            QCOMPARE(s.interpolate(e), y);
        QCOMPARE(Spectrum().interpolate(1.0), 0.0);
        const Spectrum one = spectrum({{5, 2.5}});
        QCOMPARE(one.interpolate(-100.0), 2.5);
        QCOMPARE(one.interpolate(100.0), 2.5);
        // Duplicated energies at the ends and inside give the mean of the pair.
        const Spectrum dup = spectrum({{0, 1}, {0, 3}, {1, 5}, {1, 9}});
        QCOMPARE(dup.interpolate(-1.0), 2.0);
        QCOMPARE(dup.interpolate(2.0), 7.0);
        QCOMPARE(dup.interpolate(0.5), 4.0);
        // Unsorted energies must still end and stay in range.
        const Spectrum mess =
            spectrum({{3, 0}, {1, 1}, {4, 2}, {1, 3}, {5, 4}, {9, 5}, {2, 6}, {6, 7}});
        for (double e : {-1.0, 2.5, 7.0, 100.0})
            QVERIFY(std::isfinite(mess.interpolate(e)));
    }

    void shiftAppliesToEveryRead()
    {
        Spectrum s = spectrum({{10, 0}, {20, 10}});
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

    void solverPermutedAndSingular()
    {
        // A zero leading entry needs a row exchange; so do the reverse-ordered rows of the 4 x 4.
        const std::vector<double> x = solve(3, {0, 2, 1, 1, 1, 1, 4, 0, 3}, {-3.75, -0.25, 6.75});
        QCOMPARE(x.size(), size_t(3));
        for (size_t k = 0; k < 3; ++k)
            QVERIFY(std::fabs(x[k] - std::vector<double>{1.5, -2.0, 0.25}[k]) < 1e-12);
        const std::vector<double> y =
            solve(4, {0, 0, 0, 3, 0, 0, 2, 1, 0, 5, 1, 1, 7, 1, 1, 1}, {3, 3, 7, 10});
        QCOMPARE(y.size(), size_t(4));
        for (double v : y)
            QVERIFY(std::fabs(v - 1.0) < 1e-12);

        // A zero column fails at the decomposition, and the later stages follow.
        LuSolver zero(2);
        zero.setMatrix(0, 1, 1);
        zero.setMatrix(1, 1, 2);
        const LuSolver::Result rz = zero.run();
        QVERIFY(!rz.decomposed && !rz.forwarded && !rz.solved && !rz.ok());
        // Dependent rows leave a zero last pivot, which the decomposition already refuses.
        LuSolver dep(2);
        for (const auto &[r, c, v] : {std::tuple(0, 0, 1), {0, 1, 2}, {1, 0, 2}, {1, 1, 4}})
            dep.setMatrix(r, c, v);
        const LuSolver::Result rd = dep.run();
        QVERIFY(!rd.decomposed && !rd.forwarded && !rd.solved);
        // NaN is not a zero pivot.
        LuSolver withNan(2);
        withNan.setMatrix(0, 0, std::numeric_limits<double>::quiet_NaN());
        withNan.setMatrix(1, 1, 1);
        QVERIFY(withNan.decompose());
    }
};

QTEST_GUILESS_MAIN(TestSpectrum)
#include "tst_Spectrum.moc"
