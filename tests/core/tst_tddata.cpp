#include "../support/RecordFixtures.h"

#include "core/RecordStatistics.h"
#include "core/TDDataWL.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace RecordFixtures;
using namespace Qt::StringLiterals;

namespace {

QList<double> range(const TDData0 &r)
{
    return {r.displayRange().low, r.displayRange().high};
}

// The mean of the valid pixels within (rx, ry) of each valid pixel, rows first, then columns,
// as the separable passes do; invalid pixels read 0.
void bruteForceSmooth(const TDData0 &src, int rx, int ry, std::vector<double> &v,
                      std::vector<bool> &f)
{
    const int w = src.width(), h = src.height();
    for (qsizetype i = 0; i < src.pixelCount(); ++i)
        v.push_back(src.value(i)), f.push_back(src.isValid(i));
    for (const bool rows : {true, false}) {
        std::vector<double> nv(v.size(), 0.0);
        std::vector<bool> nf(f.size(), false);
        const int r = rows ? rx : ry;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                if (!f[size_t(y) * w + x]) continue;
                double s = 0;
                int n = 0;
                for (int d = -r; d <= r; ++d) {
                    const int xx = rows ? x + d : x, yy = rows ? y : y + d;
                    if (xx < 0 || yy < 0 || xx >= w || yy >= h || !f[size_t(yy) * w + xx]) continue;
                    s += v[size_t(yy) * w + xx];
                    ++n;
                }
                nv[size_t(y) * w + x] = s / n;
                nf[size_t(y) * w + x] = true;
            }
        v.swap(nv), f.swap(nf);
    }
}

} // namespace

class TestTDData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newRecordAndStatistics();
    void bulkWideningMatchesSetValue();
    void recordStatisticsAgainstTwoPasses();
    void copyRectRelativeAndAbsolute();
    void copyKeepsClassShapesAndRegion();
    void smoothedCopyMatchesDirectMeans();
    void fileSafeId();
};

void TestTDData::newRecordAndStatistics()
{
    TDDataWL r(3, 2);
    QVERIFY(r.pixelCount() == 6 && r.validCount() == 0);
    QVERIFY(std::all_of(r.values(), r.values() + 6, [](double v) { return v == 0.0; }));
    QCOMPARE(stats(r), (QList<double>{0, 0, 1e300, -1e300}));
    QCOMPARE(range(r), (QList<double>{1e300, -1e300}));
    QVERIFY(!r.isRegionSet());
    QCOMPARE(stats(TDDataWL(0, 5)), (QList<double>{1e300, -1e300, 1e300, -1e300}));

    // Statistics only widen: overwriting the maximum leaves it in place; NaN widens nothing.
    r.setValue(0, 0, -5.0, true);
    r.setValue(1, 0, 7.0, false);
    r.setValue(1, 0, 0.0, true);
    r.setValue(2, 0, std::numeric_limits<double>::quiet_NaN(), true);
    QCOMPARE(stats(r), (QList<double>{-5, 7, -5, 7}));
    QVERIFY(r.value(1, 0) == 0.0 && r.isValid(1) && std::isnan(r.value(2)) && r.validCount() == 3);

    // A single non-zero value falls back to the with-zeros pair.
    TDDataWL one(2, 2);
    one.setValue(3, 3.0, true);
    QCOMPARE(stats(one), (QList<double>{0, 3, 3, 3}));
    QCOMPARE(range(one), (QList<double>{0, 3}));

    // The region is set and cleared through slots; clearing keeps the rectangle.
    QMetaObject::invokeMethod(&r, "setRegion", Q_ARG(QRect, QRect(1, 0, 2, 2)));
    QVERIFY(r.isRegionSet());
    QMetaObject::invokeMethod(&r, "regionCleared");
    QVERIFY(!r.isRegionSet());
    QCOMPARE(r.region(), QRect(1, 0, 2, 2));
}

void TestTDData::bulkWideningMatchesSetValue()
{
    // Runs of different lengths hit both the four-lane body and the tail.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int n : {1, 3, 4, 7, 64, 1001}) {
        TDDataWL a(n, 1), b(n, 1);
        QRandomGenerator rng(n);
        for (int i = 0; i < n; ++i) {
            const int pick = rng.bounded(10);
            // Even lengths hold no negative value, so a zero let into the minimum would show.
            const double low = n % 2 ? -100 : 1;
            b.values()[i] = pick == 0 ? 0.0 : pick == 1 ? nan : low + rng.generateDouble() * 200;
            a.setValue(i, b.values()[i], true);
        }
        b.widenStatistics(b.values(), n);
        QCOMPARE(stats(b), stats(a));
    }
}

void TestTDData::recordStatisticsAgainstTwoPasses()
{
    // Large offset: a one-pass sum of squares would lose the spread.
    const double inf = std::numeric_limits<double>::infinity();
    QRandomGenerator rng(7);
    auto r = makeRecord(
        37, 11, "s",
        [&](qsizetype i) { return i % 13 == 0 ? inf : 1e6 + rng.generateDouble() * 10 - 5; },
        [](qsizetype i) { return i % 5 != 0; });
    std::vector<double> ok;
    for (qsizetype i = 0; i < r->pixelCount(); ++i)
        if (r->validFlags()[i] && std::isfinite(r->values()[i])) ok.push_back(r->values()[i]);
    double mean = 0, ss = 0;
    for (double v : ok)
        mean += v / double(ok.size());
    for (double v : ok)
        ss += (v - mean) * (v - mean);
    const RecordStatistics st = RecordStatistics::of(*r);
    QCOMPARE(st.validCount, qsizetype(ok.size()));
    QVERIFY(std::fabs(st.mean - mean) < 1e-8);
    QVERIFY(std::fabs(st.standardDeviation - std::sqrt(ss / double(ok.size()))) < 1e-8);
    QCOMPARE(st.validMin, *std::min_element(ok.begin(), ok.end()));
    QCOMPARE(st.validMax, *std::max_element(ok.begin(), ok.end()));
}

void TestTDData::copyRectRelativeAndAbsolute()
{
    const auto src = makeRecord(
        4, 3, u"src"_s, [](qsizetype i) { return 10 * (i / 4) + i % 4 + 1; },
        [](qsizetype i) { return (i / 4 + i % 4) % 2 == 0; });

    TDDataWL rel(2, 2);
    src->copyRect(&rel, 2, 1, 3, 2, true);
    // Source (2, 1), (3, 1), (2, 2), (3, 2); the flags travel with the values.
    QCOMPARE((QList<double>{rel.value(0), rel.value(1), rel.value(2), rel.value(3)}),
             (QList<double>{13, 14, 23, 24}));
    QVERIFY(rel.validCount() == 2 && !rel.isValid(0) && rel.isValid(1));
    QVERIFY(rel.dataId() == "src"_L1 && rel.isRegionSet());
    QCOMPARE(rel.region(), QRect(0, 0, 4, 3)); // the source's full size
    QCOMPARE(stats(rel), (QList<double>{0, 24, 13, 24}));

    src->setRegion(QRect(1, 1, 2, 1));
    TDDataWL abs(4, 3);
    src->copyRect(&abs, QRect(QPoint(1, 1), QPoint(2, 2)), false);
    QCOMPARE((QList<double>{abs.value(1, 1), abs.value(2, 2), abs.value(0, 0), abs.value(3, 2),
                            abs.value(0, 1), abs.value(3, 1)}),
             (QList<double>{12, 23, 0, 0, 0, 0}));
    QCOMPARE(abs.region(), QRect(1, 1, 2, 1));
}

void TestTDData::copyKeepsClassShapesAndRegion()
{
    TDDataWL src(3, 2);
    src.setLevel(4);
    src.setValue(1, 1, 2.5, true);
    auto *peaks = new Shape(1, u"Peaks(+)"_s);
    peaks->points()->append(QPointF(1, 2));
    src.addShape(peaks);
    auto *sel = new Shape(3, u"sel"_s);
    (*sel->block())[2] = 9.0;
    src.addShape(sel);
    src.addShape(new Shape(7, u"none"_s));

    std::unique_ptr<TDDataWL> c(src.copy());
    QCOMPARE(c->metaObject(), &TDDataWL::staticMetaObject);
    QCOMPARE(c->level(), 0);
    QVERIFY(c->value(1, 1) == 2.5 && c->validCount() == 1 && c->isValid(1, 1));
    QCOMPARE(c->region(), QRect(0, 0, 3, 2));
    QCOMPARE(c->shapeCount(), 3);
    QVERIFY(c->shape(0)->name() == "Peaks(+)"_L1 && c->shape(2)->kind() == 7);
    QVERIFY(!c->shape(2)->points() && !c->shape(2)->items() && !c->shape(2)->block());
    QVERIFY(!c->shape(1)->points() && c->shape(1)->block());

    // The copies are deep: changing the source's shapes leaves the copy alone.
    src.shape(0)->points()->append(QPointF(5, 5));
    (*src.shape(1)->block())[2] = 1.0;
    QVERIFY(c->shape(0)->points()->size() == 1 && (*c->shape(1)->block())[2] == 9.0);

    // Copies of the other classes stay of their class.
    QCOMPARE(std::unique_ptr<TDData>(TDData(2, 2).copy())->metaObject(), &TDData::staticMetaObject);

    // A smoothed copy is a new record; with both half widths below one it is a plain copy.
    src.setDataId(u"row"_s);
    std::unique_ptr<TDDataWL> s(src.smoothedCopy(1, 0));
    QVERIFY(s->dataId().isEmpty() && !s->isRegionSet() && s->shapeCount() == 0);
    s.reset(src.smoothedCopy(0, -2));
    QVERIFY(s->shapeCount() == 3 && s->dataId() == "row"_L1);
}

void TestTDData::smoothedCopyMatchesDirectMeans()
{
    QRandomGenerator rng(7);
    const auto src = makeRecord(
        23, 17, QString(), [&](qsizetype) { return rng.bounded(1000) / 10.0; },
        [&](qsizetype) { return rng.bounded(5) != 0; });
    // One pass alone, both, and half widths larger than the image.
    const QList<QPair<int, int>> widths = {{1, 0}, {1, 1}, {2, 0}, {0, 3}, {5, 2}, {30, 40}};
    for (const auto &[rx, ry] : widths) {
        std::unique_ptr<TDDataWL> s(src->smoothedCopy(rx, ry));
        std::vector<double> v;
        std::vector<bool> f;
        bruteForceSmooth(*src, rx, ry, v, f);
        TDDataWL ref(23, 17);
        for (qsizetype i = 0; i < src->pixelCount(); ++i) {
            QCOMPARE(s->isValid(i), bool(f[size_t(i)]));
            QVERIFY2(std::abs(s->value(i) - v[size_t(i)]) < 1e-9,
                     qPrintable(u"(%1,%2) at %3"_s.arg(rx).arg(ry).arg(i)));
            ref.setValue(i, s->value(i), f[size_t(i)]);
        }
        QCOMPARE(stats(*s), stats(ref));
    }
}

void TestTDData::fileSafeId()
{
    TDDataWL r(1, 1);
    r.setDataId(u"A/B__C___D"_s);
    QCOMPARE(r.fileSafeId(), u"AdivB_C_D"_s);
    r.setDataId(u"x_____y/"_s);
    QCOMPARE(r.fileSafeId(), u"x_ydiv"_s);
}

QTEST_GUILESS_MAIN(TestTDData)
#include "tst_tddata.moc"
