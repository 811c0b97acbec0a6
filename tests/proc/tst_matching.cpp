#include "proc/MatchingF.h"
#include "proc/MatchingRun.h"

#include "../support/CliFixtures.h"
#include "../support/WidgetFixtures.h"

#include <limits>
#include <random>
#include <tuple>

namespace {

constexpr double kPi = 3.141592653589793;

// The value at every position straight from the definition: template from the region grown by
// one column and one row, sums over valid window pixels inside the image, half-open walk.
std::unique_ptr<TDDataWL> reference(const TDDataWL &s, const QRect &rect, int mode)
{
    auto out = std::make_unique<TDDataWL>(s.width(), s.height());
    const QRect g = s.region();
    const int tw = g.width(), th = g.height();
    const auto px = [&](int x, int y, double *v) {
        if (x < 0 || y < 0 || x >= s.width() || y >= s.height() || !s.isValid(x, y)) return false;
        *v = s.value(x, y);
        return true;
    };
    std::vector<double> t(size_t(tw + 1) * (th + 1), 0.0);
    double a2 = 0.0, v = 0.0;
    for (int j = 0; j <= th; ++j)
        for (int i = 0; i <= tw; ++i)
            if (px(g.left() + i, g.top() + j, &v)) {
                t[size_t(j) * (tw + 1) + i] = v;
                a2 += v * v;
            }
    if (!(a2 > 0)) return out;
    for (int y = std::max(rect.top(), 0); y < std::min(rect.bottom(), s.height()); ++y)
        for (int x = std::max(rect.left(), 0); x < std::min(rect.right(), s.width()); ++x) {
            double ss = 0.0, st = 0.0;
            for (int j = 0; j <= th; ++j)
                for (int i = 0; i <= tw; ++i)
                    if (px(x + i, y + j, &v)) {
                        ss += v * v;
                        st += v * t[size_t(j) * (tw + 1) + i];
                    }
            if (!(ss > 0)) continue;
            double c = st / std::sqrt(ss * a2);
            if (mode == 2) c = 1.0 - std::acos(c) / kPi;
            if (c > -2.0) out->setValue(x, y, c, true);
        }
    return out;
}

struct Outcome
{
    std::unique_ptr<TDDataWL> result;
    int resultCount = 0;
    QList<int> lines;
    int maxRowsOut = 0;
};

// Runs one matching to its end; execMode 1 is Exec2, 2 is Exec5.
Outcome run(TDDataWL *source, const QRect &rect, int mode, int execMode, int threads,
            bool deleteSource = false)
{
    Outcome o;
    MatchingF f(mode, execMode, threads);
    QObject::connect(&f, &Filter::newFilteredData, [&](TDDataWL *d) {
        o.result.reset(d);
        ++o.resultCount;
    });
    QObject::connect(&f, &Filter::filteringLine, [&](int y) {
        o.lines << y;
        o.maxRowsOut = std::max(o.maxRowsOut, f.rowsOut() + 1);
    });
    QSignalSpy done(&f, &MatchingF::finished);
    if (execMode == 1) {
        f.execMatching2(source, rect);
    } else {
        f.execMatching5(source, rect);
        if (deleteSource) delete source;
        if (done.isEmpty()) done.wait(60000);
    }
    if (done.size() != 1) qFatal("the run did not end once");
    return o;
}

// Random values with a share of invalid pixels; pattern 1 adds a bright square and a hot pixel
// on a nearly dark background, where the FFT's rounding is large beside many windows' energy.
std::unique_ptr<TDDataWL> randomImage(int w, int h, double invalid, int pattern, unsigned seed)
{
    std::mt19937 g(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    auto r = std::make_unique<TDDataWL>(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            double v = u(g) - (pattern == 2 ? 0.5 : 0.0);
            if (pattern == 1)
                v = (x > w / 3 && x < w / 2 && y > h / 4 && y < h / 2) ? 1e3 * v : 1e-3 * v;
            r->setValue(x, y, v, u(g) >= invalid);
        }
    if (pattern == 1) r->setValue(w - 5, 3, 1e8, true);
    return r;
}

void compare(const TDDataWL &got, const TDDataWL &want, double tol)
{
    double worst = 0.0;
    for (qsizetype i = 0; i < want.pixelCount(); ++i) {
        QVERIFY2(got.isValid(i) == want.isValid(i), qPrintable(QString::number(i)));
        if (want.isValid(i)) worst = std::max(worst, std::fabs(got.value(i) - want.value(i)));
    }
    QVERIFY2(worst <= tol, qPrintable(QString::number(worst)));
}

} // namespace

class TestMatching : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void definingCases();
    void fastPathMatchesDirectSum_data();
    void fastPathMatchesDirectSum();
    void progressAndThreads_data();
    void progressAndThreads();
    void sourceDeletedWhileRowsAreOut();
    void commandLine();
};

void TestMatching::definingCases()
{
    // 12 x 7, all invalid but for a few pixels. The region (1, 1)-(2, 1) gives a template of
    // 3 x 2 values from (1, 1): 3 at offset (0, 0), 4 at (2, 1), 0 elsewhere; a2 = 25.
    TDDataWL s(12, 7);
    const auto put = [&](int x, int y, double v, bool valid = true) { s.setValue(x, y, v, valid); };
    put(1, 1, 3.0);
    put(3, 2, 4.0);
    put(6, 1, 2.0);  // window (5, 1): only offset (1, 0), where the template is 0
    put(5, 4, -6.0); // window (5, 4): -2 times the template
    put(7, 5, -8.0);
    put(1, 4, 0.0);        // window (1, 4): a zero ...
    put(2, 5, 7.0, false); // ... and an invalid pixel
    put(10, 3, 3.0);       // window (10, 3) overhangs the right edge: offset (0, 0) ...
    put(11, 4, 3.0);       // ... and (1, 1); reading on into the next row would find (0, 5)
    put(0, 5, 100.0);
    put(11, 1, 1.0); // would give the last column a value
    put(0, 6, 1.0);  // would give the last row a value
    s.setRegion(QRect(QPoint(1, 1), QPoint(2, 1)));
    const QRect whole(0, 0, 12, 7);
    // Mode, position, value; NaN stays invalid. The reference is pinned here, the runs to it.
    const double none = std::numeric_limits<double>::quiet_NaN();
    const std::tuple<int, QPoint, double> cases[] = {{1, {1, 1}, 1.0},
                                                     {2, {1, 1}, 1.0},
                                                     {1, {5, 1}, 0.0},
                                                     {2, {5, 1}, 0.5},
                                                     {2, {5, 4}, 0.0},
                                                     {1, {1, 4}, none},
                                                     {1, {10, 3}, 9.0 / std::sqrt(450.0)},
                                                     {1, {11, 0}, none},
                                                     {1, {0, 6}, none}};
    for (int mode : {1, 2}) {
        const auto want = reference(s, whole, mode);
        for (const auto &[m, at, expected] : cases)
            if (m == mode) {
                QCOMPARE(want->isValid(at.x(), at.y()), !std::isnan(expected));
                if (!std::isnan(expected)) QCOMPARE(want->value(at.x(), at.y()), expected);
            }
        // Exec2, then Exec5 on three threads.
        for (int execMode : {1, 2})
            compare(*run(&s, whole, mode, execMode, 3).result, *want, 0.0);
    }
}

void TestMatching::fastPathMatchesDirectSum_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<double>("invalid");
    QTest::addColumn<int>("pattern");
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("fft"); // whether the run must use the FFT
    const QRect whole(0, 0, 150, 110);
    QTest::newRow("noise") << 150 << 110 << QRect(20, 30, 12, 9) << whole << 0.1 << 0 << 1 << true;
    QTest::newRow("signed, sparse")
        << 150 << 110 << QRect(5, 5, 16, 16) << whole << 0.97 << 2 << 1 << true;
    QTest::newRow("bright square, hot pixel")
        << 150 << 110 << QRect(60, 30, 10, 10) << whole << 0.05 << 1 << 2 << true;
    QTest::newRow("region at the corner") << 150 << 110 << QRect(140, 100, 10, 10)
                                          << QRect(-20, 50, 500, 500) << 0.2 << 0 << 1 << true;
    QTest::newRow("region is the image")
        << 60 << 40 << QRect(0, 0, 60, 40) << QRect(0, 0, 60, 40) << 0.3 << 2 << 1 << true;
    // Wider and taller than one FFT tile: tiles at the edges after whole ones, several bands.
    QTest::newRow("many tiles") << 1000 << 800 << QRect(300, 200, 9, 7) << QRect(0, 0, 1000, 800)
                                << 0.1 << 1 << 2 << true;
    QTest::newRow("one pixel") << 30 << 20 << QRect(3, 4, 1, 1) << QRect(0, 0, 30, 20) << 0.1 << 0
                               << 2 << false;
    QTest::newRow("rectangle outside")
        << 30 << 20 << QRect(3, 4, 5, 5) << QRect(40, 0, 9, 9) << 0.0 << 0 << 1 << false;
}

void TestMatching::fastPathMatchesDirectSum()
{
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(QRect, region);
    QFETCH(QRect, rect);
    QFETCH(double, invalid);
    QFETCH(int, pattern);
    QFETCH(int, mode);
    QFETCH(bool, fft);
    auto s = randomImage(w, h, invalid, pattern, unsigned(w * h + pattern));
    s->setRegion(region);
    QCOMPARE(MatchingRun(*s, rect, mode).isFftBased(), fft);
    const auto want = reference(*s, rect, mode);
    const Outcome two = run(s.get(), rect, mode, 1, 1);
    const Outcome five = run(s.get(), rect, mode, 2, 4);
    compare(*two.result, *want, 1e-9);
    compare(*five.result, *two.result, 0.0);
    QCOMPARE(five.result->level(), s->level() + 1);
}

void TestMatching::progressAndThreads_data()
{
    QTest::addColumn<int>("execMode");
    QTest::addColumn<int>("threads");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<QList<int>>("lines");
    QTest::addColumn<int>("results");
    const QRect r(2, 2, 3, 3);
    QTest::newRow("Exec2") << 1 << 32 << r << QList<int>{3, 4, 5, 6} << 1;
    QTest::newRow("Exec5, one thread") << 2 << 1 << r << QList<int>{3, 4, 5, 6, -1} << 1;
    QTest::newRow("Exec5, two threads") << 2 << 2 << r << QList<int>{3, 4, 5, 6, -1} << 1;
    // A template without energy: Exec2 still emits its empty result, Exec5 nothing.
    QTest::newRow("Exec2, dark template") << 1 << 4 << QRect(10, 0, 3, 3) << QList<int>{} << 1;
    QTest::newRow("Exec5, dark template") << 2 << 4 << QRect(10, 0, 3, 3) << QList<int>{} << 0;
}

void TestMatching::progressAndThreads()
{
    QFETCH(int, execMode);
    QFETCH(int, threads);
    QFETCH(QRect, region);
    QFETCH(QList<int>, lines);
    QFETCH(int, results);
    auto s = randomImage(14, 10, 0.0, 0, 7);
    for (int y = 0; y < 4; ++y)
        for (int x = 10; x < 14; ++x)
            s->setValue(x, y, 0.0, true);
    s->setRegion(region);
    s->setDataId(QStringLiteral("S"));
    const Outcome o = run(s.get(), QRect(QPoint(1, 3), QPoint(8, 7)), 1, execMode, threads);
    QCOMPARE(o.lines, lines);
    QCOMPARE(o.resultCount, results);
    QVERIFY(o.maxRowsOut <= threads);
    if (results) {
        QCOMPARE(o.result->dataId(), QStringLiteral("S: PM"));
        QCOMPARE(o.result->validCount() > 0, !lines.isEmpty());
    }
    // Without a region nothing happens at all.
    s->regionCleared();
    const Outcome none = run(s.get(), QRect(0, 0, 14, 10), 1, execMode, threads);
    QVERIFY(none.lines.isEmpty());
    QCOMPARE(none.resultCount, 0);
}

void TestMatching::sourceDeletedWhileRowsAreOut()
{
    auto *s = randomImage(400, 300, 0.1, 0, 3).release();
    s->setRegion(QRect(100, 100, 40, 30));
    s->setDataId(QStringLiteral("gone"));
    s->addShape(new Shape(1));
    const QRect rect(0, 0, 400, 300);
    Outcome kept = run(s, rect, 2, 1, 2);
    Outcome o = run(s, rect, 2, 2, 3, true);
    QVERIFY(o.result);
    compare(*o.result, *kept.result, 0.0);
    QCOMPARE(o.result->dataId(), QStringLiteral("gone: PM"));
    QCOMPARE(o.result->shapeCount(), 1);
    QCOMPARE(o.lines.size(), 300 - 1 + 1);

    // Released with rows still out, a run stops and waits for its threads.
    auto s2 = randomImage(400, 300, 0.1, 0, 4);
    s2->setRegion(QRect(10, 10, 60, 60));
    {
        MatchingF f(1, 2, 8);
        f.execMatching5(s2.get(), rect);
        QVERIFY(f.isRunning());
    }
}

void TestMatching::commandLine()
{
    QTemporaryDir dir;
    auto s = randomImage(90, 70, 0.1, 0, 9);
    const QString in = dir.filePath(QStringLiteral("in.zmp"));
    QVERIFY(s->save(in));
    const auto cli = [&](QStringList args, const QString &file) {
        return runCli(QStringList{"filter", "match"} + args + QStringList{file, "-o", in + "o"})
            .status;
    };
    const QStringList tpl = {"--template", "10", "12", "19", "20"};
    QCOMPARE(cli(tpl + QStringList{"--arccos"}, in), 0);
    TDDataWL ra(0, 0), rb(0, 0);
    QVERIFY(ra.load(in + "o"));
    QCOMPARE(cli(tpl + QStringList{"--arccos", "--exec2"}, in), 0);
    QVERIFY(rb.load(in + "o"));
    s->setRegion(QRect(QPoint(10, 12), QPoint(19, 20)));
    compare(ra, *reference(*s, QRect(0, 0, 90, 70), 2), 1e-9);
    compare(rb, ra, 0.0);
    // Usage mistakes: no template, both paths, threads below 1; then an unreadable file.
    QCOMPARE((QList<int>{cli({}, in), cli(tpl + QStringList{"--exec2", "--threads", "2"}, in),
                         cli(tpl + QStringList{"--threads", "0"}, in), cli(tpl, in + "x")}),
             (QList<int>{2, 2, 2, 1}));
}

QTEST_MAIN(TestMatching)
#include "tst_matching.moc"
