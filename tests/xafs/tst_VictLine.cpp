#include "tests/support/SpectrumFixtures.h"

#include "xafs/VictLine.h"

#include <QTest>

namespace {

// A straight line fitted over [from, to] of n points a0 + slope * e, 1 apart from `start` on.
VictLine straight(double a0, double slope, double start, int n, double from, double to)
{
    VictLine v;
    return v.fit(line(a0, slope, start, 1.0, n), from, to, VictLine::kStraight) ? v : VictLine();
}

} // namespace

class TestVictLine : public QObject
{
    Q_OBJECT

private slots:
    void straightFitRecoversLine()
    {
        // Noise that sums to zero and is orthogonal to E leaves the line exact.
        Spectrum s;
        const double noise[] = {0.01, -0.01, -0.01, 0.01};
        for (int i = 0; i < 40; ++i) {
            const double e = 8000.0 + i;
            s.append(e, 2.5 - 3e-4 * e + noise[i % 4]);
        }
        VictLine v;
        QVERIFY(v.fit(s, 8000.0, 8040.0, VictLine::kStraight) && v.isValid() && v.count() == 40);
        QVERIFY(near(v.slope(), -3e-4, 1e-7) && near(v.a0(), 2.5, 1e-3) &&
                near(v.rms(), 0.01, 1e-4));
        QVERIFY(near(v.value(8020.0), 2.5 - 3e-4 * 8020.0, 1e-4));

        // The spectrum's shift moves the energies the fit sees.
        Spectrum shifted = line(1.0, 2.0, 100.0, 1.0, 10);
        shifted.setXOffset(true, 100.0);
        QVERIFY(v.fit(shifted, 0.0, 20.0, VictLine::kStraight));
        QVERIFY(near(v.a0(), 201.0, 1e-9) && near(v.slope(), 2.0, 1e-12));
    }

    void straightFitRangesAndFailures()
    {
        VictLine v;
        // Too few points: nothing changes but the range and kind.
        v.setParameters(7.0, 1.0, 0.0, 0.0);
        QVERIFY(!v.fit(line(0, 1, 0, 1, 2), 0.0, 10.0, VictLine::kStraight));
        QCOMPARE((QList<double>{v.a0(), v.slope(), v.to()}), (QList<double>{7, 1, 10}));

        // One point in range: a flat line through it.
        const Spectrum s = line(1.0, 0.5, 0.0, 1.0, 10);
        QVERIFY(!v.fit(s, 3.0, 4.0, VictLine::kStraight));
        QCOMPARE((QList<double>{v.slope(), v.a0()}), (QList<double>{0, 2.5}));
        QVERIFY(!v.isValid());
        // No point in range: zero line, rms 1.
        QVERIFY(!v.fit(s, 100.0, 200.0, VictLine::kStraight));
        QCOMPARE((QList<double>{v.a0(), double(v.count()), v.rms()}), (QList<double>{0, 0, 1}));

        // The point at `to` is left out of the fit and out of the straight rms.
        Spectrum withOutlier = line(1.0, 0.5, 0.0, 1.0, 5); // e = 0..4
        withOutlier.append(5.0, 100.0);
        QVERIFY(v.fit(withOutlier, 0.0, 5.0, VictLine::kStraight));
        QVERIFY(near(v.slope(), 0.5, 1e-12) && v.count() == 5 && v.rms() < 1e-12);

        // The walk stops at the first energy at or above `to`, even when later ones are lower.
        Spectrum unsorted = line(0.0, 1.0, 0.0, 1.0, 4); // e = 0..3
        unsorted.append(10.0, 0.0);
        unsorted.append(1.5, 100.0);
        QVERIFY(v.fit(unsorted, 0.0, 5.0, VictLine::kStraight));
        // The rms does not stop, so it sees the late point.
        QVERIFY(near(v.slope(), 1.0, 1e-12) && v.count() == 5 && v.rms() > 10.0);

        // All energies equal: singular system, the line keeps its previous values.
        Spectrum same;
        for (int i = 0; i < 5; ++i)
            same.append(3.0, i);
        v.setParameters(4.0, 0.25, 0, 0);
        QVERIFY(!v.fit(same, 0.0, 5.0, VictLine::kStraight));
        QCOMPARE((QList<double>{v.a0(), v.slope()}), (QList<double>{4, 0.25}));
    }

    void victreenFit()
    {
        const double a0 = 0.3, a1 = 0.8, a2 = -0.12;
        Spectrum s;
        for (int i = 0; i < 200; ++i)
            s.append(7000.0 + 5.0 * i, victreen(a0, a1, a2, 7000.0 + 5.0 * i));
        s.append(8000.0, 50.0); // exactly at `to`: not fitted, but counted in the residual
        VictLine v;
        QVERIFY(v.fit(s, 7000.0, 8000.0, VictLine::kVictreen));
        QVERIFY(near(v.a0(), a0, 1e-6) && near(v.a1(), a1, 1e-5) && near(v.a2(), a2, 1e-5));
        QVERIFY(near(v.value(7777.0), victreen(a0, a1, a2, 7777.0), 1e-9));
        QCOMPARE(v.count(), 201);
        QVERIFY(
            near(v.rms(), std::fabs(50.0 - victreen(a0, a1, a2, 8000.0)) / std::sqrt(201.0), 1e-5));
        // Fewer than four points: refused.
        QVERIFY(!v.fit(line(1.0, 0.0, 7000.0, 1.0, 3), 0.0, 1e5, VictLine::kVictreen));
    }

    void bezierJoinPreTowardsPost()
    {
        // Pre-edge rising faster than a higher post-edge line: they converge above.
        VictLine pre = straight(0.0, 0.01, 0.0, 50, 0.0, 40.0),
                 post = straight(1.0, 0.0, 50.0, 100, 60.0, 149.0);
        pre.joinTowardsPost(post);
        QVERIFY(pre.isJoined() && pre.joinAbove());
        QCOMPARE(pre.size(), 100);
        const std::vector<Spectrum::Point> &cp = pre.controlPoints();
        QCOMPARE(int(cp.size()), 4);
        // gap = 1 - 0.4, r = 0.5 * (0.6 / 0.01) / 109.
        const double r = 0.5 * 60.0 / 109.0;
        const double h = 109.0 * 0.1 * r;
        QVERIFY(near(cp[0].x, 40.0, 1e-12) && near(cp[0].y, 0.4, 1e-9));
        QVERIFY(near(cp[1].x, 40.0 + h, 1e-9) && near(cp[1].y, 0.4 + 0.01 * h, 1e-9));
        QVERIFY(near(cp[3].x, 149.0, 1e-12) && near(cp[3].y, 1.0 - 0.5 * r * 0.6, 1e-9));
        QCOMPARE(pre.points().front().x, 40.0);
        QVERIFY(pre.points().back().x < 149.0);

        // At `to` the plain line, just above it the curve.
        QVERIFY(near(pre.value(40.0), 0.4, 1e-12) && near(pre.value(40.0 + 1e-9), 0.4, 1e-6));
        QVERIFY(near(pre.value(100.0), pre.interpolate(100.0), 0.0));
        QVERIFY(std::fabs(pre.value(100.0) - pre.plainValue(100.0)) > 0.01);

        // A second join appends a further set of samples.
        pre.joinTowardsPost(post);
        QCOMPARE(pre.size(), 200);

        // Refitting leaves the join in force; only joining again clears it.
        QVERIFY(pre.fit(line(0.0, 0.01, 0.0, 1.0, 50), 0.0, 40.0, VictLine::kStraight));
        QVERIFY(pre.isJoined());
        QCOMPARE(pre.value(100.0), pre.interpolate(100.0));
    }

    void bezierJoinPostTowardsPre()
    {
        VictLine pre = straight(0.0, 0.0, 0.0, 50, 0.0, 40.0),
                 post = straight(0.0, 0.02, 50.0, 100, 60.0, 149.0);
        post.joinTowardsPre(pre);
        QVERIFY(post.isJoined() && !post.joinAbove());
        QCOMPARE(post.size(), 100);
        const std::vector<Spectrum::Point> &cp = post.controlPoints();
        // Lines cross at 0; r = 0.5 * (0 - 60) / (0 - 60).
        const double r = 0.5;
        QVERIFY(near(cp[0].x, 0.0, 1e-12) && near(cp[0].y, 0.5 * r * 1.2, 1e-9));
        QVERIFY(near(cp[3].x, 60.0, 1e-12) && near(cp[3].y, 1.2, 1e-9));
        QVERIFY(near(cp[2].x, 60.0 - 60.0 * 0.1 * r, 1e-9));
        // Below `from` the curve, at `from` the line.
        QVERIFY(near(post.value(60.0), 1.2, 1e-12) && post.value(30.0) < 1.2);
        QCOMPARE(post.value(30.0), post.interpolate(30.0));

        // Converging far beyond the range: r > 1, no join.
        VictLine far = straight(0.0, 0.02, 50.0, 100, 60.0, 149.0);
        far.joinTowardsPre(straight(-100.0, 0.0, 0.0, 50, 0.0, 40.0));
        QVERIFY(!far.isJoined());
    }

    void noJoinForParallelOrVictreenLines()
    {
        // Exactly equal slopes; fitted ones would differ in the last bits.
        VictLine pre, post;
        pre.setParameters(0.0, 0.01, 0.0, 0.0), pre.setRange(0.0, 40.0);
        post.setParameters(1.0, 0.01, 0.0, 0.0), post.setRange(60.0, 149.0);
        for (const int32_t kind : {int32_t(VictLine::kBezierJoin), int32_t(VictLine::kCubicJoin)}) {
            pre.setJoinKind(kind), post.setJoinKind(kind);
            pre.joinTowardsPost(post), post.joinTowardsPre(pre);
            QVERIFY(!pre.isJoined() && !post.isJoined());
        }

        // A Victreen pre-edge line is never joined.
        Spectrum s;
        for (int i = 0; i < 20; ++i)
            s.append(7000.0 + i, victreen(1, 1, 0, 7000.0 + i));
        VictLine vic;
        QVERIFY(vic.fit(s, 7000.0, 7015.0, VictLine::kVictreen));
        vic.joinTowardsPost(straight(-5.0, -1.0, 7100.0, 10, 7100.0, 7109.0));
        QVERIFY(!vic.isJoined() && vic.size() == 0);
    }

    void cubicJoinMeetsBothLines()
    {
        VictLine pre = straight(0.0, 0.0, 0.0, 50, 0.0, 40.0),
                 post = straight(-0.5, 0.02, 50.0, 100, 60.0, 149.0);
        post.setJoinKind(VictLine::kCubicJoin);
        post.joinTowardsPre(pre);
        QVERIFY(post.isJoined() && !post.joinAbove());
        // Crossing at 25 > pre.from = 0: xa = -60, so the cubic leaves pre flat at -60
        // and meets post with its value and slope at 60.
        const auto &c = post.cubic();
        const auto cubicAt = [&c](double e) { return ((c[0] * e + c[1]) * e + c[2]) * e + c[3]; };
        const auto slopeAt = [&c](double e) { return (3 * c[0] * e + 2 * c[1]) * e + c[2]; };
        QVERIFY(near(cubicAt(60.0), 0.7, 1e-9) && near(slopeAt(60.0), 0.02, 1e-9));
        QVERIFY(near(cubicAt(-60.0), 0.0, 1e-9) && near(slopeAt(-60.0), 0.0, 1e-9));
        QVERIFY(near(post.value(30.0), cubicAt(30.0), 0.0));
        QVERIFY(near(post.value(61.0), 0.72, 1e-12));

        // The pre-edge variant mirrors it: it leaves pre at its `to` with pre's value and slope.
        VictLine rising = straight(0.0, 0.02, 0.0, 50, 0.0, 40.0),
                 level = straight(2.0, 0.0, 50.0, 100, 60.0, 149.0);
        rising.setJoinKind(VictLine::kCubicJoin);
        rising.joinTowardsPost(level);
        QVERIFY(rising.isJoined() && rising.joinAbove());
        const auto &d = rising.cubic();
        const double at40 = ((d[0] * 40 + d[1]) * 40 + d[2]) * 40 + d[3];
        QVERIFY(near(at40, 0.8, 1e-9) && near(rising.value(40.0), 0.8, 1e-12));

        // The ordering guard shifts the cubic with the line.
        const double before = post.value(30.0);
        post.addToConstant(0.25);
        QVERIFY(near(post.value(30.0), before + 0.25, 1e-12));
        QVERIFY(near(post.value(100.0), -0.5 + 2.0 + 0.25, 1e-12));
    }

    void cubicJoinLogsFailedSolve()
    {
        // Both lines start at 0, so xa = xb = 0 and the system has a zero column.
        VictLine pre = straight(0.0, 0.0, 0.0, 50, 0.0, 40.0),
                 post = straight(-1.0, 0.02, 0.0, 50, 0.0, 49.0);
        post.setJoinKind(VictLine::kCubicJoin);
        QTest::ignoreMessage(QtDebugMsg, "make  LU (2) false in VictLine genCorrectedInPost");
        post.joinTowardsPre(pre);
        QVERIFY(!post.isJoined() && post.cubic()[0] == 0.0);
        QVERIFY(near(post.value(-10.0), -1.2, 1e-12));
    }
};

QTEST_GUILESS_MAIN(TestVictLine)
#include "tst_VictLine.moc"
