#include "core/TDDataWL.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

namespace {

// The mean of the valid pixels within (rx, ry) of each valid pixel, computed directly.
void bruteForceSmooth(const TDData0 &src, int rx, int ry, std::vector<double> &v,
                      std::vector<bool> &valid)
{
    const int w = src.width(), h = src.height();
    // Rows first, then columns, as the separable passes do.
    std::vector<double> tv(size_t(w) * h, 0.0);
    std::vector<bool> tf(size_t(w) * h, false);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!src.isValid(x, y)) continue;
            double s = 0;
            int n = 0;
            for (int i = std::max(0, x - rx); i <= std::min(w - 1, x + rx); ++i)
                if (src.isValid(i, y)) {
                    s += src.value(i, y);
                    ++n;
                }
            tv[size_t(y) * w + x] = s / n;
            tf[size_t(y) * w + x] = true;
        }
    v.assign(size_t(w) * h, 0.0);
    valid.assign(size_t(w) * h, false);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!tf[size_t(y) * w + x]) continue;
            double s = 0;
            int n = 0;
            for (int j = std::max(0, y - ry); j <= std::min(h - 1, y + ry); ++j)
                if (tf[size_t(j) * w + x]) {
                    s += tv[size_t(j) * w + x];
                    ++n;
                }
            v[size_t(y) * w + x] = s / n;
            valid[size_t(y) * w + x] = true;
        }
}

} // namespace

class TestTDData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newRecordAndStatistics();
    void bulkWideningMatchesSetValue();
    void copyRectRelativeAndAbsolute();
    void copyKeepsClassShapesAndRegion();
    void smoothedCopyExamples();
    void smoothedCopyMatchesDirectMeans();
    void fileSafeId();
};

void TestTDData::newRecordAndStatistics()
{
    TDDataWL r(3, 2);
    QCOMPARE(r.pixelCount(), 6);
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(r.value(i), 0.0);
        QVERIFY(!r.isValid(i));
    }
    QCOMPARE(r.minWithZeros(), 0.0);
    QCOMPARE(r.maxWithZeros(), 0.0);
    QCOMPARE(r.minWithoutZeros(), 1e300);
    QCOMPARE(r.maxWithoutZeros(), -1e300);
    QCOMPARE(r.displayRange().low, 1e300);
    QCOMPARE(r.displayRange().high, -1e300);
    QVERIFY(!r.isRegionSet());
    QCOMPARE(r.region(), QRect());
    QCOMPARE(r.region().right(), -1);
    QCOMPARE(r.level(), 0);

    TDDataWL empty(0, 5);
    QCOMPARE(empty.pixelCount(), 0);
    QCOMPARE(empty.minWithZeros(), 1e300);
    QCOMPARE(empty.maxWithZeros(), -1e300);

    // Statistics only widen: overwriting the maximum leaves it in place.
    r.setValue(0, 0, -5.0, true);
    r.setValue(1, 0, 7.0, false);
    r.setValue(1, 0, 0.0, true);
    QCOMPARE(r.minWithZeros(), -5.0);
    QCOMPARE(r.maxWithZeros(), 7.0);
    QCOMPARE(r.minWithoutZeros(), -5.0);
    QCOMPARE(r.maxWithoutZeros(), 7.0);
    QCOMPARE(r.value(1, 0), 0.0);
    QVERIFY(r.isValid(1));
    QCOMPARE(r.validCount(), 2);

    // NaN widens nothing.
    r.setValue(2, 0, std::numeric_limits<double>::quiet_NaN(), true);
    QCOMPARE(r.minWithoutZeros(), -5.0);
    QCOMPARE(r.maxWithoutZeros(), 7.0);
    QVERIFY(std::isnan(r.value(2)));

    // A single non-zero value falls back to the with-zeros pair.
    TDDataWL one(2, 2);
    one.setValue(3, 3.0, true);
    QCOMPARE(one.minWithoutZeros(), 3.0);
    QCOMPARE(one.maxWithoutZeros(), 3.0);
    QCOMPARE(one.displayRange().low, 0.0);
    QCOMPARE(one.displayRange().high, 3.0);

    // Region slots.
    QSignalSpy destroyed(&r, &QObject::destroyed);
    QMetaObject::invokeMethod(&r, "setRegion", Q_ARG(QRect, QRect(1, 0, 2, 2)));
    QVERIFY(r.isRegionSet());
    QCOMPARE(r.region(), QRect(1, 0, 2, 2));
    QMetaObject::invokeMethod(&r, "regionCleared");
    QVERIFY(!r.isRegionSet());
    QCOMPARE(r.region(), QRect(1, 0, 2, 2));
    QCOMPARE(destroyed.count(), 0);
}

void TestTDData::bulkWideningMatchesSetValue()
{
    // Runs of different lengths hit both the four-lane body and the tail.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int n : {1, 3, 4, 7, 64, 1001}) {
        TDDataWL a(n, 1), b(n, 1);
        QRandomGenerator rng(n);
        std::vector<double> v(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) {
            const int pick = rng.bounded(10);
            v[size_t(i)] = pick == 0 ? 0.0 : pick == 1 ? nan : rng.generateDouble() * 200 - 100;
        }
        for (int i = 0; i < n; ++i)
            a.setValue(i, v[size_t(i)], true);
        std::copy(v.begin(), v.end(), b.values());
        b.widenStatistics(b.values(), n);
        QCOMPARE(b.minWithZeros(), a.minWithZeros());
        QCOMPARE(b.maxWithZeros(), a.maxWithZeros());
        QCOMPARE(b.minWithoutZeros(), a.minWithoutZeros());
        QCOMPARE(b.maxWithoutZeros(), a.maxWithoutZeros());
    }
}

void TestTDData::copyRectRelativeAndAbsolute()
{
    TDDataWL src(4, 3);
    src.setDataId(QStringLiteral("src"));
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            src.setValue(x, y, 10 * y + x + 1, (x + y) % 2 == 0);

    TDDataWL rel(2, 2);
    src.copyRect(&rel, 2, 1, 3, 2, true);
    QCOMPARE(rel.value(0), 13.0); // source (2, 1)
    QCOMPARE(rel.value(3), 24.0); // source (3, 2)
    QVERIFY(!rel.isValid(0));     // flags travel with the values
    QVERIFY(rel.isValid(1));
    QCOMPARE(rel.dataId(), QStringLiteral("src"));
    QVERIFY(rel.isRegionSet());
    QCOMPARE(rel.region(), QRect(0, 0, 4, 3)); // the source's full size
    QCOMPARE(rel.minWithoutZeros(), 13.0);
    QCOMPARE(rel.maxWithoutZeros(), 24.0);

    src.setRegion(QRect(1, 1, 2, 1));
    TDDataWL abs(4, 3);
    src.copyRect(&abs, QRect(QPoint(1, 1), QPoint(2, 2)), false);
    QCOMPARE(abs.value(1, 1), 12.0);
    QCOMPARE(abs.value(2, 2), 23.0);
    QCOMPARE(abs.value(0, 0), 0.0);
    QCOMPARE(abs.value(3, 2), 0.0);
    QCOMPARE(abs.region(), QRect(1, 1, 2, 1));
}

void TestTDData::copyKeepsClassShapesAndRegion()
{
    TDDataWL src(3, 2);
    src.setLevel(4);
    src.setValue(1, 1, 2.5, true);
    auto *peaks = new Shape(1, QStringLiteral("Peaks(+)"));
    peaks->points()->append(QPointF(1, 2));
    src.addShape(peaks);
    auto *sel = new Shape(3, QStringLiteral("sel"));
    (*sel->block())[2] = 9.0;
    src.addShape(sel);
    src.addShape(new Shape(7, QStringLiteral("none")));

    std::unique_ptr<TDDataWL> c(src.copy());
    QCOMPARE(c->metaObject(), &TDDataWL::staticMetaObject);
    QCOMPARE(c->level(), 0);
    QCOMPARE(c->value(1, 1), 2.5);
    QVERIFY(c->isValid(1, 1));
    QVERIFY(!c->isValid(0, 0));
    QVERIFY(c->isRegionSet());
    QCOMPARE(c->region(), QRect(0, 0, 3, 2));
    QCOMPARE(c->shapeCount(), 3);
    QCOMPARE(c->shape(0)->name(), QStringLiteral("Peaks(+)"));
    QCOMPARE(c->shape(2)->kind(), 7);
    QVERIFY(!c->shape(2)->points() && !c->shape(2)->items() && !c->shape(2)->block());
    QVERIFY(!c->shape(1)->points() && c->shape(1)->block());

    // The copies are deep: changing the source's shapes leaves the copy alone.
    src.shape(0)->points()->append(QPointF(5, 5));
    (*src.shape(1)->block())[2] = 1.0;
    QCOMPARE(c->shape(0)->points()->size(), 1);
    QCOMPARE((*c->shape(1)->block())[2], 9.0);

    // Copies of the other classes stay of their class.
    TDData plain(2, 2);
    std::unique_ptr<TDData> pc(plain.copy());
    QCOMPARE(pc->metaObject(), &TDData::staticMetaObject);
}

void TestTDData::smoothedCopyExamples()
{
    TDDataWL row(3, 1);
    row.setDataId(QStringLiteral("row"));
    row.setRegion(QRect(0, 0, 1, 1));
    row.addShape(new Shape(1));
    for (int i = 0; i < 3; ++i)
        row.setValue(i, double(i + 1), true);
    std::unique_ptr<TDDataWL> s(row.smoothedCopy(1, 0));
    QCOMPARE(s->value(0), 1.5);
    QCOMPARE(s->value(1), 2.0);
    QCOMPARE(s->value(2), 2.5);
    QVERIFY(s->dataId().isEmpty());
    QVERIFY(!s->isRegionSet());
    QCOMPARE(s->shapeCount(), 0);
    QCOMPARE(s->minWithoutZeros(), 1.5);
    QCOMPARE(s->maxWithoutZeros(), 2.5);

    row.setValue(1, 2.0, false);
    s.reset(row.smoothedCopy(1, 0));
    QCOMPARE(s->value(0), 1.0);
    QCOMPARE(s->value(1), 0.0);
    QVERIFY(!s->isValid(1));
    QCOMPARE(s->value(2), 3.0);

    // Both half-widths below one: a plain copy, shapes and all.
    s.reset(row.smoothedCopy(0, -2));
    QCOMPARE(s->shapeCount(), 1);
    QCOMPARE(s->dataId(), QStringLiteral("row"));

    // A column pass alone.
    TDDataWL col(1, 3);
    for (int i = 0; i < 3; ++i)
        col.setValue(i, double(i + 1), true);
    s.reset(col.smoothedCopy(0, 1));
    QCOMPARE(s->value(0), 1.5);
    QCOMPARE(s->value(2), 2.5);
}

void TestTDData::smoothedCopyMatchesDirectMeans()
{
    TDDataWL src(23, 17);
    QRandomGenerator rng(7);
    for (qsizetype i = 0; i < src.pixelCount(); ++i)
        src.setValue(i, rng.bounded(1000) / 10.0, rng.bounded(5) != 0);
    // Small, large and larger-than-image half widths.
    const QList<QPair<int, int>> widths = {{1, 1}, {2, 0}, {0, 3}, {5, 2}, {30, 40}};
    for (const auto &[rx, ry] : widths) {
        std::unique_ptr<TDDataWL> s(src.smoothedCopy(rx, ry));
        std::vector<double> v;
        std::vector<bool> f;
        bruteForceSmooth(src, rx, ry, v, f);
        for (qsizetype i = 0; i < src.pixelCount(); ++i) {
            QCOMPARE(s->isValid(i), bool(f[size_t(i)]));
            QVERIFY2(std::abs(s->value(i) - v[size_t(i)]) < 1e-9,
                     qPrintable(QStringLiteral("(%1,%2) at %3").arg(rx).arg(ry).arg(i)));
        }
    }
}

void TestTDData::fileSafeId()
{
    TDDataWL r(1, 1);
    r.setDataId(QStringLiteral("A/B__C___D"));
    QCOMPARE(r.fileSafeId(), QStringLiteral("AdivB_C_D"));
    r.setDataId(QStringLiteral("x_____y/"));
    QCOMPARE(r.fileSafeId(), QStringLiteral("x_ydiv"));
}

QTEST_GUILESS_MAIN(TestTDData)
#include "tst_tddata.moc"
