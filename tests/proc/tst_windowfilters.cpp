#include "proc/AdaptiveThresholdF.h"
#include "proc/MovingAvrF.h"

#include "../support/WidgetFixtures.h"

#include <QRandomGenerator>

#include <algorithm>

namespace {

// Rows first, then columns, each the direct mean of the valid pixels in the clipped window.
// Window ends are worked out in 64 bits so that huge half widths mean "the whole image".
std::vector<double> directMeans(const TDDataWL &src, int rx, int ry)
{
    const int w = src.width(), h = src.height();
    const auto lo = [](int c, int r) { return int(std::max<qint64>(0, qint64(c) - r)); };
    const auto hi = [](int c, int r, int n) { return int(std::min<qint64>(n - 1, qint64(c) + r)); };
    rx = std::max(rx, 0);
    ry = std::max(ry, 0);
    std::vector<double> rows(size_t(w) * h, 0.0), out(size_t(w) * h, 0.0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!src.isValid(x, y)) continue;
            double s = 0;
            int n = 0;
            for (int i = lo(x, rx); i <= hi(x, rx, w); ++i)
                if (src.isValid(i, y)) s += src.value(i, y), ++n;
            rows[size_t(y) * w + x] = s / n;
        }
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!src.isValid(x, y)) continue;
            double s = 0;
            int n = 0;
            for (int j = lo(y, ry); j <= hi(y, ry, h); ++j)
                if (src.isValid(x, j)) s += rows[size_t(j) * w + x], ++n;
            out[size_t(y) * w + x] = s / n;
        }
    return out;
}

std::unique_ptr<TDDataWL> randomRecord(int w, int h, int invalidOneIn, quint32 seed)
{
    auto r = std::make_unique<TDDataWL>(w, h);
    QRandomGenerator rng(seed);
    for (qsizetype i = 0; i < r->pixelCount(); ++i)
        r->setValue(i, rng.bounded(2000) / 10.0 - 50.0,
                    invalidOneIn && rng.bounded(invalidOneIn) != 0);
    r->setDataId(QStringLiteral("src%2"));
    r->setLevel(2);
    r->addShape(new Shape(1));
    return r;
}

// The four extremes, to be compared with those of a record of the same values.
QList<double> extremes(const TDDataWL &r)
{
    return {r.minWithZeros(), r.maxWithZeros(), r.minWithoutZeros(), r.maxWithoutZeros()};
}

} // namespace

class TestWindowFilters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<TDDataWL *>(); }
    void movingAverageIsTheDirectMean_data();
    void movingAverageIsTheDirectMean();
    void thresholdWalksTheRectangleHalfOpen_data();
    void thresholdWalksTheRectangleHalfOpen();
    void runEmitsOwnedResult();
};

void TestWindowFilters::movingAverageIsTheDirectMean_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<int>("hx");
    QTest::addColumn<int>("hy");
    QTest::addColumn<int>("invalidOneIn");
    QTest::newRow("copy") << 23 << 17 << 0 << 0 << 4;
    QTest::newRow("both") << 23 << 17 << 1 << 2 << 4;
    QTest::newRow("rows only") << 23 << 17 << 3 << 0 << 4;
    QTest::newRow("columns only, negative x") << 23 << 17 << -2 << 4 << 4;
    QTest::newRow("wider than the image") << 23 << 17 << 30 << 40 << 4;
    QTest::newRow("2e9 both") << 23 << 17 << 2000000000 << 2000000000 << 4;
    QTest::newRow("2e9 and negative") << 7 << 9 << 2000000000 << -2000000000 << 3;
    QTest::newRow("one column") << 1 << 13 << 5 << 2 << 3;
    QTest::newRow("no valid pixel") << 9 << 5 << 2 << 2 << 0;
    // Large enough to be split into bands of rows across threads.
    QTest::newRow("banded") << 640 << 480 << 4 << 5 << 7;
}

void TestWindowFilters::movingAverageIsTheDirectMean()
{
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(int, hx);
    QFETCH(int, hy);
    QFETCH(int, invalidOneIn);
    const auto src = randomRecord(w, h, invalidOneIn, quint32(w * 31 + hx));
    const std::unique_ptr<TDDataWL> out = MovingAvrF(hx, hy).compute(*src);
    const std::vector<double> ref = directMeans(*src, hx, hy);
    const bool copy = hx < 1 && hy < 1;

    TDDataWL widened(w, h);
    for (qsizetype i = 0; i < src->pixelCount(); ++i) {
        QCOMPARE(out->isValid(i), src->isValid(i));
        // Without any window the result is a plain copy, invalid pixels' values and all.
        const double expected = copy ? src->value(i) : ref[size_t(i)];
        if (std::abs(out->value(i) - expected) > 1e-9)
            QFAIL(qPrintable(
                QStringLiteral("pixel %1: %2, direct %3").arg(i).arg(out->value(i)).arg(expected)));
        widened.setValue(i, out->value(i), true);
    }
    QCOMPARE(extremes(*out), extremes(widened));
    // The source's "%2" is kept as it is, not filled with a parameter.
    QCOMPARE(out->dataId(),
             QStringLiteral("src%2: MA(") + QStringLiteral("%1,%2)").arg(hx).arg(hy));
    QCOMPARE(out->level(), 3);
    QCOMPARE(out->shapeCount(), 1);
}

void TestWindowFilters::thresholdWalksTheRectangleHalfOpen_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<int>("hx");
    QTest::addColumn<int>("hy");
    // The panel's whole image: the last column and row are never walked.
    QTest::newRow("whole image") << QRect(QPoint(0, 0), QPoint(14, 10)) << 2 << 1;
    QTest::newRow("inner") << QRect(QPoint(3, 2), QPoint(9, 8)) << 12 << 12;
    QTest::newRow("partly outside") << QRect(QPoint(-4, -3), QPoint(40, 5)) << 0 << 3;
    QTest::newRow("wholly outside") << QRect(QPoint(20, 20), QPoint(30, 30)) << 1 << 1;
    QTest::newRow("one column wide") << QRect(QPoint(4, 0), QPoint(4, 10)) << 1 << 1;
    QTest::newRow("huge") << QRect(QPoint(-2000000000, 0), QPoint(2000000000, 2000000000))
                          << 2000000000 << -1;
}

void TestWindowFilters::thresholdWalksTheRectangleHalfOpen()
{
    QFETCH(QRect, rect);
    QFETCH(int, hx);
    QFETCH(int, hy);
    const auto src = randomRecord(15, 11, 5, 99);
    const std::unique_ptr<TDDataWL> out = AdaptiveThresholdF(hx, hy).compute(*src, rect);
    const std::vector<double> mean = directMeans(*src, hx, hy);
    int ones = 0, zeros = 0;
    for (int y = 0; y < 11; ++y)
        for (int x = 0; x < 15; ++x) {
            const bool walked = x >= rect.left() && x < rect.right() && y >= rect.top() &&
                                y < rect.bottom() && src->isValid(x, y);
            QCOMPARE(out->isValid(x, y), walked);
            if (!walked) {
                QCOMPARE(out->value(x, y), 0.0);
                continue;
            }
            const double m = mean[size_t(y) * 15 + x];
            // Leave out pixels whose mean is within rounding of their value.
            if (std::abs(m - src->value(x, y)) < 1e-9) continue;
            const double expected = m < src->value(x, y) ? 1.0 : 0.0;
            QCOMPARE(out->value(x, y), expected);
            (expected == 1.0 ? ones : zeros)++;
        }
    QCOMPARE(out->maxWithoutZeros(), ones ? 1.0 : TDData0::kInitialMax);
    QCOMPARE(out->minWithZeros(), 0.0);
    QCOMPARE(out->dataId(),
             QStringLiteral("src%2: AT(") + QStringLiteral("%1,%2)").arg(hx).arg(hy));
    QCOMPARE(out->level(), 3);
    QCOMPARE(out->shapeCount(), 1);
}

void TestWindowFilters::runEmitsOwnedResult()
{
    // A lone valid pixel keeps its value and is not above its own mean; a constant image
    // gives 0 everywhere, also under a rectangle larger than the image.
    TDDataWL lone(5, 5);
    lone.setValue(2, 2, 7.0, true);
    const auto flat = fx::record(6, 4, [](int, int) { return 3.25; });
    MovingAvrF ma(3, 3);
    AdaptiveThresholdF at(3, 3);
    QCOMPARE(QPoint(ma.typeCode(), at.typeCode()), QPoint(2, 1));
    QSignalSpy maSpy(&ma, &Filter::newFilteredData), atSpy(&at, &Filter::newFilteredData);
    ma.run(&lone);
    ma.run(nullptr);
    at.run(&lone, QRect(0, 0, 5, 5));
    at.run(flat.get(), QRect(0, 0, 7, 5));
    QCOMPARE(QPoint(maSpy.count(), atSpy.count()), QPoint(1, 2));
    const auto result = [](const QSignalSpy &spy, int i) {
        return std::unique_ptr<TDDataWL>(spy.at(i).at(0).value<TDDataWL *>());
    };
    auto r = result(maSpy, 0);
    QCOMPARE(r->value(2, 2), 7.0);
    QCOMPARE(r->validCount(), 1);
    r = result(atSpy, 0);
    QVERIFY(r->isValid(2, 2));
    QCOMPARE(r->value(2, 2), 0.0);
    r = result(atSpy, 1);
    QCOMPARE(r->validCount(), flat->pixelCount());
    QCOMPARE(r->maxWithZeros(), 0.0);
}

QTEST_GUILESS_MAIN(TestWindowFilters)
#include "tst_windowfilters.moc"
