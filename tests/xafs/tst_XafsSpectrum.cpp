#include "tests/support/CliFixtures.h"
#include "tests/support/SpectrumFixtures.h"

#include "xafs/XafsSpectrum.h"

#include <QBuffer>
#include <QTest>

#include <limits>

namespace {

double meanOver(const Spectrum &s, double from, double to)
{
    double sum = 0.0;
    int n = 0;
    for (int i = 0; i < s.size(); ++i)
        if (s.x(i) >= from && s.x(i) <= to) sum += s.y(i), ++n;
    return n > 0 ? sum / n : std::numeric_limits<double>::quiet_NaN();
}

// The energy of a counter-file angle on crystal spacing d.
double braggEnergy(double degrees, double d)
{
    return XafsConstants::hc / (2.0 * d * std::sin(degrees * M_PI / 180.0));
}

const QByteArray kCounter = "9809   KEK-PF   BL-9C\nsample cu  D= 3.0 Angle(c)\nMode Offset\n"
                            "Offset 0 0 0\n1 20.0 0 1000 500\n2 19.5 0 1000 0\n3 19.0 D= 5.0\n"
                            "4 18.5 0 -4 -2 extra\n";

} // namespace

class TestXafsSpectrum : public QObject
{
    Q_OBJECT

private slots:
    void edgeParametersReplaceMargins()
    {
        // The search bounds replace the fit margins only while the edge is restricted.
        XafsSpectrum s;
        XafsSpectrum::EdgeParameters p;
        p.searchLow = -7.0;
        p.searchHigh = 12.0;
        for (const bool restrict : {true, false}) {
            p.restrictEdge = restrict;
            s.setEdgeParameters(p);
            QCOMPARE(s.preEnd(), restrict ? -7.0 : -10.0);
            QCOMPARE(s.postStart(), restrict ? 12.0 : 10.0);
        }
    }

    void reads_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("size"); // -1: refused; -2: read, points not checked
        QTest::addColumn<QList<double>>("xs");
        QTest::addColumn<QList<double>>("ys");
        QTest::addColumn<QList<double>>("i0"); // counter files: I0 and I of every point
        QTest::addColumn<QList<double>>("i1");
        using L = QList<double>;
        QTest::newRow("two columns")
            << QByteArray("# header line\n  #also a comment 1 2\n\n"
                          "8000.5   1.25  extra fields\nlonely\n"
                          "8001\tabc\n.8002E+04 -0.5E-01\r\n")
            << 3 << L{8000.5, 8001, 8002} << L{1.25, 0, -0.05} << L{} << L{};
        QTest::newRow("comments only")
            << QByteArray("# a\n#b c\n") << -1 << L{} << L{} << L{} << L{};
        QTest::newRow("one line") << QByteArray("9000 2\n") << 1 << L{9000} << L{2} << L{} << L{};
        // "D=" after the Offset line is data, not header; I0 * I = 0 gives 1, both negative log 2.
        QTest::newRow("counter") << kCounter << 3
                                 << L{braggEnergy(20, 3), braggEnergy(19.5, 3),
                                      braggEnergy(18.5, 3)}
                                 << L{std::log(2.0), 1, std::log(2.0)} << L{1000, 1000, -4}
                                 << L{500, 0, -2};
        QTest::newRow("counter, default spacing")
            << QByteArray("9809x\nOffset\n7 30.0 0 10 10\n") << 1 << L{braggEnergy(30, 3.13553)}
            << L{0} << L{10} << L{10};
        QTest::newRow("counter, header only")
            << QByteArray("9809\nD= 2\n") << 0 << L{} << L{} << L{} << L{};
        // Four characters decide: " 98 09" is not the counter format.
        QTest::newRow("not counter")
            << QByteArray("98 09\n1 2\n") << 2 << L{98, 1} << L{9, 2} << L{} << L{};
        // Hostile content: read or refused, never a crash, and normalisable either way.
        QTest::newRow("empty") << QByteArray() << -1 << L{} << L{} << L{} << L{};
        QTest::newRow("blank lines") << QByteArray("\n\n\n") << -1 << L{} << L{} << L{} << L{};
        QTest::newRow("counter, nothing") << QByteArray("9809") << 0 << L{} << L{} << L{} << L{};
        const char *const hostile[] = {
            "9809\nOffset\n1 0 0 1 1\n1 0 0 1 1\n",      // theta 0: infinite energy
            "1 nan\n2 inf\n3 -inf\n4 1e308\n5 -1e308\n", // non-finite values
            "5 1\n4 2\n3 3\n2 4\n1 5\n",                 // descending energies
            "1 1\n1 2\n1 3\n1 4\n1 5\n1 6\n",            // all energies equal
            "1 0\n2 0\n3 0\n4 0\n5 0\n6 0\n",            // flat zero
            "1e-300 1\n2e-300 2\n0 3\n-1 4\n",           // zero and negative energies
        };
        for (const char *h : hostile)
            QTest::newRow(h) << QByteArray(h) << -2 << L{} << L{} << L{} << L{};
    }

    void reads()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, size);
        QFETCH(QList<double>, xs);
        QFETCH(QList<double>, ys);
        QFETCH(QList<double>, i0);
        QFETCH(QList<double>, i1);
        // Read over a counter file already there: nothing of it may survive, nor its spacing.
        XafsSpectrum s;
        QBuffer old;
        old.setData(kCounter);
        QVERIFY(old.open(QIODevice::ReadOnly) && s.read(old) && s.i0Spectrum().size() == 3);
        QBuffer buffer(&content);
        QVERIFY(buffer.open(QIODevice::ReadOnly | QIODevice::Text));
        // The format read is logged; a two-column read clears the points only.
        const char *format = content.simplified().startsWith("9809") ? "9809" : "mute";
        QTest::ignoreMessage(QtDebugMsg, format);
        QCOMPARE(s.read(buffer), size != -1);
        QCOMPARE(s.isLoaded(), size != -1);
        if (size >= -1) QCOMPARE(s.size(), std::max(size, 0));
        for (int i = 0; i < xs.size(); ++i) {
            QVERIFY2(near(s.x(i), xs[i], 1e-6) && s.y(i) == ys[i], qPrintable(QString::number(i)));
            if (i0.isEmpty()) continue;
            QCOMPARE(s.i0Spectrum().y(i), i0[i]);
            QCOMPARE(s.i1Spectrum().y(i), i1[i]);
            QCOMPARE(s.i1Spectrum().x(i), s.x(i));
        }
        if (size >= 0 && format[0] == '9') QCOMPARE(s.i0Spectrum().size(), i0.size());
        XafsSpectrum fresh;
        QVERIFY(buffer.seek(0));
        fresh.read(buffer);
        for (uint32_t kind : {0u, 1u}) {
            fresh.normalize(kind);
            QVERIFY(fresh.normalized().size() == fresh.size() &&
                    fresh.doubleNormalized().size() == fresh.size());
        }
    }

    void failedLoadClears()
    {
        QTemporaryDir dir;
        // One data line: loads and normalises without fits.
        XafsSpectrum s;
        QVERIFY(s.loadAndNormalize(writeFile(dir, "one.dat", "9000 2\n")));
        QVERIFY(!s.preLine().isValid() && !s.postLine().isValid());
        QCOMPARE(s.normalized().size(), 1);
        const QString missing = dir.filePath("missing.dat");
        QTest::ignoreMessage(QtDebugMsg, qPrintable("loading in xafs spectrum " + missing));
        QTest::ignoreMessage(QtDebugMsg, "mute");
        QVERIFY(!s.load(missing));
        QVERIFY(!s.isLoaded() && s.isEmpty());
        // Normalising nothing changes nothing.
        XafsSpectrum none;
        none.normalize(0);
        QVERIFY(none.e0() == 0.0 && none.normalized().isEmpty());
    }

    void levelCrossingFindsArctanCentre()
    {
        for (double centre : {8980.3, 8981.0, 8979.75}) {
            XafsSpectrum s(arctanEdge(centre, 1.0, 1.5, centre - 200.0, centre + 200.0, 0.5),
                           "arctan", 1, 0.0, {});
            QVERIFY(near(s.e0(), centre, 0.05));
            // The lines follow the slow arctangent tails, so the jump comes out a little short.
            QVERIFY(near(s.jump(), 1.5, 0.05));
            QCOMPARE(s.levelCrossing(0.5), s.e0());
        }
    }

    void orderingGuardWidensInversion()
    {
        // A falling spectrum with one small rise near 100: the post-edge line lies below.
        Spectrum points;
        for (int i = 0; i < 200; ++i)
            points.append(i,
                          (i < 100 ? 2.0 - 0.001 * i : 0.5 + 0.002 * i) + (i == 101 ? 3.0 : 0.0));
        XafsSpectrum s(points, "inverted", 1, 0.0, {});
        const double e0 = s.preLine().to() - s.preEnd();
        QVERIFY(e0 > 95.0 && e0 < 105.0);
        QCOMPARE(s.postLine().from(), e0 + s.postStart());
        // The same fits without the guard.
        VictLine pre, post;
        QVERIFY(pre.fit(s, s.x(0), e0 + s.preEnd(), 1));
        QVERIFY(post.fit(s, e0 + s.postStart(), s.x(s.size() - 1), 1));
        const double d = post.plainValue(e0) - pre.plainValue(e0);
        QVERIFY(d < -0.5);
        QVERIFY(near(s.preLine().a0(), pre.a0() + 0.55 * std::fabs(d), 1e-12) &&
                near(s.postLine().a0(), post.a0() - 0.55 * std::fabs(d), 1e-12));
        QVERIFY(near(s.postLine().plainValue(e0) - s.preLine().plainValue(e0), -2.1 * std::fabs(d),
                     1e-12));
        QCOMPARE(s.normalized().size(), 200);
    }

    void restrictedEdgeValidation()
    {
        XafsSpectrum::EdgeParameters p;
        p.restrictEdge = true;
        XafsSpectrum good(arctanEdge(8980.0, 1.0, 1.5, 8780.0, 9180.0, 1.0), "good", 1, 0.0, p);
        QVERIFY(!good.edgeOutOfRange() && !good.jumpTooSmall());
        QVERIFY(near(good.e0(), 8980.0, 0.1) && good.jump() > 1.0);
        // The fit ranges end at the search bounds around the first estimate.
        QVERIFY(near(good.postLine().from() - good.preLine().to(), 40.0, 1e-9));

        // A flat stretch in the search window: no rising step, so the first point
        // of the whole spectrum is taken, which is out of range.
        Spectrum step;
        for (int i = 0; i <= 400; ++i)
            step.append(8780.0 + i, i < 200 ? 0.0 : 1.0);
        p.nominalE0 = 9100.0;
        XafsSpectrum flat(step, "flat", 1, 0.0, p);
        QCOMPARE(flat.preLine().to(), 8780.0 + p.searchLow);
        QVERIFY(flat.edgeOutOfRange());
        QCOMPARE((QList<double>{flat.e0(), flat.jump()}), (QList<double>{9100, 0}));

        // A jump smaller than the noise of both lines.
        Spectrum noisy;
        for (int i = 0; i <= 400; ++i)
            noisy.append(8780.0 + i, (i % 2 ? 0.05 : -0.05) + (i > 200 ? 0.01 : 0.0));
        p.nominalE0 = 8980.0;
        XafsSpectrum weak(noisy, "weak", 1, 0.0, p);
        QVERIFY(weak.jumpTooSmall());
        QCOMPARE((QList<double>{weak.e0(), weak.jump()}), (QList<double>{8980, 0}));
        // The derived spectra keep the values found before the reset.
        QCOMPARE(weak.normalized().size(), noisy.size());
        for (int i = 0; i < weak.normalized().size(); ++i)
            QVERIFY(std::isfinite(weak.normalized().y(i)));
    }

    void steepestStepTiesAndFallback()
    {
        // Two equal rises (multiples of 5 keep the moving average exact): the lower one wins.
        Spectrum twoSteps;
        for (int i = 0; i < 200; ++i)
            twoSteps.append(i, i < 50 ? 0.0 : (i < 150 ? 5.0 : 10.0));
        XafsSpectrum s(twoSteps, "two", 1, 0.0, {});
        QCOMPARE(s.preLine().to(), 47.0 + s.preEnd());
        // No rise at all: index 0.
        XafsSpectrum f(line(100.0, -1.0, 100.0, 1.0, 50), "falling", 0, 0.0, {});
        QCOMPARE(f.preLine().to(), 100.0 + f.preEnd());
        QCOMPARE(f.postLine().from(), 100.0 + f.postStart());
    }

    void realSpectraNormalise_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<double>("low");
        QTest::addColumn<double>("high");
        QTest::addColumn<uint>("kind");
        for (uint kind : {0u, 1u}) {
            for (const char *name :
                 {"cu_foil_10k", "cu_foil_rt", "cu_foil_herfd", "cu_cu2o_herfd", "cu_cuo_herfd"})
                QTest::addRow("%s/%u", name, kind) << QString(name) << 8975.0 << 8995.0 << kind;
            for (const char *name : {"fe2o3_rt", "feo_rt", "fe3c_rt"})
                QTest::addRow("%s/%u", name, kind) << QString(name) << 7105.0 << 7130.0 << kind;
        }
    }

    void realSpectraNormalise()
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
        QVERIFY(s.jump() > 0.0 && s.preLine().isValid() && s.postLine().isValid());
        // About 0 below and about 1 above the edge.
        QVERIFY(std::fabs(meanOver(s.doubleNormalized(), s.x(0), s.e0() - 30.0)) < 0.01);
        QVERIFY(std::fabs(meanOver(s.doubleNormalized(), s.e0() + 50.0, 1e9) - 1.0) < 0.03);
        QVERIFY(std::fabs(meanOver(s.normalized(), s.e0() - 30.0, s.e0() - 15.0)) < 0.06);
        QVERIFY(std::fabs(meanOver(s.normalized(), s.e0() + 50.0, 1e9) - 1.0) < 0.02);
        QVERIFY(std::fabs(meanOver(s.normalizedPostBase(), s.e0() + 50.0, 1e9)) < 0.02);
        // The edge is where the measured absorption is about half way up.
        QVERIFY(std::fabs(s.doubleNormalized().interpolate(s.e0()) - 0.5) < 0.25);
    }

    void exchangeFileLines()
    {
        QTemporaryDir dir;
        XafsSpectrum s(arctanEdge(7112.0, 2.0, 1.0, 7000.0, 7300.0, 5.0), "ex", 1, 3.0, {});
        const QString path = dir.filePath("ex.txt");
        const auto g = [](double v) { return QString::number(v, 'g', 6); };
        const auto params = [&g](const VictLine &l) {
            return g(l.a0()) + ' ' + g(l.slope()) + ' ' + g(l.a1()) + ' ' + g(l.a2());
        };
        for (const bool shifted : {true, false}) {
            QVERIFY(s.save(path, shifted));
            QFile f(path);
            QVERIFY(f.open(QIODevice::ReadOnly | QIODevice::Text));
            QStringList want = {"###Quillon::XafsSpectrum",
                                "# midx    : " + g(s.e0()),
                                "# dMut    : " + g(s.jump()),
                                "# pre   vic : " + params(s.preLine()),
                                "# poste vic : " + params(s.postLine()),
                                "#",
                                "# x  double-normalized-pre-base y pre post"};
            for (int i = 0; i < s.size(); ++i) {
                const double e = s.x(i);
                want << QStringList{g(shifted ? e - 3.0 : s.x(i)), g(s.doubleNormalized().y(i)),
                                    g(s.y(i)), g(s.pre(e)), g(s.post(e))}
                            .join('\t');
            }
            QCOMPARE(QString::fromUtf8(f.readAll()), want.join('\n') + '\n');
        }
        // An unwritable place is skipped and leaves no file.
        const QString bad = dir.filePath("no/such/dir/ex.txt");
        QVERIFY(!s.save(bad, false) && !QFile::exists(bad));
    }

    void correlation()
    {
        const XafsSpectrum a(arctanEdge(7112.0, 2.0, 1.0, 7000.0, 7300.0, 2.0), "a", 1, 0.0, {});
        QVERIFY(near(a.correlation(a, 0.0), 1.0, 1e-12));
        // A differently shaped edge correlates less, and shifting it back helps.
        const XafsSpectrum wide(arctanEdge(7112.0, 8.0, 1.0, 7000.0, 7300.0, 2.0), "wide", 1, 0.0,
                                {});
        const double c = a.correlation(wide, 0.0);
        QVERIFY(c < 1.0 - 1e-6 && c > 0.5);
        const XafsSpectrum moved(arctanEdge(7122.0, 2.0, 1.0, 7010.0, 7310.0, 2.0), "moved", 1, 0.0,
                                 {});
        QVERIFY(a.correlation(moved, 10.0) > a.correlation(moved, 0.0));
        QVERIFY(near(a.correlation(moved, 10.0), 1.0, 1e-3));
        // Nothing in common, or nothing at all: 0.
        QCOMPARE(a.correlation(moved, 1e4), 0.0);
        QCOMPARE(a.correlation(XafsSpectrum(), 0.0), 0.0);
        // A NaN energy is reported, not fatal; a sample reads its own value.
        QTest::ignoreMessage(QtDebugMsg, "nan EeV in XafsSpectrum::doubleNormalizedPreBase");
        a.doubleNormalizedPreBase(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(a.doubleNormalizedPreBase(a.x(3)), a.doubleNormalized().y(3));
    }
};

QTEST_GUILESS_MAIN(TestXafsSpectrum)
#include "tst_XafsSpectrum.moc"
