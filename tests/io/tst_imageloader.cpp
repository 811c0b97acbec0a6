#include "Cli.h"
#include "ImageTestFiles.h"

#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/ImageLoader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace ImageTestFiles;

namespace {

struct CliResult
{
    int status = -1;
    QString out;
    QString err;
};

CliResult runCli(const QStringList &args)
{
    CliResult r;
    QTextStream o(&r.out), e(&r.err);
    r.status = Cli::run(args, o, e);
    return o.flush(), e.flush(), r;
}

} // namespace

class TestImageLoader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void recordFilesComeFirst();
    void imageFilesBecomeNamedRecords();
    void unreadableFiles();
    void cliInfoAndDump();
    void cliConvert();

private:
    QTemporaryDir m_dir;
    QString m_tiff;
    QString m_zmp;
};

void TestImageLoader::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_tiff = m_dir.filePath(QStringLiteral("scan.E8979.5eV.tif"));
    TiffLayout layout;
    layout.width = 3;
    layout.height = 2;
    layout.exposureSeconds = 0.5;
    QVERIFY(writeTiff(m_tiff, layout, [](int x, int y, int) { return 1 + x + 3 * y; }));

    TDDataWL r(2, 2);
    r.setDataId(QStringLiteral("a/b"));
    r.setValue(0, 0, 1.5, true);
    r.setValue(1, 1, -2.0, false);
    m_zmp = m_dir.filePath(QStringLiteral("rec.zmp"));
    QVERIFY(r.save(m_zmp));
}

void TestImageLoader::recordFilesComeFirst()
{
    const ImageLoader::Result r = ImageLoader::load(m_zmp);
    QVERIFY(r.record);
    QCOMPARE(r.format, QStringLiteral("2dData"));
    QCOMPARE(r.pixelType, -1);
    // Loaded as a record, so its own data id and validity flags survive.
    QCOMPARE(r.record->dataId(), QStringLiteral("a/b"));
    QVERIFY(r.record->isValid(0, 0));
    QVERIFY(!r.record->isValid(1, 1));
    QCOMPARE(r.record->value(1, 1), -2.0);
}

void TestImageLoader::imageFilesBecomeNamedRecords()
{
    BadPixelList none;
    const ImageLoader::Result r = ImageLoader::load(m_tiff, &none);
    QVERIFY(r.record);
    QCOMPARE(r.format, QStringLiteral("TIFF"));
    QCOMPARE(r.pixelType, 0);
    QCOMPARE(r.exposureTime, 500.0);
    QCOMPARE(r.record->dataId(), QStringLiteral("scan.E8979.5eV"));
    QCOMPARE(QSize(r.record->width(), r.record->height()), QSize(3, 2));
    QCOMPARE(r.record->validCount(), qsizetype(6));
    QCOMPARE(r.record->level(), 0);
    QCOMPARE((QList<double>{r.record->value(2, 1), r.record->minWithoutZeros(),
                            r.record->maxWithoutZeros()}),
             (QList<double>{6, 1, 6}));

    // A bad pixel is corrected before the record is made.
    BadPixelList bad;
    bad.setEnabled(true);
    bad.add(1, 0);
    const ImageLoader::Result c = ImageLoader::load(m_tiff, &bad);
    QCOMPARE(c.record->value(1, 0), double(int((1.0 + 4.0 + 3.0 + 6.0) / 4)));
}

void TestImageLoader::unreadableFiles()
{
    const QString junk = m_dir.filePath(QStringLiteral("junk.bin"));
    QVERIFY(writeBytes(junk, QByteArray("\x01\x02 this is not an image at all", 30)));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral(
                                         "^it's not img data of HPK or tiff .*junk\\.bin")));
    const ImageLoader::Result r = ImageLoader::load(junk);
    QVERIFY(!r.record);
    QCOMPARE(r.error, QStringLiteral("not a file Zelmap can read"));

    // A text matrix with a header but no complete row holds no pixels.
    const QString empty = m_dir.filePath(QStringLiteral("empty.txt"));
    QVERIFY(writeBytes(empty, "## 240301\n# X-NUM 5\n# Y-NUM 5\n1 1 1\n"));
    const ImageLoader::Result e = ImageLoader::load(empty);
    QVERIFY(!e.record);
    QCOMPARE(e.error, QStringLiteral("the file holds no pixels"));
}

void TestImageLoader::cliInfoAndDump()
{
    CliResult r = runCli({QStringLiteral("info"), m_tiff, m_zmp});
    QCOMPARE(r.status, 0);
    QVERIFY(r.out.contains(QLatin1String("data id: scan.E8979.5eV\n")));
    QVERIFY(r.out.contains(QLatin1String("format: TIFF\npixel type: 0\nexposure time: 500 ms\n")));
    QVERIFY(
        r.out.contains(QLatin1String("format: 2dData\npixel type: none\nexposure time: none\n")));

    r = runCli({QStringLiteral("info"), QStringLiteral("--json"), m_tiff});
    const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8()).array().at(0).toObject();
    QCOMPARE(o.value(QLatin1String("format")).toString(), QStringLiteral("TIFF"));
    QCOMPARE(o.value(QLatin1String("pixelType")).toInt(-1), 0);
    QCOMPARE(o.value(QLatin1String("exposureTimeMs")).toDouble(), 500.0);

    r = runCli({QStringLiteral("dump"), m_tiff});
    QCOMPARE(r.status, 0);
    const QStringList lines = r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 6);
    QCOMPARE(lines.at(5), QStringLiteral("2 1 6 1"));
    QVERIFY(r.err.contains(QLatin1String("format: TIFF\n")));
}

void TestImageLoader::cliConvert()
{
    const QString out = m_dir.filePath(QStringLiteral("converted/deeper"));
    CliResult r = runCli({QStringLiteral("convert"), m_tiff, m_zmp, QStringLiteral("-o"), out});
    QCOMPARE(r.status, 0);
    const QString tiffOut = out + QStringLiteral("/scan.E8979.5eV.zmp");
    const QString zmpOut = out + QStringLiteral("/adivb.zmp");
    QVERIFY2(r.out.contains(tiffOut), qPrintable(r.out));
    TDDataWL back(0, 0);
    QVERIFY(back.load(tiffOut));
    QCOMPARE(back.width(), 3);
    QCOMPARE(back.value(1, 1), 5.0);
    QCOMPARE(back.dataId(), QStringLiteral("scan.E8979.5eV"));
    QVERIFY(back.load(zmpOut));
    QVERIFY(!back.isValid(1, 1));

    // The same name twice, an unreadable file, and usage errors.
    const QString junk = m_dir.filePath(QStringLiteral("junk2.bin"));
    QVERIFY(writeBytes(junk, QByteArray(40, '\x07')));
    r = runCli({QStringLiteral("convert"), m_tiff, m_tiff, junk, QStringLiteral("-o"), out});
    QCOMPARE(r.status, 1);
    QVERIFY(r.err.contains(QLatin1String("already written")));
    QVERIFY(r.err.contains(QLatin1String("junk2.bin: not a file Zelmap can read")));
    for (const QStringList &usage :
         {QStringList{m_tiff}, QStringList{QStringLiteral("-o")},
          QStringList{m_tiff, QStringLiteral("--x"), QStringLiteral("-o"), out}})
        QCOMPARE(runCli(QStringList{QStringLiteral("convert")} + usage).status, 2);
}

QTEST_GUILESS_MAIN(TestImageLoader)
#include "tst_imageloader.moc"
