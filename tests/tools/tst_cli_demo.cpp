#include "tests/support/CliFixtures.h"

#include "core/TDDataWL.h"

#include <QDir>
#include <QTest>

#include <tiffio.h>

#include <cmath>
#include <utility>
#include <vector>

namespace {

struct Tiff
{
    quint32 width = 0;
    quint32 height = 0;
    quint16 bits = 0;
    quint16 samples = 0;
    std::vector<quint16> pixels;
    quint16 at(int x, int y) const { return pixels[size_t(y) * width + x]; }
};

// Reads a 16-bit grey TIFF; false when the file is not one.
bool readTiff(const QString &path, Tiff &t)
{
    TIFF *tif = TIFFOpen(QFile::encodeName(path).constData(), "r");
    if (!tif) return false;
    bool ok = TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &t.width) == 1 &&
              TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &t.height) == 1;
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &t.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &t.samples);
    ok = ok && t.bits == 16 && t.samples == 1 && TIFFScanlineSize(tif) == tmsize_t(2 * t.width);
    if (ok) {
        t.pixels.resize(size_t(t.width) * t.height);
        for (quint32 y = 0; y < t.height && ok; ++y)
            ok = TIFFReadScanline(tif, t.pixels.data() + size_t(y) * t.width, y, 0) == 1;
    }
    TIFFClose(tif);
    return ok;
}

double absorbance(const Tiff &i, const Tiff &i0, int x, int y)
{
    return -std::log(double(i.at(x, y)) / double(i0.at(x, y)));
}

} // namespace

class TstCliDemo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void writesTheListedFiles();
    void imagesShowTheEdge();
    void textMatrixAndMapLoad();
    void sameFilesEveryRun();

private:
    QTemporaryDir m_tmp;
    QString m_dir;
    QString m_printed;
};

void TstCliDemo::initTestCase()
{
    QVERIFY(m_tmp.isValid());
    // A directory that does not exist yet, two levels deep.
    m_dir = m_tmp.filePath("new/demo");
    const CliRun r = runCli({"demo", m_dir});
    QCOMPARE(r.status, 0);
    m_printed = r.out;
}

void TstCliDemo::writesTheListedFiles()
{
    const QStringList printed = m_printed.split(u'\n', Qt::SkipEmptyParts);
    const QStringList onDisk = QDir(m_dir).entryList(QDir::Files, QDir::Name);
    QCOMPARE(printed.size(), onDisk.size());
    qint64 total = 0;
    for (const QString &path : printed) {
        QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
        QVERIFY(onDisk.contains(QFileInfo(path).fileName()));
        total += QFileInfo(path).size();
    }
    QCOMPARE(onDisk.filter(".tif").size(), 10);
    QCOMPARE(onDisk.filter(".zmp").size(), 1);
    QCOMPARE(onDisk.filter(".txt").size(), 1);
    QVERIFY(total < 2 * 1024 * 1024);
}

void TstCliDemo::imagesShowTheEdge()
{
    Tiff i0Below, iBelow, i0Mid, iMid, i0Above, iAbove;
    const std::pair<const char *, Tiff *> files[] = {
        {"I0_7100eV", &i0Below}, {"I_7100eV", &iBelow},   {"I0_7117eV", &i0Mid},
        {"I_7117eV", &iMid},     {"I0_7140eV", &i0Above}, {"I_7140eV", &iAbove}};
    for (const auto &[name, tiff] : files)
        QVERIFY2(readTiff(m_dir + u'/' + QLatin1String(name) + ".tif", *tiff), name);
    // readTiff accepts only 16-bit grey files.
    QCOMPARE(QSize(int(i0Above.width), int(i0Above.height)), QSize(256, 256));

    // Centres of the metal and the oxide particle, and a corner outside the pellet.
    const int mx = 88, my = 100, ox = 168, oy = 156;
    QVERIFY(iAbove.at(mx, my) < i0Above.at(mx, my) / 2);
    QVERIFY(iAbove.at(ox, oy) < i0Above.at(ox, oy) / 2);
    QVERIFY(std::abs(absorbance(iAbove, i0Above, 2, 2)) < 0.1);

    // Both compounds absorb much more above the edge than below it...
    QVERIFY(absorbance(iAbove, i0Above, mx, my) > absorbance(iBelow, i0Below, mx, my) + 0.7);
    QVERIFY(absorbance(iAbove, i0Above, ox, oy) > absorbance(iBelow, i0Below, ox, oy) + 0.5);
    // ...but between the two edges only the metal has jumped.
    QVERIFY(absorbance(iMid, i0Mid, mx, my) > absorbance(iBelow, i0Below, mx, my) + 0.7);
    QVERIFY(absorbance(iMid, i0Mid, ox, oy) < absorbance(iBelow, i0Below, ox, oy) + 0.3);
}

void TstCliDemo::textMatrixAndMapLoad()
{
    TDDataWL map(0, 0);
    QVERIFY(map.load(m_dir + "/edge_jump.zmp"));
    QCOMPARE(map.width(), 128);
    QCOMPARE(map.height(), 128);
    // Binned 2x2: the metal centre (88, 100) is at (44, 50); the edge jump is clear there
    // and near zero outside the pellet.
    QVERIFY(map.isValid(44, 50));
    QVERIFY(map.value(44, 50) > 0.7);
    QVERIFY(std::abs(map.value(1, 1)) < 0.1);

    QFile text(m_dir + "/absorbance_7140eV.txt");
    QVERIFY(text.open(QIODevice::ReadOnly | QIODevice::Text));
    QCOMPARE(text.readLine().left(9), QByteArray("## 240301"));
    QString error;
    const std::unique_ptr<TDDataWL> matrix = Cli::loadRecord(text.fileName(), &error);
    QVERIFY2(matrix, qPrintable(error));
    QCOMPARE(matrix->width(), 64);
    QCOMPARE(matrix->height(), 64);
    // Binned 4x4: the metal centre is at (22, 25).
    QVERIFY(matrix->value(22, 25) > 1.0);
    QVERIFY(std::abs(matrix->value(0, 0)) < 0.1);
}

void TstCliDemo::sameFilesEveryRun()
{
    const QString again = m_tmp.filePath("again");
    QCOMPARE(runCli({"demo", again}).status, 0);
    for (const QString &name : QDir(m_dir).entryList(QDir::Files)) {
        QFile a(m_dir + u'/' + name);
        QFile b(again + u'/' + name);
        QVERIFY(a.open(QIODevice::ReadOnly));
        QVERIFY2(b.open(QIODevice::ReadOnly), qPrintable(name));
        QVERIFY2(a.readAll() == b.readAll(), qPrintable(name));
    }
}

QTEST_MAIN(TstCliDemo)
#include "tst_cli_demo.moc"
