#include "../support/CliFixtures.h"
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
using namespace RecordFixtures;
using namespace Qt::StringLiterals;

class TestImageLoader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void badPixelsAndUnreadableFiles();
    void cliInfoAndConvert();

private:
    QTemporaryDir m_dir;
    QString m_tiff;
    QString m_zmp;
};

void TestImageLoader::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_tiff = m_dir.filePath(u"scan.E8979.5eV.tif"_s);
    QVERIFY(writeTiff(m_tiff, {.width = 3, .height = 2, .exposureSeconds = 0.5},
                      [](int x, int y, int) { return 1 + x + 3 * y; }));
    m_zmp = savedRecord(
        m_dir.filePath(u"rec.zmp"_s), 2, 2, u"a/b"_s, [](qsizetype i) { return i == 3 ? -2 : 1.5; },
        [](qsizetype i) { return i != 3; });
    QVERIFY(!m_zmp.isEmpty());
}

void TestImageLoader::badPixelsAndUnreadableFiles()
{
    // A bad pixel is corrected before the record is made.
    BadPixelList bad;
    bad.setEnabled(true);
    bad.add(1, 0);
    QCOMPARE(ImageLoader::load(m_tiff, &bad).record->value(1, 0),
             double(int((1.0 + 4.0 + 3.0 + 6.0) / 4)));

    // A text matrix with a header but no complete row holds no pixels.
    const QString empty = m_dir.filePath(u"empty.txt"_s);
    QVERIFY(writeAll(empty, "## 240301\n# X-NUM 5\n# Y-NUM 5\n1 1 1\n"));
    const ImageLoader::Result r = ImageLoader::load(empty);
    QVERIFY(!r.record);
    QCOMPARE(r.error, u"the file holds no pixels"_s);
}

void TestImageLoader::cliInfoAndConvert()
{
    CliRun r = runCli({u"info"_s, m_tiff, m_zmp});
    QCOMPARE(r.status, 0);
    QVERIFY(r.out.contains("data id: scan.E8979.5eV\n"_L1));
    QVERIFY(r.out.contains("data id: a/b\n"_L1));
    QVERIFY(r.out.contains("format: TIFF\npixel type: 0\nexposure time: 500 ms\n"_L1));
    QVERIFY(r.out.contains("format: 2dData\npixel type: none\nexposure time: none\n"_L1));
    r = runCli({u"info"_s, u"--json"_s, m_tiff});
    const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8()).array().at(0).toObject();
    QCOMPARE(o.value("format"_L1).toString(), u"TIFF"_s);
    QCOMPARE(o.value("pixelType"_L1).toInt(-1), 0);
    QCOMPARE(o.value("exposureTimeMs"_L1).toDouble(), 500.0);

    const QString out = m_dir.filePath(u"converted/deeper"_s);
    r = runCli({u"convert"_s, m_tiff, m_zmp, u"-o"_s, out});
    QCOMPARE(r.status, 0);
    const QString tiffOut = out + u"/scan.E8979.5eV.zmp"_s;
    QVERIFY2(r.out.contains(tiffOut), qPrintable(r.out));
    TDDataWL back(0, 0);
    QVERIFY(back.load(tiffOut));
    QCOMPARE((QList<double>{double(back.width()), double(back.height()), back.value(1, 1)}),
             (QList<double>{3, 2, 5}));
    QCOMPARE(back.dataId(), u"scan.E8979.5eV"_s);
    QVERIFY(back.load(out + u"/adivb.zmp"_s));
    QVERIFY(!back.isValid(1, 1));

    // The same name twice, an unreadable file, and usage errors.
    const QString junk = m_dir.filePath(u"junk2.bin"_s);
    QVERIFY(writeAll(junk, QByteArray(40, '\x07')));
    r = runCli({u"convert"_s, m_tiff, m_tiff, junk, u"-o"_s, out});
    QCOMPARE(r.status, 1);
    QVERIFY(r.err.contains("already written"_L1));
    QVERIFY(r.err.contains("junk2.bin: not a file Zelmap can read"_L1));
    for (const QStringList &usage :
         {QStringList{m_tiff}, {u"-o"_s}, {m_tiff, u"--x"_s, u"-o"_s, out}})
        QCOMPARE(runCli(QStringList{u"convert"_s} + usage).status, 2);
}

QTEST_GUILESS_MAIN(TestImageLoader)
#include "tst_imageloader.moc"
