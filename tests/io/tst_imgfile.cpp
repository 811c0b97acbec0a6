#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/ImgFile.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <tuple>

namespace {

// A 3 x 3 raster of the given type holding
//   100 10 20
//    30 40 50
//    60 70 80
void fill3x3(ImgFile &img, ImgFile::PixelType type)
{
    QVERIFY(img.allocate(type, 3, 3, 1 << 20));
    const double v[9] = {100, 10, 20, 30, 40, 50, 60, 70, 80};
    for (int i = 0; i < 9; ++i)
        img.setValue(i % 3, i / 3, v[i]);
    img.widenRows(0, 3);
}

// Refills the raster, lists exactly the given pixels and corrects them.
void correct(ImgFile &img, BadPixelList &list, std::initializer_list<QPoint> bad,
             ImgFile::PixelType type = ImgFile::Double)
{
    fill3x3(img, type);
    list.clear();
    for (const QPoint &p : bad)
        list.add(p.x(), p.y());
    img.correctBadPixels();
}

// What a one-row raster of the type holds after storing the values.
QList<double> stored(ImgFile::PixelType type, const QList<double> &values)
{
    ImgFile img;
    if (!img.allocate(type, int(values.size()), 1, 1024)) return {};
    QList<double> back;
    for (int x = 0; x < values.size(); ++x)
        img.setValue(x, 0, values[x]);
    for (int x = 0; x < values.size(); ++x)
        back << img.value(x, 0);
    return back;
}

} // namespace

class TestImgFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freshObjectReadsZero();
    void valueAddressingAndOrigin();
    void setValueNarrowsPerType();
    void badPixelCornersAndEdges();
    void badPixelNeighboursAndOffsets();
    void areaSums();
    void previewAndClear();
    void recordConversion();
    void wideRowExtremes();
    void badPixelListFile();
};

void TestImgFile::freshObjectReadsZero()
{
    ImgFile img;
    QCOMPARE(img.pixelType(), int(ImgFile::Nothing));
    QCOMPARE(img.value(0, 0), 0.0);
    QCOMPARE(img.exposureTime(), 100.0);
    QCOMPARE(img.displayFormat(), int(QImage::Format_Grayscale8));
    img.setValue(0, 0, 5.0); // nothing to store into, nothing happens
    QCOMPARE(img.value(0, 0), 0.0);
    QVERIFY(!img.toRecord());
    QCOMPARE(img.sumAround(0, 0, 2, 2), 0.0);

    // Sizes that cannot be a raster are refused.
    QVERIFY(!img.allocate(ImgFile::U16, 0, 5, 1 << 20));
    QVERIFY(!img.allocate(ImgFile::U16, 5, -1, 1 << 20));
    QVERIFY(!img.allocate(ImgFile::Double, 1000, 1000, 1000)); // beyond the byte budget
    QCOMPARE(img.pixelType(), int(ImgFile::Nothing));
}

void TestImgFile::valueAddressingAndOrigin()
{
    ImgFile img;
    fill3x3(img, ImgFile::Float);
    img.setOrigin(5, -2);
    QCOMPARE(img.value(5, -2), 100.0);
    QCOMPARE(img.value(7, 0), 80.0);
    QCOMPARE(img.value(6, -1), 40.0);
    // Just outside on every side, and far away without overflow.
    for (const QPoint p :
         {QPoint(4, -2), QPoint(8, -2), QPoint(5, -3), QPoint(5, 1), QPoint(INT_MIN, INT_MAX)})
        QCOMPARE(img.value(p.x(), p.y()), 0.0);
    img.setValue(8, 0, 9.0); // outside: ignored
    img.setValue(7, -2, 9.5);
    QCOMPARE(img.value(7, -2), 9.5);
    QCOMPARE(img.minimum(), 10.0);
    QCOMPARE(img.maximum(), 100.0);
}

void TestImgFile::setValueNarrowsPerType()
{
    const double inf = std::numeric_limits<double>::infinity();
    QCOMPARE(stored(ImgFile::U16, {12.9, -3.0, 70000.0, std::nan("")}),
             (QList<double>{12, 0, 65535, 0}));
    QCOMPARE(stored(ImgFile::U32, {4000000000.7, 1e12}),
             (QList<double>{4000000000.0, 4294967295.0}));
    QCOMPARE(stored(ImgFile::Float, {0.1, 1e300}), (QList<double>{double(0.1f), inf}));
    QCOMPARE(stored(ImgFile::TextD, {0.1}), (QList<double>{0.1}));
}

void TestImgFile::badPixelCornersAndEdges()
{
    BadPixelList list;
    list.setEnabled(true);
    ImgFile img;
    img.setBadPixelList(&list);

    // Top-left corner: (0, 1) fails the shifted row test, so only (1, 0) and (1, 1) count.
    correct(img, list, {{0, 0}});
    QCOMPARE(img.value(0, 0), (10.0 + 40.0) / 2);

    // Top edge: the pixel below never counts on the first row.
    correct(img, list, {{1, 0}});
    QCOMPARE(img.value(1, 0), (100.0 + 30.0 + 20.0 + 50.0) / 4);

    // Last row: the neighbour below counts, with the value 0.0.
    correct(img, list, {{1, 2}});
    QCOMPARE(img.value(1, 2), (30.0 + 60.0 + 40.0 + 0.0 + 50.0 + 80.0) / 6);

    // Bottom-right corner and right edge.
    correct(img, list, {{2, 2}, {2, 1}});
    // (2, 2): (1, 1), (1, 2), the 0.0 below, (2, 1) is bad and left out.
    QCOMPARE(img.value(2, 2), (40.0 + 70.0 + 0.0) / 3);
    // (2, 1): (1, 0), (1, 1), (1, 2), (2, 0), the corrected (2, 2) is bad and left out.
    QCOMPARE(img.value(2, 1), (10.0 + 40.0 + 70.0 + 20.0) / 4);

    // Integer rasters store the truncated mean.
    correct(img, list, {{1, 2}}, ImgFile::U16);
    QCOMPARE(img.value(1, 2), 43.0);

    // Pixels outside the raster are skipped.
    correct(img, list, {{-1, 0}, {3, 3}});
    QCOMPARE(img.value(0, 0), 100.0);
    QCOMPARE(img.value(2, 2), 80.0);
}

void TestImgFile::badPixelNeighboursAndOffsets()
{
    BadPixelList list;
    ImgFile img;
    img.setBadPixelList(&list);

    // A disabled list still corrects its pixels but no longer excludes listed neighbours.
    list.add(1, 1);
    list.add(0, 1);
    list.setEnabled(false);
    fill3x3(img, ImgFile::Double);
    img.correctBadPixels();
    const double centre = (100.0 + 30 + 60 + 10 + 70 + 20 + 50 + 80) / 8;
    QCOMPARE(img.value(1, 1), centre);
    // (0, 2) is tested on row 0 and counts.
    QCOMPARE(img.value(0, 1), (100.0 + 60.0 + 10.0 + centre + 70.0) / 5);

    list.setEnabled(true);
    fill3x3(img, ImgFile::Double);
    img.correctBadPixels();
    QCOMPARE(img.value(1, 1), (100.0 + 60 + 10 + 70 + 20 + 50 + 80) / 7);
    QCOMPARE(img.value(0, 1), (100.0 + 60.0 + 10.0 + 70.0) / 4);

    // Sensor coordinates: the offset is subtracted before use, also for the neighbour test.
    img.setSensorOffset(10, 20);
    correct(img, list, {{11, 21}, {12, 22}});
    QCOMPARE(img.value(1, 1), (100.0 + 30 + 60 + 10 + 70 + 20 + 50) / 7);
    // (1, 1) is listed: left out; (1, 2), the 0.0 below and (2, 1) count.
    QCOMPARE(img.value(2, 2), (70.0 + 0.0 + 50.0) / 3);

    // No pixel listed at all: nothing changes, and a pixel without counted neighbours is 0.
    list.clear();
    ImgFile one;
    one.setBadPixelList(&list);
    QVERIFY(one.allocate(ImgFile::Double, 1, 1, 1024));
    one.setValue(0, 0, 7.0);
    one.correctBadPixels();
    QCOMPARE(one.value(0, 0), 7.0);
    list.add(0, 0);
    one.correctBadPixels();
    QCOMPARE(one.value(0, 0), 0.0);
}

void TestImgFile::areaSums()
{
    ImgFile img;
    fill3x3(img, ImgFile::U32);
    QCOMPARE(img.sumAround(1, 1, 1, 1), 460.0);
    QCOMPARE(img.sumAround(0, 0, 1, 1), 180.0);
    QCOMPARE(img.sumAround(2, 0, 0, 2), 20.0 + 50 + 80);
    QCOMPARE(img.sumAround(10, 10, 1, 1), 0.0);
    QCOMPARE(img.meanOfRect(0, 0, 1, 1), 45.0);
    QCOMPARE(img.meanOfRect(2, 2, 1, 1), 20.0); // three of the four pixels lie outside
    QCOMPARE(img.meanOfRect(0.9, 0.2, 2.0, 0.0), (100.0 + 10.0 + 20.0) / 3); // truncated
    QCOMPARE(img.meanOfRect(0, 0, -1, 0), 0.0);
    img.setOrigin(-1, -1);
    QCOMPARE(img.sumAround(0, 0, 1, 1), 460.0);
    QCOMPARE(img.meanOfRect(-1, -1, 2, 2), 460.0 / 9);
}

void TestImgFile::previewAndClear()
{
    ImgFile img;
    fill3x3(img, ImgFile::Double);
    img.renderPreview();
    QVERIFY(img.preview());
    QCOMPARE(img.preview()->format(), QImage::Format_Grayscale8);
    QCOMPARE(img.preview()->bytesPerLine(), 4);
    // The maximum, the minimum and (40 - 10) / 90.
    for (const auto &[x, y, grey] : {std::tuple{0, 0, 255}, {1, 0, 0}, {1, 1, 85}})
        QCOMPARE(qGray(img.preview()->pixel(x, y)), grey);

    img.setDisplayFormat(QImage::Format_RGB888);
    img.renderPreview();
    QCOMPARE(img.preview()->format(), QImage::Format_RGB888);
    QCOMPARE(img.preview()->bytesPerLine(), 12);
    QCOMPARE(img.preview()->pixel(0, 0), qRgb(255, 255, 255));

    img.clear();
    QVERIFY(!img.preview());
    QCOMPARE(img.value(0, 0), 0.0);
    QCOMPARE(img.rowCount(), 0);
    QVERIFY(!img.toRecord());
}

void TestImgFile::recordConversion()
{
    for (const ImgFile::PixelType type :
         {ImgFile::TiffU16, ImgFile::U16, ImgFile::U32, ImgFile::Float, ImgFile::TextD}) {
        ImgFile img;
        fill3x3(img, type);
        img.setOrigin(4, 4);
        img.setFileName(QStringLiteral("/data/run.E8979.5eV.tif"));
        const auto r = img.toRecord();
        QVERIFY(r);
        QCOMPARE(r->dataId(), QStringLiteral("run.E8979.5eV"));
        QCOMPARE(QSize(r->width(), r->height()), QSize(3, 3));
        QCOMPARE(r->level(), 0);
        QCOMPARE(r->validCount(), qsizetype(9));
        QCOMPARE((QList<double>{r->value(0, 0), r->value(2, 1), r->value(2, 2)}),
                 (QList<double>{100, 50, 80}));
        // A new record has seen its initial zeros.
        QCOMPARE((QList<double>{r->minWithZeros(), r->minWithoutZeros(), r->maxWithoutZeros()}),
                 (QList<double>{0, 10, 100}));
    }
}

void TestImgFile::wideRowExtremes()
{
    // Rows long enough for the vector paths, with extremes at both ends of the 16-bit range.
    for (const ImgFile::PixelType type : {ImgFile::TiffU16, ImgFile::U32}) {
        ImgFile img;
        QVERIFY(img.allocate(type, 21, 2, 1 << 20));
        for (int x = 0; x < 21; ++x) {
            img.setValue(x, 0, 500 + x);
            img.setValue(x, 1, 400 + x);
        }
        img.setValue(9, 0, 0);
        img.setValue(17, 1, 65535);
        img.setValue(20, 1, 1); // in the scalar tail
        img.widenRows(0, 2);
        QCOMPARE(img.minimum(), 0.0);
        QCOMPARE(img.maximum(), 65535.0);
        const auto r = img.toRecord();
        QCOMPARE((QList<double>{r->minWithZeros(), r->minWithoutZeros(), r->maxWithoutZeros()}),
                 (QList<double>{0, 1, 65535}));
        img.setValue(20, 1, 401);
        QCOMPARE(img.toRecord()->minWithoutZeros(), 400.0);
    }
    // All zeros: the non-zero pair keeps its initial values.
    ImgFile zeros;
    QVERIFY(zeros.allocate(ImgFile::U16, 19, 1, 1 << 20));
    const auto r = zeros.toRecord();
    QCOMPARE(r->minWithoutZeros(), TDData0::kInitialMin);
    QCOMPARE(r->maxWithoutZeros(), TDData0::kInitialMax);
    QCOMPARE(r->maxWithZeros(), 0.0);
}

void TestImgFile::badPixelListFile()
{
    const QString path = QDir::temp().filePath(QStringLiteral("zelmap_badpixels_test.txt"));
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("# camera 1\n12 34\n  5\t6   # hot\n\nnot a pair\n7 8 9\n12 34\n-1 2\n");
    f.close();
    BadPixelList list;
    QVERIFY(list.loadFile(path));
    QVERIFY(list.isEnabled());
    QCOMPARE(list.pixels(), (QList<QPoint>{{12, 34}, {5, 6}, {-1, 2}}));
    QVERIFY(list.contains(5, 6));
    QVERIFY(!list.contains(6, 5));
    // A missing file leaves the list as it was.
    QVERIFY(!list.loadFile(path + QStringLiteral(".none")));
    QCOMPARE(list.pixels().size(), 3);
    QFile::remove(path);
}

QTEST_GUILESS_MAIN(TestImgFile)
#include "tst_imgfile.moc"
