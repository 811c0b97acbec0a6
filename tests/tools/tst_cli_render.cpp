// zelmap-cli render: colours of chosen pixels for the display range, its overrides and the
// markers.
#include "tests/support/CliFixtures.h"

#include "core/TDDataWL.h"

#include <QImage>
#include <QTest>

class TstCliRender : public QObject
{
    Q_OBJECT

private slots:
    void renders_data();
    void renders();
};

void TstCliRender::renders_data()
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
    QTest::newRow("grey") << QStringList{"--grey"} << false << QList<QPoint>{{3, 0}, {2, 1}, {0, 0}}
                          << QList<QRgb>{qRgb(128, 128, 128), qRgb(192, 192, 192), black};
    QTest::newRow("range") << QStringList{"--range", "1", "5"} << false
                           << QList<QPoint>{{2, 0}, {3, 0}, {2, 1}}
                           << QList<QRgb>{orange, white, invalid};
    // (2, 0) sits at the lower marker.
    QTest::newRow("markers") << QStringList{"--range", "1", "5", "--markers", "0.5", "1"} << false
                             << QList<QPoint>{{2, 0}, {1, 1}, {3, 0}}
                             << QList<QRgb>{black, orange, white};
}

void TstCliRender::renders()
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

QTEST_GUILESS_MAIN(TstCliRender)
#include "tst_cli_render.moc"
