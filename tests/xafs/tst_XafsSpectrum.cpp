#include "xafs/XafsSpectrum.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QPointF>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>

namespace {

const double kPi = 3.14159265358979323846;

// Absorption edge shaped as an arctangent on a sloping background.
Spectrum arctanEdge(double centre, double width, double jump, double from, double to, double step)
{
    Spectrum s;
    for (double e = from; e <= to + 1e-9; e += step)
        s.append(e, 0.2 + 1e-4 * (e - from) + jump * (0.5 + std::atan((e - centre) / width) / kPi));
    return s;
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &content)
{
    const QString path = dir.filePath(name);
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly)) return QString();
    f.write(content);
    return path;
}

bool near(double a, double b, double tolerance)
{
    return std::fabs(a - b) <= tolerance;
}

double meanOver(const Spectrum &s, double from, double to)
{
    double sum = 0.0;
    int n = 0;
    for (int i = 0; i < s.size(); ++i) {
        if (s.x(i) >= from && s.x(i) <= to) {
            sum += s.y(i);
            ++n;
        }
    }
    return n > 0 ? sum / n : std::numeric_limits<double>::quiet_NaN();
}

} // namespace

class TestXafsSpectrum : public QObject
{
    Q_OBJECT

private slots:
    void defaultsAndEdgeParameters();
    void twoColumnFormat();
    void counterFormat();
    void badFilesNeverCrash();
    void levelCrossingFindsArctanCentre();
    void orderingGuardWidensInversion();
    void restrictedEdgeValidation();
    void steepestStepTiesAndFallback();
    void realSpectraNormalise_data();
    void realSpectraNormalise();
    void exchangeFileLines();
    void correlationAndNanMessage();
};

void TestXafsSpectrum::defaultsAndEdgeParameters()
{
    XafsSpectrum s;
    QCOMPARE(s.preEnd(), -10.0);
    QCOMPARE(s.postStart(), 10.0);
    // The search bounds replace the fit margins only while the edge is restricted.
    XafsSpectrum::EdgeParameters p;
    p.searchLow = -7.0;
    p.searchHigh = 12.0;
    for (const bool restrict : {true, false}) {
        p.restrictEdge = restrict;
        s.setEdgeParameters(p);
        QCOMPARE(s.preEnd(), restrict ? -7.0 : -10.0);
        QCOMPARE(s.postStart(), restrict ? 12.0 : 10.0);
    }

    // Normalising nothing changes nothing.
    s.normalize(0);
    QCOMPARE(s.e0(), 0.0);
    QVERIFY(s.normalized().isEmpty());
}

void TestXafsSpectrum::twoColumnFormat()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = writeFile(dir, QStringLiteral("two.dat"),
                                   "# header line\n"
                                   "  #also a comment 1 2\n"
                                   "\n"
                                   "8000.5   1.25  extra fields\n"
                                   "lonely\n"
                                   "8001\tabc\n"
                                   ".8002E+04 -0.5E-01\r\n");
    XafsSpectrum s;
    QTest::ignoreMessage(QtDebugMsg, qPrintable("loading in xafs spectrum " + path));
    QTest::ignoreMessage(QtDebugMsg, "mute");
    QVERIFY(s.load(path));
    QVERIFY(s.isLoaded());
    QCOMPARE(s.size(), 3);
    QCOMPARE(QPointF(s.x(0), s.y(0)), QPointF(8000.5, 1.25));
    QCOMPARE(s.y(1), 0.0); // unreadable number reads as 0
    QCOMPARE(QPointF(s.x(2), s.y(2)), QPointF(8002.0, -0.05));
    QVERIFY(s.i0Spectrum().isEmpty());

    // Only comments: refused, and a failed load says so.
    const QString comments = writeFile(dir, QStringLiteral("c.dat"), "# a\n#b c\n");
    QVERIFY(!s.load(comments));
    QVERIFY(!s.isLoaded());
    QVERIFY(s.isEmpty());

    // One data line: loads and normalises without fits.
    const QString one = writeFile(dir, QStringLiteral("one.dat"), "9000 2\n");
    QVERIFY(s.loadAndNormalize(one));
    QCOMPARE(s.size(), 1);
    QVERIFY(!s.preLine().isValid() && !s.postLine().isValid());
    QCOMPARE(s.normalized().size(), 1);

    // A missing file is read as two-column: the points are cleared and the load fails.
    QTest::ignoreMessage(QtDebugMsg, "mute");
    QVERIFY(!s.load(dir.filePath(QStringLiteral("missing.dat"))));
    QVERIFY(!s.isLoaded());
    QVERIFY(s.isEmpty());
}

void TestXafsSpectrum::counterFormat()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    // Angles chosen on the default and a changed crystal spacing.
    const QByteArray body = "9809   KEK-PF   BL-9C\n"
                            "sample cu  D= 3.0 Angle(c)\n"
                            "Mode Offset\n"
                            "Offset 0 0 0\n"
                            "1 20.0 0 1000 500\n"
                            "2 19.5 0 1000 0\n"
                            "3 19.0 D= 5.0\n"
                            "4 18.5 0 -4 -2 extra\n";
    const QString path = writeFile(dir, QStringLiteral("counter.dat"), body);
    XafsSpectrum s;
    QTest::ignoreMessage(QtDebugMsg, "9809");
    QVERIFY(s.load(path));
    QCOMPARE(s.size(), 3);
    const double hc = XafsConstants::hc;
    const double e20 = hc / (2.0 * 3.0 * std::sin(20.0 * kPi / 180.0));
    QVERIFY(near(s.x(0), e20, 1e-9));
    QCOMPARE(s.y(0), std::log(2.0));
    QCOMPARE(s.y(1), 1.0);           // I0 * I = 0
    QCOMPARE(s.y(2), std::log(2.0)); // both negative: product positive
    // "D=" after the Offset line is data, not header.
    QVERIFY(near(s.x(2), hc / (2.0 * 3.0 * std::sin(18.5 * kPi / 180.0)), 1e-9));
    QCOMPARE(s.i0Spectrum().size(), 3);
    QCOMPARE(s.i0Spectrum().y(0), 1000.0);
    QCOMPARE(s.i1Spectrum().y(2), -2.0);
    QCOMPARE(s.i1Spectrum().x(1), s.x(1));

    // Without "D=" the counter spacing 3.13553 applies; no data still loads.
    const QString plain =
        writeFile(dir, QStringLiteral("plain.dat"), "9809x\nOffset\n7 30.0 0 10 10\n");
    QVERIFY(s.load(plain));
    QCOMPARE(s.size(), 1);
    QVERIFY(near(s.x(0), hc / (2.0 * 3.13553 * 0.5), 1e-6));
    QCOMPARE(s.y(0), 0.0);
    const QString headerOnly = writeFile(dir, QStringLiteral("h.dat"), "9809\nD= 2\n");
    QVERIFY(s.load(headerOnly));
    QVERIFY(s.isEmpty());
    QVERIFY(s.i0Spectrum().isEmpty());

    // Four characters decide: " 98 09" is not the counter format.
    const QString notCounter = writeFile(dir, QStringLiteral("n.dat"), "98 09\n1 2\n");
    QTest::ignoreMessage(QtDebugMsg, "mute");
    QVERIFY(s.load(notCounter));
    QCOMPARE(s.size(), 2);
}

void TestXafsSpectrum::badFilesNeverCrash()
{
    const QByteArray inputs[] = {
        "",
        "\n\n\n",
        "9809",
        "9809\nOffset\n1 0 0 1 1\n1 0 0 1 1\n",      // theta 0: infinite energy
        "1 nan\n2 inf\n3 -inf\n4 1e308\n5 -1e308\n", // non-finite values
        "5 1\n4 2\n3 3\n2 4\n1 5\n",                 // descending energies
        "1 1\n1 2\n1 3\n1 4\n1 5\n1 6\n",            // all energies equal
        "1 0\n2 0\n3 0\n4 0\n5 0\n6 0\n",            // flat zero
        "1e-300 1\n2e-300 2\n0 3\n-1 4\n",           // zero and negative energies
    };
    for (const QByteArray &in : inputs) {
        for (uint32_t kind : {0u, 1u}) {
            QBuffer buffer;
            buffer.setData(in);
            QVERIFY(buffer.open(QIODevice::ReadOnly));
            XafsSpectrum s;
            const bool ok = s.read(buffer);
            QCOMPARE(ok, !in.isEmpty() && in != "\n\n\n");
            s.normalize(kind);
            QCOMPARE(s.normalized().size(), s.size());
            QCOMPARE(s.doubleNormalized().size(), s.size());
        }
    }
}

void TestXafsSpectrum::levelCrossingFindsArctanCentre()
{
    for (double centre : {8980.3, 8981.0, 8979.75}) {
        XafsSpectrum s(arctanEdge(centre, 1.0, 1.5, centre - 200.0, centre + 200.0, 0.5),
                       QStringLiteral("arctan"), 1, 0.0, XafsSpectrum::EdgeParameters());
        QVERIFY(near(s.e0(), centre, 0.05));
        // The lines follow the slow arctangent tails, so the jump comes out a little short.
        QVERIFY(near(s.jump(), 1.5, 0.05));
        QCOMPARE(s.levelCrossing(0.5), s.e0());
    }
}

void TestXafsSpectrum::orderingGuardWidensInversion()
{
    // A falling spectrum with one small rise near 100: the post-edge line lies below.
    Spectrum points;
    for (int i = 0; i < 200; ++i) {
        double y = i < 100 ? 2.0 - 0.001 * i : 0.5 + 0.002 * i;
        if (i == 101) y += 3.0;
        points.append(i, y);
    }
    XafsSpectrum s(points, QStringLiteral("inverted"), 1, 0.0, XafsSpectrum::EdgeParameters());
    const double e0 = s.preLine().to() - s.preEnd();
    QVERIFY(e0 > 95.0 && e0 < 105.0);
    QCOMPARE(s.postLine().from(), e0 + s.postStart());
    // The same fits without the guard.
    VictLine pre, post;
    QVERIFY(pre.fit(s, s.x(0), e0 + s.preEnd(), 1));
    QVERIFY(post.fit(s, e0 + s.postStart(), s.x(s.size() - 1), 1));
    const double d = post.plainValue(e0) - pre.plainValue(e0);
    QVERIFY(d < -0.5);
    QVERIFY(near(s.preLine().a0(), pre.a0() + 0.55 * std::fabs(d), 1e-12));
    QVERIFY(near(s.postLine().a0(), post.a0() - 0.55 * std::fabs(d), 1e-12));
    QVERIFY(
        near(s.postLine().plainValue(e0) - s.preLine().plainValue(e0), -2.1 * std::fabs(d), 1e-12));
    QCOMPARE(s.normalized().size(), 200);
}

void TestXafsSpectrum::restrictedEdgeValidation()
{
    const Spectrum edge = arctanEdge(8980.0, 1.0, 1.5, 8780.0, 9180.0, 1.0);
    XafsSpectrum::EdgeParameters p;
    p.restrictEdge = true;
    XafsSpectrum good(edge, QStringLiteral("good"), 1, 0.0, p);
    QVERIFY(!good.edgeOutOfRange() && !good.jumpTooSmall());
    QVERIFY(near(good.e0(), 8980.0, 0.1));
    QVERIFY(good.jump() > 1.0);
    // The fit ranges end at the search bounds around the first estimate.
    QVERIFY(near(good.postLine().from() - good.preLine().to(), 40.0, 1e-9));

    // A flat stretch in the search window: no rising step, so the first point
    // of the whole spectrum is taken, which is out of range.
    Spectrum step;
    for (int i = 0; i <= 400; ++i)
        step.append(8780.0 + i, i < 200 ? 0.0 : 1.0);
    p.nominalE0 = 9100.0;
    XafsSpectrum flat(step, QStringLiteral("flat"), 1, 0.0, p);
    QCOMPARE(flat.preLine().to(), 8780.0 + p.searchLow);
    QVERIFY(flat.edgeOutOfRange());
    QCOMPARE(flat.e0(), 9100.0);
    QCOMPARE(flat.jump(), 0.0);

    // A jump smaller than the noise of both lines.
    Spectrum noisy;
    for (int i = 0; i <= 400; ++i)
        noisy.append(8780.0 + i, (i % 2 ? 0.05 : -0.05) + (i > 200 ? 0.01 : 0.0));
    p.nominalE0 = 8980.0;
    XafsSpectrum weak(noisy, QStringLiteral("weak"), 1, 0.0, p);
    QVERIFY(weak.jumpTooSmall());
    QCOMPARE(weak.e0(), 8980.0);
    QCOMPARE(weak.jump(), 0.0);
    // The derived spectra keep the values found before the reset.
    QCOMPARE(weak.normalized().size(), noisy.size());
    for (int i = 0; i < weak.normalized().size(); ++i)
        QVERIFY(std::isfinite(weak.normalized().y(i)));
}

void TestXafsSpectrum::steepestStepTiesAndFallback()
{
    // Two equal rises (multiples of 5 keep the moving average exact): the lower one wins.
    Spectrum twoSteps;
    for (int i = 0; i < 200; ++i)
        twoSteps.append(i, i < 50 ? 0.0 : (i < 150 ? 5.0 : 10.0));
    XafsSpectrum s(twoSteps, QStringLiteral("two"), 1, 0.0, XafsSpectrum::EdgeParameters());
    QCOMPARE(s.preLine().to(), 47.0 + s.preEnd());

    // No rise at all: index 0.
    Spectrum falling;
    for (int i = 0; i < 50; ++i)
        falling.append(100.0 + i, -i);
    XafsSpectrum f(falling, QStringLiteral("falling"), 0, 0.0, XafsSpectrum::EdgeParameters());
    QCOMPARE(f.preLine().to(), 100.0 + f.preEnd());
    QCOMPARE(f.postLine().from(), 100.0 + f.postStart());
}

void TestXafsSpectrum::realSpectraNormalise_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    QTest::addColumn<uint>("kind");
    const char *const cu[] = {"cu_foil_10k", "cu_foil_rt", "cu_foil_herfd", "cu_cu2o_herfd",
                              "cu_cuo_herfd"};
    const char *const fe[] = {"fe2o3_rt", "feo_rt", "fe3c_rt"};
    for (uint kind : {0u, 1u}) {
        for (const char *name : cu)
            QTest::addRow("%s/%u", name, kind)
                << QString::fromLatin1(name) << 8975.0 << 8995.0 << kind;
        for (const char *name : fe)
            QTest::addRow("%s/%u", name, kind)
                << QString::fromLatin1(name) << 7105.0 << 7130.0 << kind;
    }
}

void TestXafsSpectrum::realSpectraNormalise()
{
    QFETCH(QString, file);
    QFETCH(double, low);
    QFETCH(double, high);
    QFETCH(uint, kind);
    XafsSpectrum s;
    QVERIFY(s.load(QStringLiteral(ZELMAP_TESTDATA "/xafs/%1.dat").arg(file)));
    QVERIFY(s.size() > 300);
    s.normalize(kind);
    QVERIFY2(s.e0() > low && s.e0() < high, qPrintable(QString::number(s.e0())));
    QVERIFY(s.jump() > 0.0);
    QVERIFY(s.preLine().isValid() && s.postLine().isValid());
    // About 0 below and about 1 above the edge.
    QVERIFY(std::fabs(meanOver(s.doubleNormalized(), s.x(0), s.e0() - 30.0)) < 0.01);
    QVERIFY(std::fabs(meanOver(s.doubleNormalized(), s.e0() + 50.0, 1e9) - 1.0) < 0.03);
    QVERIFY(std::fabs(meanOver(s.normalized(), s.e0() - 30.0, s.e0() - 15.0)) < 0.06);
    QVERIFY(std::fabs(meanOver(s.normalized(), s.e0() + 50.0, 1e9) - 1.0) < 0.02);
    QVERIFY(std::fabs(meanOver(s.normalizedPostBase(), s.e0() + 50.0, 1e9)) < 0.02);
    // The edge is where the measured absorption is about half way up.
    QVERIFY(std::fabs(s.doubleNormalized().interpolate(s.e0()) - 0.5) < 0.25);
}

void TestXafsSpectrum::exchangeFileLines()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const Spectrum edge = arctanEdge(7112.0, 2.0, 1.0, 7000.0, 7300.0, 5.0);
    XafsSpectrum s(edge, QStringLiteral("ex"), 1, 3.0, XafsSpectrum::EdgeParameters());
    const QString path = dir.filePath(QStringLiteral("ex.txt"));
    QVERIFY(s.save(path, true));
    QFile f(path);
    const auto readLines = [&f] {
        f.close();
        return f.open(QIODevice::ReadOnly | QIODevice::Text)
                   ? QString::fromUtf8(f.readAll()).split(QLatin1Char('\n'))
                   : QStringList();
    };
    const QStringList lines = readLines();
    QCOMPARE(lines.size(), 7 + s.size() + 1);
    QCOMPARE(lines.last(), QString());
    const auto g = [](double v) { return QString::number(v, 'g', 6); };
    const auto params = [&g](const VictLine &l) {
        return g(l.a0()) + ' ' + g(l.slope()) + ' ' + g(l.a1()) + ' ' + g(l.a2());
    };
    QCOMPARE(lines[0], QStringLiteral("###Quillon::XafsSpectrum"));
    QCOMPARE(lines[1], QStringLiteral("# midx    : ") + g(s.e0()));
    QCOMPARE(lines[2], QStringLiteral("# dMut    : ") + g(s.jump()));
    QCOMPARE(lines[3], QStringLiteral("# pre   vic : ") + params(s.preLine()));
    QCOMPARE(lines[4], QStringLiteral("# poste vic : ") + params(s.postLine()));
    QCOMPARE(lines[5], QStringLiteral("#"));
    QCOMPARE(lines[6], QStringLiteral("# x  double-normalized-pre-base y pre post"));
    for (int i = 0; i < s.size(); ++i) {
        const QStringList fields = lines[7 + i].split(QLatin1Char('\t'));
        QCOMPARE(fields.size(), 5);
        const double e = s.x(i);
        QCOMPARE(fields[0], g(e - 3.0));
        QCOMPARE(fields[1], g(s.doubleNormalized().y(i)));
        QCOMPARE(fields[2], g(s.y(i)));
        QCOMPARE(fields[3], g(s.pre(e)));
        QCOMPARE(fields[4], g(s.post(e)));
    }

    // Without the shift the energies are written as they are read.
    QVERIFY(s.save(path, false));
    const QStringList again = readLines();
    QVERIFY(again.size() > 7);
    QCOMPARE(again[7].section(QLatin1Char('\t'), 0, 0), g(s.x(0)));

    // An unwritable place is skipped and leaves no file.
    const QString bad = dir.filePath(QStringLiteral("no/such/dir/ex.txt"));
    QVERIFY(!s.save(bad, false));
    QVERIFY(!QFile::exists(bad));
}

void TestXafsSpectrum::correlationAndNanMessage()
{
    const Spectrum edge = arctanEdge(7112.0, 2.0, 1.0, 7000.0, 7300.0, 2.0);
    const XafsSpectrum a(edge, QStringLiteral("a"), 1, 0.0, XafsSpectrum::EdgeParameters());
    QVERIFY(near(a.correlation(a, 0.0), 1.0, 1e-12));

    // A differently shaped edge correlates less, and shifting it back helps.
    const XafsSpectrum wide(arctanEdge(7112.0, 8.0, 1.0, 7000.0, 7300.0, 2.0),
                            QStringLiteral("wide"), 1, 0.0, XafsSpectrum::EdgeParameters());
    const double c = a.correlation(wide, 0.0);
    QVERIFY(c < 1.0 - 1e-6);
    QVERIFY(c > 0.5);
    const XafsSpectrum moved(arctanEdge(7122.0, 2.0, 1.0, 7010.0, 7310.0, 2.0),
                             QStringLiteral("moved"), 1, 0.0, XafsSpectrum::EdgeParameters());
    QVERIFY(a.correlation(moved, 10.0) > a.correlation(moved, 0.0));
    QVERIFY(near(a.correlation(moved, 10.0), 1.0, 1e-3));

    // Nothing in common, or nothing at all: 0.
    QCOMPARE(a.correlation(moved, 1e4), 0.0);
    QCOMPARE(a.correlation(XafsSpectrum(), 0.0), 0.0);

    QTest::ignoreMessage(QtDebugMsg, "nan EeV in XafsSpectrum::doubleNormalizedPreBase");
    a.doubleNormalizedPreBase(std::numeric_limits<double>::quiet_NaN());
    QVERIFY(near(a.doubleNormalizedPreBase(a.x(3)), a.doubleNormalized().y(3), 0.0));
}

QTEST_GUILESS_MAIN(TestXafsSpectrum)
#include "tst_XafsSpectrum.moc"
