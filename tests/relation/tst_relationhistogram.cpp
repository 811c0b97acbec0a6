// The relation histogram against the literal per-pixel splat, its colour rule, the
// value-plane selections and what zelmap-cli relation writes.
#include "core/TDDataWL.h"
#include "relation/RelationHistogram.h"
#include "relation/RelationSelection.h"
#include "tests/support/CliFixtures.h"

#include <QImage>
#include <QTest>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

using Params = RelationHistogram::Params;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

namespace {

// A w x h record of values lo .. hi from the seed (kinds: 0 random, 1 with zeros, NaN and
// infinities sprinkled in, 2 constant lo). axisEnd, when given, becomes the axis end.
std::unique_ptr<TDDataWL> image(int w, int h, unsigned seed, int kind, double lo, double hi,
                                double axisEnd = 0.0)
{
    auto r = std::make_unique<TDDataWL>(w, h);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(lo, hi);
    for (qsizetype i = 0; i < r->pixelCount(); ++i) {
        double v = kind == 2 ? lo : u(rng);
        if (kind == 1) {
            const unsigned pick = rng() % 8;
            v = pick == 0 ? 0.0 : pick == 1 ? kNaN : pick == 2 ? -kInf : pick == 3 ? 1e300 : v;
        }
        r->setValue(i, v, true);
    }
    if (axisEnd > 0.0)
        r->setStatistics(r->minWithZeros(), r->maxWithZeros(), r->minWithoutZeros(), axisEnd);
    return r;
}

bool same(double a, double b, double scale)
{
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    if (std::isinf(a) || std::isinf(b)) return a == b;
    return std::fabs(a - b) <= 1e-9 * scale;
}

} // namespace

class TestRelationHistogram : public QObject
{
    Q_OBJECT

private slots:
    void matchesDirectSplat_data()
    {
        QTest::addColumn<int>("w");
        QTest::addColumn<int>("h");
        QTest::addColumn<int>("kind");
        QTest::addColumn<double>("lo");
        QTest::addColumn<double>("axisEnd");
        QTest::addColumn<int>("hw");
        QTest::addColumn<double>("b");
        QTest::addColumn<int>("w2"); // S2's size differs when not w

        // Values 0 .. 100 on axes ending at axisEnd: below 100 some pixels lie past the end.
        QTest::newRow("random") << 40 << 30 << 0 << 0.0 << 0.0 << 10 << 0.01 << 40;
        QTest::newRow("past the axis end") << 40 << 30 << 0 << 0.0 << 60.0 << 7 << 0.01 << 40;
        QTest::newRow("negatives") << 40 << 30 << 0 << -100.0 << 0.0 << 5 << 0.2 << 40;
        QTest::newRow("zeros NaN inf huge") << 40 << 30 << 1 << -20.0 << 0.0 << 4 << 0.01 << 40;
        QTest::newRow("b = 0") << 20 << 20 << 0 << 0.0 << 0.0 << 3 << 0.0 << 20;
        QTest::newRow("b < 0") << 20 << 20 << 0 << 0.0 << 0.0 << 3 << -1.0 << 20;
        QTest::newRow("b = 1") << 20 << 20 << 0 << 0.0 << 0.0 << 3 << 1.0 << 20;
        QTest::newRow("b > 1") << 20 << 20 << 0 << 0.0 << 60.0 << 3 << 5.0 << 20;
        QTest::newRow("h = 0") << 20 << 20 << 0 << 0.0 << 0.0 << 0 << 0.01 << 20;
        QTest::newRow("h < 0") << 20 << 20 << 0 << 0.0 << 0.0 << -2 << 0.01 << 20;
        QTest::newRow("huge h") << 6 << 5 << 0 << 0.0 << 0.0 << 1000000000 << 0.01 << 6;
        QTest::newRow("S2 narrower") << 30 << 20 << 0 << 0.0 << 0.0 << 3 << 0.01 << 17;
        QTest::newRow("S2 wider") << 17 << 20 << 0 << 0.0 << 0.0 << 3 << 0.01 << 30;
    }

    void matchesDirectSplat()
    {
        QFETCH(int, w);
        QFETCH(int, h);
        QFETCH(int, kind);
        QFETCH(double, lo);
        QFETCH(double, axisEnd);
        QFETCH(int, hw);
        QFETCH(double, b);
        QFETCH(int, w2);
        const auto s1 = image(w, h, 1, kind, lo, 100.0, axisEnd);
        const auto s2 = image(w2, h + (w2 != w), 2, kind, lo, 100.0, axisEnd);
        const Params params{hw, b};
        const std::vector<double> fast = RelationHistogram::compute(*s1, *s2, params);
        const std::vector<double> direct = RelationHistogram::directSplat(*s1, *s2, params);
        double peak = 0.0;
        int filled = 0;
        for (double v : direct) {
            if (std::isfinite(v)) peak = std::max(peak, std::fabs(v));
            filled += v != 0.0;
        }
        if (hw >= 0) QVERIFY(filled > 0); // the row exercises something
        for (size_t i = 0; i < direct.size(); ++i)
            QVERIFY2(
                same(fast[i], direct[i], std::max(peak, 1e-300)),
                qPrintable(
                    QStringLiteral("bin %1: %2, direct %3").arg(i).arg(fast[i]).arg(direct[i])));
    }

    void constantImagesGiveOneBlob()
    {
        // S1 = 30 on an axis ending at 100: column 60; S2 = 10 of 80: row 25.
        const auto s1 = image(7, 5, 0, 2, 30.0, 30.0, 100.0);
        const auto s2 = image(7, 5, 0, 2, 10.0, 10.0, 80.0);
        RelationHistogram hist;
        hist.setData(s1.get(), s2.get());
        hist.setParams({4, 0.1});
        QVERIFY(hist.build() && !hist.isDirty());
        QVERIFY(!hist.build()); // nothing new: not rebuilt
        const double k = std::log(0.1) / 16.0;
        for (int r = 0; r < 200; ++r)
            for (int c = 0; c < 200; ++c) {
                const int dx = c - 60, dy = r - 25;
                const double want = (std::abs(dx) <= 4 && std::abs(dy) <= 4)
                                        ? 35.0 * std::exp(k * (dx * dx + dy * dy))
                                        : 0.0;
                QVERIFY2(std::fabs(hist.bin(c, r) - want) <= 1e-12 * 35.0,
                         qPrintable(QStringLiteral("%1 %2").arg(c).arg(r)));
            }
        QCOMPARE(hist.bin(64, 25), 35.0 * 0.1); // the boundary value at distance h
        hist.setParams({4, 0.1});
        const bool dirtyAfterSame = hist.isDirty();
        hist.setParams({5, 0.1});
        QVERIFY(!dirtyAfterSame && hist.isDirty());
    }

    void colourRule_data()
    {
        QTest::addColumn<double>("r");
        QTest::addColumn<double>("v");
        QTest::addColumn<int>("green"); // -1: no valid colour
        // The peak is 1000.
        QTest::newRow("R 0.002 at 0.2 %") << 0.002 << 2.0 << 255;
        QTest::newRow("R 0.002 just below") << 0.002 << 1.99 << 253;
        QTest::newRow("R 0.002 peak") << 0.002 << 1000.0 << 255;
        QTest::newRow("R 0.002 empty") << 0.002 << 0.0 << 0;
        QTest::newRow("R 1 half") << 1.0 << 500.0 << 127;
        QTest::newRow("R 1 peak") << 1.0 << 1000.0 << 255;
        QTest::newRow("R 0") << 0.0 << 500.0 << -1;
        QTest::newRow("R 0 empty") << 0.0 << 0.0 << -1;
        QTest::newRow("NaN bin") << 1.0 << kNaN << -1;
    }

    void colourRule()
    {
        QFETCH(double, r);
        QFETCH(double, v);
        QFETCH(int, green);
        std::vector<double> bins(200 * 200, 0.0);
        bins[0] = 1000.0;
        bins[200 * 7 + 3] = v; // column 3, row 7
        const QImage picture = RelationHistogram::paint(bins, r);
        QCOMPARE(picture.size(), QSize(200, 200));
        const QRgb want = green < 0 ? qRgba(0, 0, 0, 0) : qRgba(255, green, 0, 255);
        QCOMPARE(picture.pixel(3, 7), want);
    }

    void scatterMap()
    {
        // Display ranges 0.5 .. 10 and 0.2 .. 4: the axes end at 10 and 4.
        const double v1[] = {1, 5, 10, 0.5, 2};
        const double v2[] = {0.5, 2, 4, 0.2, 3.999};
        TDDataWL s1(5, 1), s2(5, 1);
        for (int i = 0; i < 5; ++i)
            s1.setValue(i, v1[i], true), s2.setValue(i, v2[i], true);
        s1.setRegion(QRect(4, 0, 1, 1));
        const QImage map = RelationHistogram::scatterMap(s1, s2);
        QCOMPARE(map.size(), QSize(1000, 1000));
        QImage want(1000, 1000, QImage::Format_ARGB32);
        want.fill(RelationHistogram::kMapBackground);
        // Neither value of pixel 3 exceeds its low end; pixel 2 maps to 1000, past the last
        // column and row; pixel 4 lies in S1's region.
        want.setPixel(100, 125, RelationHistogram::kMapPoint);
        want.setPixel(500, 500, RelationHistogram::kMapPoint);
        want.setPixel(200, 999, RelationHistogram::kMapHighlight);
        QCOMPARE(map, want);
    }

    void selectionMask_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QList<double>>("geometry");
        QTest::addColumn<QList<double>>("want"); // -1 invalid
        // Pixels (S1, S2), 4 x 2: (1, 1) (0, 1) (-1, 1) (2, 0) / (0, 0) (5, 5.01) (7, 7 with S2
        // invalid) (3, 3); S2 is one column wider.
        QTest::newRow("sector 45 +- 10")
            << int(RelationSelection::Sector) << QList<double>{45.0, 20.0}
            << QList<double>{1, 0, 0, 0, 0, 1, -1, 1};
        QTest::newRow("sector 90 +- 30")
            << int(RelationSelection::Sector) << QList<double>{90.0, 60.0}
            << QList<double>{0, 1, 0, 0, 0, 0, -1, 0};
        QTest::newRow("sector across 180")
            << int(RelationSelection::Sector) << QList<double>{-170.0, 120.0}
            << QList<double>{0, 0, 1, 0, 0, 0, -1, 0};
        QTest::newRow("square") << int(RelationSelection::Square)
                                << QList<double>{2.5, -0.5, 0.5, 1.0}
                                << QList<double>{1, 0, 0, 1, 0, 0, -1, 0};
        QTest::newRow("none") << int(RelationSelection::None) << QList<double>{}
                              << QList<double>{0, 0, 0, 0, 0, 0, -1, 0};
    }

    void selectionMask()
    {
        QFETCH(int, kind);
        QFETCH(QList<double>, geometry);
        QFETCH(QList<double>, want);
        const double v1[] = {1, 0, -1, 2, 0, 5, 7, 3};
        const double v2[] = {1, 1, 1, 0, 0, 5.01, 7, 3};
        TDDataWL s1(4, 2), s2(5, 2);
        for (int i = 0; i < 8; ++i)
            s1.setValue(i, v1[i], true);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 5; ++x)
                s2.setValue(x, y, x < 4 ? v2[y * 4 + x] : 99.0, !(x == 2 && y == 1));
        s1.setDataId("a"), s2.setDataId("b");
        s1.setLevel(3);
        RelationSelection sel;
        if (kind == RelationSelection::Sector)
            sel = RelationSelection::sector(qDegreesToRadians(geometry[0]),
                                            qDegreesToRadians(geometry[1]) / 2);
        else if (kind == RelationSelection::Square)
            sel = RelationSelection::square(geometry[0], geometry[1], geometry[2], geometry[3]);
        const auto mask = sel.mask(s1, s2);
        QCOMPARE(mask->dataId(), "Rel[a vs b]");
        QCOMPARE((QList<int>{mask->level(), mask->width(), mask->height()}), (QList<int>{4, 4, 2}));
        for (int i = 0; i < 8; ++i) {
            QCOMPARE(mask->isValid(i), want[i] >= 0);
            QCOMPARE(mask->value(i), std::max(want[i], 0.0));
        }
    }

    void cliRoundTrip()
    {
        QTemporaryDir dir;
        const auto s1 = image(50, 40, 5, 0, 0.0, 100.0, 80.0);
        const auto s2 = image(50, 40, 6, 0, 0.0, 50.0);
        const QString f1 = dir.filePath("s1.zmp"), f2 = dir.filePath("s2.zmp");
        QVERIFY(s1->save(f1) && s2->save(f2));
        const QString hist = dir.filePath("h.zmp"), png = dir.filePath("m.png"),
                      maskFile = dir.filePath("k.zmp");
        const CliRun run =
            runCli({"relation", "--kernel-hw", "6",        "--boundary", "0.05", "--color-range",
                    "0.5",      "--time",      f1,         f2,           "-o",   hist,
                    "--png",    png,           "--square", "10",         "5",    "60",
                    "30",       "--mask",      maskFile});
        QCOMPARE(run.status, 0);
        QVERIFY(hasComputeTime(run.err));
        // Read back as saved: the file keeps the axis ends the picture was made with.
        TDDataWL r1(1, 1), r2(1, 1), h(1, 1), m(1, 1);
        QVERIFY(r1.load(f1) && r2.load(f2) && h.load(hist) && m.load(maskFile));
        const std::vector<double> want = RelationHistogram::compute(r1, r2, {6, 0.05});
        QCOMPARE(QSize(h.width(), h.height()), QSize(200, 200));
        for (int r = 0; r < 200; ++r)
            for (int c = 0; c < 200; ++c)
                QCOMPARE(h.value(c, r), want[size_t(r) * 200 + c]);
        QCOMPARE(QImage(png).convertToFormat(QImage::Format_ARGB32),
                 RelationHistogram::paint(want, 0.5));
        const auto wantMask = RelationSelection::square(10, 5, 60, 30).mask(r1, r2);
        int picked = 0;
        for (qsizetype i = 0; i < m.pixelCount(); ++i) {
            QCOMPARE(m.value(i), wantMask->value(i));
            picked += m.value(i) != 0.0;
        }
        QVERIFY(picked > 0 && picked < m.pixelCount());
        QVERIFY(run.out.contains(QStringLiteral("selected pixels: %1").arg(picked)));
    }
};

QTEST_GUILESS_MAIN(TestRelationHistogram)
#include "tst_relationhistogram.moc"
