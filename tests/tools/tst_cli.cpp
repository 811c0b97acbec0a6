// zelmap-cli: info and dump, help, what filter, render and xafs write, and how every
// subcommand refuses what it cannot do (usage errors exit 2, unreadable or unwritable files
// exit 1, nothing written).
#include "tests/support/CliFixtures.h"

#include "core/TDDataWL.h"
#include "proc/AdaptiveThresholdF.h"
#include "proc/MovingAvrF.h"
#include "xafs/XafsSpectrum.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

class TestCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        TDDataWL r(3, 2);
        r.setDataId("sample A");
        r.setValue(0, 0, 0.1, true);
        r.setValue(2, 1, -2.5, true);
        r.setValue(1, 1, 0.0, true);
        // Energies in the names let the lcf command take them as a stack.
        QVERIFY(r.save(m_paths["F"] = m_dir.filePath("f_7100eV.zmp")));
        QVERIFY(r.save(m_paths["G"] = m_dir.filePath("g_7200eV.zmp")));
        QVERIFY(TDDataWL(2, 2).save(m_paths["SMALL"] = m_dir.filePath("s_7300eV.zmp")));
        QVERIFY(TDDataWL(3, 1).save(m_paths["SHORT"] = m_dir.filePath("short.zmp")));
        m_paths["JUNK"] = writeFile(m_dir, "junk.bin", "\x01\x02garbage");
        m_paths["EMPTY"] = writeFile(m_dir, "empty.dat", "");
        m_paths["NONE"] = m_dir.filePath("none.zmp");
        m_paths["NODIR"] = m_dir.filePath("no/such");
        m_paths["XAFS"] = QStringLiteral(ZELMAP_TESTDATA "/xafs/cu_foil_rt.dat");
        // What a refused command must not leave behind.
        for (const char *name : {"OUT", "PNG", "DIR"})
            m_paths[name] = m_dir.filePath(QString::fromLatin1(name).toLower() + ".out");
    }

    void infoTextAndJson()
    {
        const QString f = m_paths["F"];
        CliRun r = runCli({"info", f});
        QCOMPARE(r.status, 0);
        // The header keeps the display range with six digits; it is printed in full.
        for (const char *line : {"data id: sample A\n", "width: 3\nheight: 2\n",
                                 "valid pixels: 3\n", "display range: -2.5 0.10000000000000001\n"})
            QVERIFY2(r.out.contains(line), line);

        r = runCli({"info", "--json", f, f});
        QCOMPARE(r.status, 0);
        const QJsonArray a = QJsonDocument::fromJson(r.out.toUtf8()).array();
        QCOMPARE(a.size(), 2);
        const QJsonObject o = a.at(0).toObject();
        QCOMPARE(QJsonArray({o["dataId"], o["width"], o["displayLow"], o["validPixels"]}),
                 QJsonArray({"sample A", 3, -2.5, 3}));
    }

    void dumpListsEveryPixel()
    {
        const CliRun r = runCli({"dump", m_paths["F"]});
        QCOMPARE(r.status, 0);
        const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 6);
        QCOMPARE(QStringList({lines[0], lines[1], lines[5]}),
                 QStringList({"0 0 0.10000000000000001 1", "1 0 0 0", "2 1 -2.5 1"}));
    }

    void help()
    {
        CliRun r = runCli({"--help"});
        QCOMPARE(r.status, 0);
        for (const CliCommand &c : Cli::commands())
            QVERIFY2(r.out.contains(QLatin1String(c.usage)), c.usage);
        r = runCli({"filter", "--help"});
        QCOMPARE(r.status, 0);
        QVERIFY(r.out.contains("filter ma [--hw X Y]") && r.out.contains("filter at"));
    }

    void filterRoundTrip_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("hx");
        QTest::addColumn<int>("hy");
        QTest::addColumn<QRect>("rect"); // null for the moving average
        QTest::newRow("ma defaults") << QStringList{"ma"} << 12 << 12 << QRect();
        QTest::newRow("ma hw") << QStringList{"ma", "--hw", "2", "-1"} << 2 << -1 << QRect();
        QTest::newRow("at defaults") << QStringList{"at"} << 12 << 12 << QRect(0, 0, 9, 7);
        QTest::newRow("at rect") << QStringList{"at", "--hw", "1", "2", "--rect",
                                                "-2", "1",    "6", "30"}
                                 << 1 << 2 << QRect(QPoint(-2, 1), QPoint(6, 30));
    }

    void filterRoundTrip()
    {
        QFETCH(QStringList, args);
        QFETCH(int, hx);
        QFETCH(int, hy);
        QFETCH(QRect, rect);
        QTemporaryDir dir;
        TDDataWL source(9, 7);
        for (qsizetype i = 0; i < source.pixelCount(); ++i)
            source.setValue(i, double((i * 37) % 11), i % 5 != 0);
        source.setDataId("src");
        const QString input = dir.filePath("src.zmp"), output = dir.filePath("out.zmp");
        QVERIFY(source.save(input));
        const CliRun r =
            runCli(QStringList{"filter"} << args << "--time" << input << "-o" << output);
        QCOMPARE(r.status, 0);
        QVERIFY2(hasComputeTime(r.err), qPrintable(r.err));
        TDDataWL saved(0, 0);
        QVERIFY(saved.load(output));
        const std::unique_ptr<TDDataWL> expected =
            rect.isNull() ? MovingAvrF(hx, hy).compute(source)
                          : AdaptiveThresholdF(hx, hy).compute(source, rect);
        QCOMPARE(saved.dataId(), expected->dataId());
        for (qsizetype i = 0; i < expected->pixelCount(); ++i) {
            QCOMPARE(saved.isValid(i), expected->isValid(i));
            QCOMPARE(saved.value(i), expected->value(i));
        }
    }

    void renders_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("binary");
        QTest::addColumn<QList<QPoint>>("at");
        QTest::addColumn<QList<QRgb>>("colours");
        const QRgb black = qRgb(0, 0, 0), orange = qRgb(255, 128, 0), white = qRgb(255, 255, 255),
                   invalid = qRgb(210, 220, 210);
        // Display range (1, 9): 9 is stored though invalid and widens the statistics.
        QTest::newRow("colour") << QStringList{} << true
                                << QList<QPoint>{{0, 0}, {1, 0}, {3, 0}, {2, 1}}
                                << QList<QRgb>{black, black, orange, invalid};
        QTest::newRow("grey") << QStringList{"--grey"} << false
                              << QList<QPoint>{{3, 0}, {2, 1}, {0, 0}}
                              << QList<QRgb>{qRgb(128, 128, 128), qRgb(192, 192, 192), black};
        QTest::newRow("range") << QStringList{"--range", "1", "5"} << false
                               << QList<QPoint>{{2, 0}, {3, 0}, {2, 1}}
                               << QList<QRgb>{orange, white, invalid};
        // (2, 0) sits at the lower marker.
        QTest::newRow("markers") << QStringList{"--range", "1", "5", "--markers", "0.5", "1"}
                                 << false << QList<QPoint>{{2, 0}, {1, 1}, {3, 0}}
                                 << QList<QRgb>{black, orange, white};
    }

    void renders()
    {
        QFETCH(QStringList, args);
        QFETCH(bool, binary);
        QFETCH(QList<QPoint>, at);
        QFETCH(QList<QRgb>, colours);
        QTemporaryDir dir;
        // 4 x 2: 0 (left out of the range), 1, 3, 5 / 2, 4, invalid, 5.
        TDDataWL rec(4, 2);
        const double vals[8] = {0.0, 1.0, 3.0, 5.0, 2.0, 4.0, 9.0, 5.0};
        for (int i = 0; i < 8; ++i)
            rec.setValue(i, vals[i], i != 6);
        const QString input = dir.filePath("in.zmp"), png = dir.filePath("out.png");
        QVERIFY(rec.save(input));
        args = QStringList{"render", input, "-o", png} + args;
        QCOMPARE((binary ? runCliBinary(args) : runCli(args)).status, 0);
        const QImage img(png);
        QCOMPARE(img.size(), QSize(4, 2));
        QCOMPARE(img.isGrayscale(), args.contains("--grey"));
        QList<QRgb> got;
        for (const QPoint &p : at)
            got << img.pixel(p);
        QCOMPARE(got, colours);
    }

    void xafsFullPrecision_data()
    {
        QTest::addColumn<QString>("fit");
        QTest::addColumn<uint>("kind");
        QTest::newRow("victreen") << "victreen" << 0u;
        QTest::newRow("straight") << "straight" << 1u;
    }

    void xafsFullPrecision()
    {
        QFETCH(QString, fit);
        QFETCH(uint, kind);
        const QStringList options = kind == 0 ? QStringList{"--victreen"} : QStringList{};
        const QString foil = m_paths["XAFS"], oxide = ZELMAP_TESTDATA "/xafs/fe2o3_rt.dat";
        const CliRun r = runCliBinary(QStringList{"xafs"} + options + QStringList{foil, oxide});
        QCOMPARE(r.status, 0);
        const auto map = reportFields(r.out);
        QCOMPARE(map.value("file"), QStringList({foil, oxide}));
        QCOMPARE(map.value("fit"), QStringList({fit, fit}));
        const QString paths[] = {foil, oxide};
        for (int i = 0; i < 2; ++i) {
            XafsSpectrum s;
            QVERIFY(s.load(paths[i]));
            s.normalize(kind);
            // Seventeen digits read back to the very same double.
            QList<double> got;
            for (const char *key : {"e0", "jump", "pre rms", "post rms", "points"})
                got << map.value(key).value(i).toDouble();
            QCOMPARE(got, QList<double>({s.e0(), s.jump(), s.preLine().rms(), s.postLine().rms(),
                                         double(s.size())}));
        }
    }

    void xafsWritesExchangeFiles()
    {
        QTemporaryDir dir;
        const CliRun r = runCli({"xafs", m_paths["XAFS"], "-o", dir.path()});
        QCOMPARE(r.status, 0);
        const QString written = dir.filePath("cu_foil_rt_xafs.dat");
        QCOMPARE(reportFields(r.out).value("written"), QStringList({written}));
        QFile f(written);
        QVERIFY(f.open(QIODevice::ReadOnly | QIODevice::Text));
        QCOMPARE(f.readLine(), QByteArray("###Quillon::XafsSpectrum\n"));
        QVERIFY(f.readLine().startsWith("# midx    : 898"));
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("err"); // '|' between texts that must all be there
        QTest::addColumn<QString>("out"); // empty: nothing on standard output
        QTest::addColumn<bool>("binary");
        const auto row = [](const char *name, const QStringList &args, int status,
                            const QString &err = {}, const QString &out = {}, bool binary = false) {
            QTest::newRow(name) << args << status << err << out << binary;
        };
        row("no command", {}, 2, "Usage");
        row("unknown command", {"frobnicate"}, 2, "unknown command");
        row("info, no file", {"info"}, 2);
        row("info, bad option", {"info", "--bogus", "F"}, 2);
        row("info, one missing", {"info", "F", "NONE"}, 1, "none.zmp: no such file", "sample A");
        row("dump, two files", {"dump", "F", "F"}, 2);
        row("dump, junk", {"dump", "JUNK"}, 1, "junk.bin");
        row("binary, missing", {"info", "/nonexistent"}, 1, "/nonexistent", {}, true);

        row("filter, word for a width", {"filter", "ma", "--hw", "abc", "1", "F", "-o", "OUT"}, 2,
            "whole numbers");
        row("filter, short rect", {"filter", "at", "--rect", "1", "2", "3"}, 2, "needs 4");
        row("filter, no output", {"filter", "ma", "F"}, 2, "-o");
        row("filter, two files", {"filter", "at", "F", "G", "-o", "OUT"}, 2, "one FILE");
        row("filter, unknown", {"filter", "xx"}, 2, "unknown filter");
        row("filter, missing file", {"filter", "ma", "NONE", "-o", "OUT"}, 1, "no such file");

        row("render, no output", {"render", "F"}, 2, "Usage");
        row("render, word in range", {"render", "F", "-o", "PNG", "--range", "1", "abc"}, 2, "abc");
        row("render, short markers", {"render", "F", "--markers", "1"}, 2);
        row("render, bad option", {"render", "F", "--bogus"}, 2);
        row("render, missing file", {"render", "NONE", "-o", "PNG"}, 1, "none.zmp");
        row("render, unwritable", {"render", "F", "-o", "NODIR/z.png"}, 1);

        row("demo, no directory", {"demo"}, 2);
        row("demo, two directories", {"demo", "DIR", "DIR"}, 2);
        row("demo, below a file", {"demo", "JUNK/sub"}, 1, "cannot create");

        row("xafs, no file", {"xafs"}, 2);
        row("xafs, bad option", {"xafs", "XAFS", "--fast"}, 2);
        row("xafs, -o alone", {"xafs", "XAFS", "-o"}, 2);
        row("xafs, -o missing dir", {"xafs", "XAFS", "-o", "NODIR"}, 2);
        // The good file between a missing and an empty one is still reported.
        row("xafs, missing and empty", {"xafs", "NONE", "XAFS", "EMPTY"}, 1, "none.zmp|empty.dat",
            "file: " ZELMAP_TESTDATA "/xafs/cu_foil_rt.dat");

        row("relation, widths differ", {"relation", "F", "SMALL", "-o", "OUT"}, 2);
        row("relation, heights differ", {"relation", "F", "SHORT", "-o", "OUT"}, 2);
        row("relation, missing image", {"relation", "F", "NONE", "-o", "OUT"}, 1);
        row("relation, one image", {"relation", "F", "-o", "OUT"}, 2);
        row("relation, mask alone", {"relation", "F", "F", "-o", "OUT", "--mask", "PNG"}, 2);
        row("relation, two selections",
            {"relation", "F", "F", "-o", "OUT", "--sector", "1", "2", "--square", "1", "2", "3",
             "4"},
            2);
        row("relation, bad number", {"relation", "--kernel-hw", "2.5", "F", "F", "-o", "OUT"}, 2);

        row("lcf, no energy in a name", {"lcf", "--ref", "XAFS", "XAFS", "F", "-o", "DIR"}, 2,
            "give --energies");
        row("lcf, energy count",
            {"lcf", "--ref", "XAFS", "--energies", "1,2,3", "F", "G", "-o", "DIR"}, 2);
        row("lcf, other size", {"lcf", "--ref", "XAFS", "F", "G", "SMALL", "-o", "DIR"}, 1,
            "s_7300eV.zmp is 2 x 2");
    }

    void refusals()
    {
        QFETCH(QStringList, args);
        QFETCH(int, status);
        QFETCH(QString, err);
        QFETCH(QString, out);
        QFETCH(bool, binary);
        args = substitute(args, m_paths);
        const CliRun r = binary ? runCliBinary(args) : runCli(args);
        QCOMPARE(r.status, status);
        for (const QString &text : err.split('|', Qt::SkipEmptyParts))
            QVERIFY2(r.err.contains(text), qPrintable(r.err));
        if (out.isEmpty())
            QVERIFY2(r.out.isEmpty(), qPrintable(r.out));
        else
            QVERIFY2(r.out.contains(out), qPrintable(r.out));
        if (status != 0) {
            QVERIFY(!r.err.isEmpty());
            for (const char *name : {"OUT", "PNG", "DIR"})
                QVERIFY2(!QFileInfo::exists(m_paths[name]), name);
        }
    }

private:
    QTemporaryDir m_dir;
    QHash<QString, QString> m_paths;
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
