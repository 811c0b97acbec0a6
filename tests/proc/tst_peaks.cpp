#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "proc/ComparePeaksF.h"
#include "proc/FindPeaksF.h"
#include "proc/PeakSearch.h"

#include <QRandomGenerator>

#include "../support/CliFixtures.h"

#include <QSignalSpy>
#include <QTest>

#include <limits>

namespace {

// Values from a small set so that equal maxima are common; about one pixel in five invalid.
std::unique_ptr<TDDataWL> noisy(int w, int h, quint32 seed, int level = 0)
{
    QRandomGenerator g(seed);
    auto r = std::make_unique<TDDataWL>(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            r->setValue(x, y, double(g.bounded(6)) - 2, g.bounded(5) != 0);
    r->setLevel(level);
    r->setDataId(QStringLiteral("img"));
    return r;
}

// The search as written out: rescan every pixel against every peak found so far.
QList<QPointF> bruteForce(const TDDataWL &r, const QRect &rect, double radius, int n, bool max)
{
    const double s = max ? 1.0 : -1.0;
    QList<QPointF> peaks;
    for (int k = 0; k < n; ++k) {
        double best = -1e300 * s;
        QPointF at(0, 0);
        for (int y = rect.top(); y <= rect.bottom(); ++y)
            for (int x = rect.left(); x <= rect.right(); ++x) {
                if (!r.isValid(x, y)) continue;
                bool excluded = false;
                for (const QPointF &p : peaks)
                    excluded |=
                        (p.x() - x) * (p.x() - x) + (p.y() - y) * (p.y() - y) < radius * radius;
                if (!excluded && r.value(x, y) * s > best) {
                    best = r.value(x, y) * s;
                    at = QPointF(x, y);
                }
            }
        peaks << at;
    }
    return peaks;
}

const Shape *lastShape(const TDDataWL &r)
{
    return r.shape(r.shapeCount() - 1);
}

} // namespace

class TestPeaks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findPeaksMatchesBruteForce_data();
    void findPeaksMatchesBruteForce();
    void findPeaksResult_data();
    void findPeaksResult();
    void hugeCountsAreBounded();
    void comparePeaks();
    void targetPositionsFromTheCount();
    void commandLine();
};

void TestPeaks::findPeaksMatchesBruteForce_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<double>("radius");
    QTest::addColumn<int>("n");
    QTest::addColumn<bool>("maxima");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("ties, R 2") << 23 << 17 << QRect(0, 0, 23, 17) << 2.0 << 40 << true;
    QTest::newRow("exactly R apart: integer R")
        << 40 << 33 << QRect(0, 0, 40, 33) << 5.0 << 30 << true;
    QTest::newRow("R sqrt(8)") << 40 << 33 << QRect(0, 0, 40, 33) << std::sqrt(8.0) << 60 << true;
    QTest::newRow("inclusive rectangle")
        << 70 << 45 << QRect(QPoint(3, 4), QPoint(61, 38)) << 3.5 << 80 << true;
    QTest::newRow("wider than a tile")
        << 100 << 30 << QRect(QPoint(1, 2), QPoint(99, 29)) << 1.0 << 150 << true;
    QTest::newRow("R 0 repeats") << 9 << 8 << QRect(0, 0, 9, 8) << 0.0 << 12 << true;
    QTest::newRow("R negative") << 20 << 20 << QRect(0, 0, 20, 20) << -3.0 << 20 << true;
    QTest::newRow("R NaN") << 20 << 20 << QRect(0, 0, 20, 20) << nan << 5 << true;
    QTest::newRow("R 1e300") << 20 << 20 << QRect(0, 0, 20, 20) << 1e300 << 5 << true;
    QTest::newRow("minima") << 20 << 20 << QRect(0, 0, 20, 20) << 2.0 << 5 << false;
    QTest::newRow("N 0") << 20 << 20 << QRect(0, 0, 20, 20) << 2.0 << 0 << true;
    QTest::newRow("N negative") << 20 << 20 << QRect(0, 0, 20, 20) << 2.0 << -4 << true;
}

void TestPeaks::findPeaksMatchesBruteForce()
{
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(QRect, rect);
    QFETCH(double, radius);
    QFETCH(int, n);
    QFETCH(bool, maxima);
    for (quint32 seed = 1; seed <= 3; ++seed) {
        const auto src = noisy(w, h, seed);
        const QList<QPointF> want = bruteForce(*src, rect, radius, n, maxima);
        QCOMPARE(PeakSearch::findPeaks(*src, rect, radius, n, maxima), want);
    }
}

void TestPeaks::findPeaksResult_data()
{
    QTest::addColumn<bool>("maxima");
    QTest::addColumn<bool>("onImg");
    QTest::newRow("max") << true << false;
    QTest::newRow("min") << false << false;
    QTest::newRow("max on img") << true << true;
}

void TestPeaks::findPeaksResult()
{
    QFETCH(bool, maxima);
    QFETCH(bool, onImg);
    auto src = noisy(30, 20, 7, 3);
    src->addShape(new Shape(2, QStringLiteral("items")));
    const QRect rect(QPoint(2, 3), QPoint(25, 17));
    FindPeaksF f(4.0, 6, maxima, onImg);
    QCOMPARE(f.typeCode(), 4);
    QSignalSpy spy(&f, &Filter::newFilteredData);
    f.run(src.get(), rect);
    QCOMPARE(spy.size(), 1);
    const std::unique_ptr<TDDataWL> r(spy.at(0).at(0).value<TDDataWL *>());
    const QString sign = maxima ? QStringLiteral("+") : QStringLiteral("-");
    QCOMPARE(r->dataId(), QStringLiteral("img: PKs(%1)").arg(sign));
    // With on Img the copy brings the source shape and copyShapes brings it again.
    QCOMPARE(r->shapeCount(), onImg ? 3 : 2);
    const Shape *list = lastShape(*r);
    QCOMPARE(list->kind(), 1);
    QCOMPARE(list->name(), QStringLiteral("Peaks(%1)").arg(sign));
    QCOMPARE(*list->points(), bruteForce(*src, rect, 4.0, 6, maxima));
    QCOMPARE(r->level(), onImg ? 0 : 4);
    QSet<QPoint> peaks;
    for (const QPointF &p : *list->points())
        peaks << p.toPoint();
    for (int y = 0; y < src->height(); ++y)
        for (int x = 0; x < src->width(); ++x) {
            if (onImg) {
                QCOMPARE(r->value(x, y), src->value(x, y));
                QCOMPARE(r->isValid(x, y), src->isValid(x, y));
                continue;
            }
            // Peaks carry the source value even where the source is invalid.
            const bool peak = peaks.contains(QPoint(x, y));
            const bool zeroed = rect.contains(x, y) && src->isValid(x, y);
            QCOMPARE(r->isValid(x, y), peak || zeroed);
            QCOMPARE(r->value(x, y), peak ? src->value(x, y) : 0.0);
        }
}

void TestPeaks::hugeCountsAreBounded()
{
    const auto src = noisy(300, 250, 3);
    const QRect whole(0, 0, 300, 250);
    const qsizetype bound = PeakSearch::listBound(*src, whole);
    QCOMPARE(bound, qsizetype(300 * 250));
    // Once the exclusion has eaten the image every further search is (0, 0) at no cost.
    const QList<QPointF> far = PeakSearch::findPeaks(*src, whole, 1e300, 2000000000, true);
    QCOMPARE(far.size(), bound);
    QCOMPARE(far.first(), bruteForce(*src, whole, 1e300, 1, true).first());
    QVERIFY(std::all_of(far.begin() + 1, far.end(), [](QPointF p) { return p.isNull(); }));
    const QList<QPointF> same = PeakSearch::findPeaks(*src, whole, 0.0, 2000000000, true);
    QCOMPARE(same.size(), bound);
    QCOMPARE(same.count(same.first()), bound);
    // A tiny image keeps its N points up to the floor of the bound.
    const auto tiny = noisy(2, 2, 5);
    QCOMPARE(PeakSearch::findPeaks(*tiny, QRect(0, 0, 2, 2), 0.0, 70000, true).size(),
             PeakSearch::kMinListBound);
}

void TestPeaks::comparePeaks()
{
    auto a = noisy(20, 15, 1, 2);
    auto b = noisy(30, 25, 2, 5); // larger: its peak may fall outside the result
    auto c = noisy(10, 8, 3, 9);
    b->setRegion(QRect(QPoint(21, 16), QPoint(28, 23)));
    auto s1 = noisy(12, 12, 4);
    const QList<TDDataWL *> targets = {a.get(), nullptr, b.get(), c.get()};

    ComparePeaksF f(true, false);
    QCOMPARE(f.typeCode(), 5);
    QSignalSpy spy(&f, &Filter::newFilteredData);
    f.run(targets, nullptr);
    QCOMPARE(spy.size(), 1);
    const std::unique_ptr<TDDataWL> r(spy.at(0).at(0).value<TDDataWL *>());
    QCOMPARE(r->dataId(), QStringLiteral("CPKs(+)"));
    QCOMPARE(QSize(r->width(), r->height()), QSize(20, 15));
    QCOMPARE(r->level(), 3);
    const QList<QPointF> want = {bruteForce(*a, QRect(0, 0, 20, 15), 0, 1, true).first(),
                                 QPointF(0, 0), bruteForce(*b, b->region(), 0, 1, true).first(),
                                 bruteForce(*c, QRect(0, 0, 10, 8), 0, 1, true).first()};
    QCOMPARE(*lastShape(*r)->points(), want);
    QCOMPARE(r->shapeCount(), 1);
    // Later targets overwrite earlier ones; b's peak lies outside the 20 x 15 result.
    const QPoint pb = want[2].toPoint();
    QVERIFY(pb.x() >= 20 || pb.y() >= 15);
    for (int y = 0; y < 15; ++y)
        for (int x = 0; x < 20; ++x) {
            double v = 0.0;
            if (QPoint(x, y) == want[0].toPoint()) v = a->value(x, y);
            if (QPoint(x, y) == want[3].toPoint()) v = c->value(x, y);
            QVERIFY(r->isValid(x, y));
            QCOMPARE(r->value(x, y), v);
        }

    // on Img S1: a copy of S1 with only the list added; without S1 no result.
    ComparePeaksF onImg(false, true);
    QSignalSpy onSpy(&onImg, &Filter::newFilteredData);
    onImg.run(targets, nullptr);
    onImg.run({}, s1.get());
    onImg.run({nullptr}, s1.get());
    QCOMPARE(onSpy.size(), 0);
    onImg.run(targets, s1.get());
    QCOMPARE(onSpy.size(), 1);
    const std::unique_ptr<TDDataWL> copy(onSpy.at(0).at(0).value<TDDataWL *>());
    QCOMPARE(copy->dataId(), QStringLiteral("CPKs(-)"));
    QCOMPARE(copy->width(), 12);
    QCOMPARE(copy->value(5, 7), s1->value(5, 7));
    QCOMPARE(lastShape(*copy)->points()->size(), 4);
}

void TestPeaks::targetPositionsFromTheCount()
{
    QCOMPARE(
        (QList<QList<int>>{ComparePeaksF::targetPositions({false, false, true}),
                           ComparePeaksF::targetPositions({false, false, true, false, false, true}),
                           ComparePeaksF::targetPositions({false, false})}),
        (QList<QList<int>>{{0}, {0, 1}, {}}));
}

void TestPeaks::commandLine()
{
    QTemporaryDir dir;
    const auto src = noisy(40, 30, 11);
    const QString in = dir.filePath(QStringLiteral("in.zmp"));
    const QString out = dir.filePath(QStringLiteral("out.zmp"));
    QVERIFY(src->save(in));
    CliRun r = runCli({"filter", "peaks", "--num", "4", "--radius", "6", "--rect", "2", "3", "30",
                       "25", "--time", in, "-o", out});
    QCOMPARE(r.status, 0);
    QString want;
    for (const QPointF &p : bruteForce(*src, QRect(QPoint(2, 3), QPoint(30, 25)), 6, 4, true))
        want += QStringLiteral("%1 %2 %3\n")
                    .arg(int(p.x()))
                    .arg(int(p.y()))
                    .arg(Cli::number(src->value(int(p.x()), int(p.y()))));
    QCOMPARE(r.out, want);
    TDDataWL back(1, 1);
    QVERIFY(back.load(out));
    QCOMPARE(back.dataId(), QStringLiteral("img: PKs(+)"));

    r = runCli({"filter", "compare-peaks", "--min", in, in, "-o", out});
    QCOMPARE(r.status, 0);
    QCOMPARE(r.out, QStringLiteral("0 0 %1\n0 0 %1\n").arg(Cli::number(src->value(0, 0))));
    QCOMPARE(runCli({"filter", "peaks", "--num", "abc", in, "-o", out}).status, 2);
    QCOMPARE(runCli({"filter", "peaks", in, "-o", dir.filePath("no/such/dir.zmp")}).status, 1);
}

QTEST_GUILESS_MAIN(TestPeaks)
#include "tst_peaks.moc"
