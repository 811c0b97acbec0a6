#include "Cli.h"

#include "xafs/XafsSpectrum.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString kFoil = QStringLiteral(ZELMAP_TESTDATA "/xafs/cu_foil_rt.dat");
const QString kOxide = QStringLiteral(ZELMAP_TESTDATA "/xafs/fe2o3_rt.dat");

// "key: value" lines of one report.
QMap<QString, QStringList> fields(const QString &text)
{
    QMap<QString, QStringList> map;
    for (const QString &line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const qsizetype colon = line.indexOf(QLatin1String(": "));
        if (colon > 0) map[line.left(colon)] << line.mid(colon + 2);
    }
    return map;
}

} // namespace

class TestCliXafs : public QObject
{
    Q_OBJECT

private slots:
    void reportsFullPrecisionResults();
    void writesExchangeFiles();
    void refusesBadArguments();
};

void TestCliXafs::reportsFullPrecisionResults()
{
    QProcess p;
    p.start(QStringLiteral(ZELMAP_CLI_BINARY),
            {QStringLiteral("xafs"), QStringLiteral("--victreen"), kFoil, kOxide});
    QVERIFY(p.waitForFinished(60000));
    QCOMPARE(p.exitCode(), 0);
    const auto map = fields(QString::fromUtf8(p.readAllStandardOutput()));
    QCOMPARE(map.value(QStringLiteral("file")), QStringList({kFoil, kOxide}));
    QCOMPARE(map.value(QStringLiteral("fit")), QStringList({"victreen", "victreen"}));

    const QString paths[] = {kFoil, kOxide};
    for (int i = 0; i < 2; ++i) {
        XafsSpectrum s;
        QVERIFY(s.load(paths[i]));
        s.normalize(0);
        // Seventeen digits read back to the very same double.
        QCOMPARE(map.value(QStringLiteral("e0")).value(i).toDouble(), s.e0());
        QCOMPARE(map.value(QStringLiteral("jump")).value(i).toDouble(), s.jump());
        QCOMPARE(map.value(QStringLiteral("pre rms")).value(i).toDouble(), s.preLine().rms());
        QCOMPARE(map.value(QStringLiteral("post rms")).value(i).toDouble(), s.postLine().rms());
        QCOMPARE(map.value(QStringLiteral("points")).value(i).toInt(), s.size());
    }
}

void TestCliXafs::writesExchangeFiles()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QString outText, errText;
    QTextStream out(&outText), err(&errText);
    const int status = Cli::xafs({kFoil, QStringLiteral("-o"), dir.path()}, out, err);
    QCOMPARE(status, 0);
    const auto map = fields(outText);
    QCOMPARE(map.value(QStringLiteral("fit")), QStringList({"straight"}));
    const QString written = dir.filePath(QStringLiteral("cu_foil_rt_xafs.dat"));
    QCOMPARE(map.value(QStringLiteral("written")), QStringList({written}));
    QFile f(written);
    QVERIFY(f.open(QIODevice::ReadOnly | QIODevice::Text));
    QCOMPARE(f.readLine(), QByteArray("###Quillon::XafsSpectrum\n"));
    const QByteArray e0Line = f.readLine();
    QVERIFY(e0Line.startsWith("# midx    : 898"));
}

void TestCliXafs::refusesBadArguments()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QString outText, errText;
    QTextStream out(&outText), err(&errText);
    QCOMPARE(Cli::xafs({}, out, err), 2);
    QCOMPARE(Cli::xafs({kFoil, QStringLiteral("--fast")}, out, err), 2);
    QCOMPARE(Cli::xafs({kFoil, QStringLiteral("-o")}, out, err), 2);
    QCOMPARE(
        Cli::xafs({kFoil, QStringLiteral("-o"), dir.filePath(QStringLiteral("none"))}, out, err),
        2);
    QVERIFY(outText.isEmpty());

    // A missing and an empty file fail, the good one between them is still reported.
    QFile empty(dir.filePath(QStringLiteral("empty.dat")));
    QVERIFY(empty.open(QIODevice::WriteOnly));
    empty.close();
    errText.clear();
    QCOMPARE(
        Cli::xafs({dir.filePath(QStringLiteral("missing.dat")), kFoil, empty.fileName()}, out, err),
        1);
    QCOMPARE(fields(outText).value(QStringLiteral("file")), QStringList({kFoil}));
    QCOMPARE(errText.count(QLatin1Char('\n')), 2);
}

QTEST_GUILESS_MAIN(TestCliXafs)
#include "tst_CliXafs.moc"
