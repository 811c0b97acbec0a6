#include "Cli.h"

#include "core/TDDataWL.h"

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TstCliRender : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void rendersColourAndGrey();
    void rangeAndMarkers();
    void badArguments();
    void binaryWritesPng();

private:
    int render(const QStringList &args, QString *errText = nullptr);
    QTemporaryDir m_dir;
    QString m_input;
};

int TstCliRender::render(const QStringList &args, QString *errText)
{
    QString outText, errBuf;
    QTextStream out(&outText), err(&errBuf);
    const int rc = Cli::run(QStringList{QStringLiteral("render")} + args, out, err);
    err.flush();
    if (errText) *errText = errBuf;
    return rc;
}

void TstCliRender::initTestCase()
{
    QVERIFY(m_dir.isValid());
    // 4 x 2: 0 (left out of the range), 1, 3, 5 / 2, 4, invalid, 5.
    TDDataWL rec(4, 2);
    rec.setDataId(QStringLiteral("quick"));
    const double vals[8] = {0.0, 1.0, 3.0, 5.0, 2.0, 4.0, 9.0, 5.0};
    for (int i = 0; i < 8; ++i)
        rec.setValue(i, vals[i], i != 6);
    m_input = m_dir.filePath(QStringLiteral("in.zmp"));
    QVERIFY(rec.save(m_input));
}

void TstCliRender::rendersColourAndGrey()
{
    const QString png = m_dir.filePath(QStringLiteral("colour.png"));
    QCOMPARE(render({m_input, QStringLiteral("-o"), png}), 0);
    QImage img(png);
    QCOMPARE(img.size(), QSize(4, 2));
    // Display range (1, 9): 9 is stored though invalid and widens the statistics.
    QCOMPARE((QList<QRgb>{img.pixel(0, 0), img.pixel(1, 0), img.pixel(3, 0), img.pixel(2, 1)}),
             (QList<QRgb>{qRgb(0, 0, 0), qRgb(0, 0, 0), qRgb(255, 128, 0), qRgb(210, 220, 210)}));

    const QString greyPng = m_dir.filePath(QStringLiteral("grey.png"));
    QCOMPARE(render({QStringLiteral("--grey"), m_input, QStringLiteral("-o"), greyPng}), 0);
    QImage grey(greyPng);
    QVERIFY(grey.isGrayscale());
    QCOMPARE(
        (QList<int>{qGray(grey.pixel(3, 0)), qGray(grey.pixel(2, 1)), qGray(grey.pixel(0, 0))}),
        (QList<int>{128, 192, 0}));
}

void TstCliRender::rangeAndMarkers()
{
    const QString png = m_dir.filePath(QStringLiteral("range.png"));
    QCOMPARE(render({m_input, QStringLiteral("-o"), png, QStringLiteral("--range"),
                     QStringLiteral("1"), QStringLiteral("5")}),
             0);
    QImage img(png);
    QCOMPARE((QList<QRgb>{img.pixel(2, 0), img.pixel(3, 0), img.pixel(2, 1)}),
             (QList<QRgb>{qRgb(255, 128, 0), qRgb(255, 255, 255), qRgb(210, 220, 210)}));

    const QString marked = m_dir.filePath(QStringLiteral("markers.png"));
    QCOMPARE(render({m_input, QStringLiteral("--range"), QStringLiteral("1"), QStringLiteral("5"),
                     QStringLiteral("--markers"), QStringLiteral("0.5"), QStringLiteral("1"),
                     QStringLiteral("-o"), marked}),
             0);
    QImage m(marked);
    // (2, 0) sits at the lower marker.
    QCOMPARE((QList<QRgb>{m.pixel(2, 0), m.pixel(1, 1), m.pixel(3, 0)}),
             (QList<QRgb>{qRgb(0, 0, 0), qRgb(255, 128, 0), qRgb(255, 255, 255)}));
}

void TstCliRender::badArguments()
{
    QString err;
    QCOMPARE(render({m_input}, &err), 2);
    QVERIFY(err.contains(QStringLiteral("Usage")));
    QCOMPARE(render({m_input, QStringLiteral("-o"), m_dir.filePath(QStringLiteral("x.png")),
                     QStringLiteral("--range"), QStringLiteral("1"), QStringLiteral("abc")},
                    &err),
             2);
    QVERIFY(err.contains(QStringLiteral("abc")));
    QCOMPARE(render({m_input, QStringLiteral("--markers"), QStringLiteral("1")}, &err), 2);
    QCOMPARE(render({m_input, QStringLiteral("--bogus")}, &err), 2);
    QCOMPARE(render({m_dir.filePath(QStringLiteral("missing.zmp")), QStringLiteral("-o"),
                     m_dir.filePath(QStringLiteral("y.png"))},
                    &err),
             1);
    QVERIFY(err.contains(QStringLiteral("missing.zmp")));
    QVERIFY(!QFile::exists(m_dir.filePath(QStringLiteral("y.png"))));
    QCOMPARE(
        render({m_input, QStringLiteral("-o"), m_dir.filePath(QStringLiteral("no/such/dir/z.png"))},
               &err),
        1);
}

void TstCliRender::binaryWritesPng()
{
    const QString png = m_dir.filePath(QStringLiteral("bin.png"));
    QProcess p;
    p.start(QStringLiteral(ZELMAP_CLI_BINARY),
            {QStringLiteral("render"), m_input, QStringLiteral("-o"), png});
    QVERIFY(p.waitForFinished(60000));
    QCOMPARE(p.exitCode(), 0);
    QImage img(png);
    QCOMPARE(img.size(), QSize(4, 2));
    QCOMPARE(img.pixel(3, 0), qRgb(255, 128, 0));
}

QTEST_GUILESS_MAIN(TstCliRender)
#include "tst_cli_render.moc"
