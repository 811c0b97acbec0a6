// zelmap-cli filter: what it writes is what the filter computes on the file it read.
#include "tests/support/CliFixtures.h"

#include "core/TDDataWL.h"
#include "proc/AdaptiveThresholdF.h"
#include "proc/MovingAvrF.h"

#include <QTest>

class TestCliFilter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
};

void TestCliFilter::roundTrip_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("hx");
    QTest::addColumn<int>("hy");
    QTest::addColumn<QRect>("rect"); // null for the moving average
    QTest::newRow("ma defaults") << QStringList{"ma"} << 12 << 12 << QRect();
    QTest::newRow("ma hw") << QStringList{"ma", "--hw", "2", "-1"} << 2 << -1 << QRect();
    QTest::newRow("at defaults") << QStringList{"at"} << 12 << 12 << QRect(0, 0, 9, 7);
    QTest::newRow("at rect") << QStringList{"at", "--hw", "1", "2", "--rect", "-2", "1", "6", "30"}
                             << 1 << 2 << QRect(QPoint(-2, 1), QPoint(6, 30));
}

void TestCliFilter::roundTrip()
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
    const CliRun r = runCli(QStringList{"filter"} << args << "--time" << input << "-o" << output);
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

QTEST_GUILESS_MAIN(TestCliFilter)
#include "tst_cli_filter.moc"
