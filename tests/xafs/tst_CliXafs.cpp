// zelmap-cli xafs: the report carries every number in full, the exchange file is written.
#include "tests/support/CliFixtures.h"

#include "xafs/XafsSpectrum.h"

#include <QTest>

namespace {

const QString kFoil = QStringLiteral(ZELMAP_TESTDATA "/xafs/cu_foil_rt.dat");
const QString kOxide = QStringLiteral(ZELMAP_TESTDATA "/xafs/fe2o3_rt.dat");

} // namespace

class TestCliXafs : public QObject
{
    Q_OBJECT

private slots:
    void reportsFullPrecisionResults_data();
    void reportsFullPrecisionResults();
    void writesExchangeFiles();
};

void TestCliXafs::reportsFullPrecisionResults_data()
{
    QTest::addColumn<QString>("fit");
    QTest::addColumn<uint>("kind");
    QTest::newRow("victreen") << "victreen" << 0u;
    QTest::newRow("straight") << "straight" << 1u;
}

void TestCliXafs::reportsFullPrecisionResults()
{
    QFETCH(QString, fit);
    QFETCH(uint, kind);
    const QStringList options = kind == 0 ? QStringList{"--victreen"} : QStringList{};
    const CliRun r = runCliBinary(QStringList{"xafs"} + options + QStringList{kFoil, kOxide});
    QCOMPARE(r.status, 0);
    const auto map = reportFields(r.out);
    QCOMPARE(map.value("file"), QStringList({kFoil, kOxide}));
    QCOMPARE(map.value("fit"), QStringList({fit, fit}));
    const QString paths[] = {kFoil, kOxide};
    for (int i = 0; i < 2; ++i) {
        XafsSpectrum s;
        QVERIFY(s.load(paths[i]));
        s.normalize(kind);
        // Seventeen digits read back to the very same double.
        QCOMPARE(map.value("e0").value(i).toDouble(), s.e0());
        QCOMPARE(map.value("jump").value(i).toDouble(), s.jump());
        QCOMPARE(map.value("pre rms").value(i).toDouble(), s.preLine().rms());
        QCOMPARE(map.value("post rms").value(i).toDouble(), s.postLine().rms());
        QCOMPARE(map.value("points").value(i).toInt(), s.size());
    }
}

void TestCliXafs::writesExchangeFiles()
{
    QTemporaryDir dir;
    const CliRun r = runCli({"xafs", kFoil, "-o", dir.path()});
    QCOMPARE(r.status, 0);
    const QString written = dir.filePath("cu_foil_rt_xafs.dat");
    QCOMPARE(reportFields(r.out).value("written"), QStringList({written}));
    QFile f(written);
    QVERIFY(f.open(QIODevice::ReadOnly | QIODevice::Text));
    QCOMPARE(f.readLine(), QByteArray("###Quillon::XafsSpectrum\n"));
    QVERIFY(f.readLine().startsWith("# midx    : 898"));
}

QTEST_GUILESS_MAIN(TestCliXafs)
#include "tst_CliXafs.moc"
