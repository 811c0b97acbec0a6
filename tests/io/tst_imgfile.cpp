#include "../support/RecordFixtures.h"

#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/ImgFile.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>
#include <tuple>

using namespace Qt::StringLiterals;
using RecordFixtures::stats;

namespace {

// A 3 x 3 raster of the given type holding
//   100 10 20
//    30 40 50
//    60 70 80
void fill3x3(ImgFile &img, int type)
{
    QVERIFY(img.allocate(ImgFile::PixelType(type), 3, 3, 1 << 20));
    const double v[9] = {100, 10, 20, 30, 40, 50, 60, 70, 80};
    for (int i = 0; i < 9; ++i)
        img.setValue(i % 3, i / 3, v[i]);
    img.widenRows(0, 3);
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
    void badPixels_data();
    void badPixels();
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
    img.setValue(0, 0, 5.0); // nothing to store into, nothing happens
    QCOMPARE(img.value(0, 0), 0.0);
    QCOMPARE(img.exposureTime(), 100.0);
    QVERIFY(!img.toRecord());
    QCOMPARE(img.sumAround(0, 0, 2, 2), 0.0);

    // Sizes that cannot be a raster are refused.
    QVERIFY(!img.allocate(ImgFile::U16, 0, 5, 1 << 20) &&
            !img.allocate(ImgFile::U16, 5, -1, 1 << 20));
    QVERIFY(!img.allocate(ImgFile::Double, 1000, 1000, 1000)); // beyond the byte budget
    QCOMPARE(img.pixelType(), int(ImgFile::Nothing));
}

void TestImgFile::valueAddressingAndOrigin()
{
    ImgFile img;
    fill3x3(img, ImgFile::Float);
    img.setOrigin(5, -2);
    QCOMPARE((QList<double>{img.value(5, -2), img.value(7, 0), img.value(6, -1)}),
             (QList<double>{100, 80, 40}));
    // Just outside on every side, and far away without overflow.
    for (const QPoint p :
         {QPoint(4, -2), QPoint(8, -2), QPoint(5, -3), QPoint(5, 1), QPoint(INT_MIN, INT_MAX)})
        QCOMPARE(img.value(p.x(), p.y()), 0.0);
    img.setValue(8, 0, 9.0); // outside: ignored
    img.setValue(7, -2, 9.5);
    QCOMPARE(img.value(7, -2), 9.5);
    QCOMPARE((QList<double>{img.minimum(), img.maximum()}), (QList<double>{10, 100}));
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

void TestImgFile::badPixels_data()
{
    // The raster of fill3x3 with the listed pixels corrected; the neighbour below counts only
    // after the first row, and beyond the last row it counts as 0.0.
    QTest::addColumn<QList<QPoint>>("bad");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QPoint>("offset");
    QTest::addColumn<int>("type");
    QTest::addColumn<QList<QPoint>>("at");
    QTest::addColumn<QList<double>>("expected");
    const auto row = [](const char *name, QList<QPoint> bad, bool enabled, QPoint offset, int type,
                        QList<QPoint> at, QList<double> expected) {
        QTest::newRow(name) << bad << enabled << offset << type << at << expected;
    };
    const int d = ImgFile::Double;
    // Top-left corner: (0, 1) fails the shifted row test, so only (1, 0) and (1, 1) count.
    row("corner", {{0, 0}}, true, {}, d, {{0, 0}}, {(10.0 + 40.0) / 2});
    row("top edge", {{1, 0}}, true, {}, d, {{1, 0}}, {(100.0 + 30.0 + 20.0 + 50.0) / 4});
    row("last row", {{1, 2}}, true, {}, d, {{1, 2}}, {(30.0 + 60 + 40 + 0 + 50 + 80) / 6});
    row("integer truncates", {{1, 2}}, true, {}, ImgFile::U16, {{1, 2}}, {43});
    // Listed neighbours are left out, also when already corrected.
    row("right column", {{2, 2}, {2, 1}}, true, {}, d, {{2, 2}, {2, 1}},
        {(40.0 + 70.0 + 0.0) / 3, (10.0 + 40.0 + 70.0 + 20.0) / 4});
    row("outside skipped", {{-1, 0}, {3, 3}}, true, {}, d, {{0, 0}, {2, 2}}, {100, 80});
    // A disabled list still corrects its pixels but no longer excludes listed neighbours;
    // (0, 2) is tested on row 0 and counts.
    const double centre = (100.0 + 30 + 60 + 10 + 70 + 20 + 50 + 80) / 8;
    row("disabled", {{1, 1}, {0, 1}}, false, {}, d, {{1, 1}, {0, 1}},
        {centre, (100.0 + 60.0 + 10.0 + centre + 70.0) / 5});
    row("enabled", {{1, 1}, {0, 1}}, true, {}, d, {{1, 1}, {0, 1}},
        {(100.0 + 60 + 10 + 70 + 20 + 50 + 80) / 7, (100.0 + 60.0 + 10.0 + 70.0) / 4});
    // Sensor coordinates: the offset is subtracted before use, also for the neighbour test.
    row("offset", {{11, 21}, {12, 22}}, true, {10, 20}, d, {{1, 1}, {2, 2}},
        {(100.0 + 30 + 60 + 10 + 70 + 20 + 50) / 7, (70.0 + 0.0 + 50.0) / 3});
}

void TestImgFile::badPixels()
{
    QFETCH(QList<QPoint>, bad);
    QFETCH(bool, enabled);
    QFETCH(QPoint, offset);
    QFETCH(int, type);
    QFETCH(QList<QPoint>, at);
    QFETCH(QList<double>, expected);
    BadPixelList list;
    for (const QPoint &p : bad)
        list.add(p.x(), p.y());
    list.setEnabled(enabled);
    ImgFile img;
    img.setBadPixelList(&list);
    img.setSensorOffset(offset.x(), offset.y());
    fill3x3(img, type);
    img.correctBadPixels();
    QList<double> got;
    for (const QPoint &p : at)
        got << img.value(p.x(), p.y());
    QCOMPARE(got, expected);
}

void TestImgFile::areaSums()
{
    ImgFile img;
    fill3x3(img, ImgFile::U32);
    QCOMPARE((QList<double>{img.sumAround(1, 1, 1, 1), img.sumAround(0, 0, 1, 1),
                            img.sumAround(2, 0, 0, 2), img.sumAround(10, 10, 1, 1)}),
             (QList<double>{460, 180, 20 + 50 + 80, 0}));
    QCOMPARE((QList<double>{img.meanOfRect(0, 0, 1, 1), img.meanOfRect(2, 2, 1, 1),
                            img.meanOfRect(0.9, 0.2, 2.0, 0.0), img.meanOfRect(0, 0, -1, 0)}),
             // Three of the four pixels of the second lie outside; the third is truncated.
             (QList<double>{45, 20, (100.0 + 10.0 + 20.0) / 3, 0}));
    img.setOrigin(-1, -1);
    QCOMPARE(img.sumAround(0, 0, 1, 1), 460.0);
    QCOMPARE(img.meanOfRect(-1, -1, 2, 2), 460.0 / 9);

    // No pixel listed: nothing changes; a pixel without counted neighbours becomes 0.
    BadPixelList list;
    ImgFile one;
    one.setBadPixelList(&list);
    QVERIFY(one.allocate(ImgFile::Double, 1, 1, 1024));
    one.setValue(0, 0, 7.0);
    one.correctBadPixels();
    const double untouched = one.value(0, 0);
    list.add(0, 0);
    one.correctBadPixels();
    QCOMPARE((QList<double>{untouched, one.value(0, 0)}), (QList<double>{7, 0}));
}

void TestImgFile::previewAndClear()
{
    ImgFile img;
    fill3x3(img, ImgFile::Double);
    QCOMPARE(img.displayFormat(), int(QImage::Format_Grayscale8));
    img.renderPreview();
    QVERIFY(img.preview() && img.preview()->format() == QImage::Format_Grayscale8);
    QCOMPARE(img.preview()->bytesPerLine(), 4);
    // The maximum, the minimum and (40 - 10) / 90.
    for (const auto &[x, y, grey] : {std::tuple{0, 0, 255}, {1, 0, 0}, {1, 1, 85}})
        QCOMPARE(qGray(img.preview()->pixel(x, y)), grey);

    img.setDisplayFormat(QImage::Format_RGB888);
    img.renderPreview();
    QVERIFY(img.preview()->format() == QImage::Format_RGB888 &&
            img.preview()->bytesPerLine() == 12);
    QCOMPARE(img.preview()->pixel(0, 0), qRgb(255, 255, 255));

    img.clear();
    QVERIFY(!img.preview() && !img.toRecord());
    QVERIFY(img.value(0, 0) == 0.0 && img.rowCount() == 0);
}

void TestImgFile::recordConversion()
{
    for (const ImgFile::PixelType type :
         {ImgFile::TiffU16, ImgFile::U16, ImgFile::U32, ImgFile::Float, ImgFile::TextD}) {
        ImgFile img;
        fill3x3(img, type);
        img.setOrigin(4, 4);
        img.setFileName(u"/data/run.E8979.5eV.tif"_s);
        const auto r = img.toRecord();
        QVERIFY(r);
        QCOMPARE(r->dataId(), u"run.E8979.5eV"_s);
        QCOMPARE((QList<double>{double(r->width()), double(r->height()), double(r->level()),
                                double(r->validCount()), r->value(0, 0), r->value(1, 0),
                                r->value(2, 1), r->value(2, 2)}),
                 (QList<double>{3, 3, 0, 9, 100, 10, 50, 80}));
        // A new record has seen its initial zeros.
        QCOMPARE(stats(*r), (QList<double>{0, 100, 10, 100}));
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
        QCOMPARE((QList<double>{img.minimum(), img.maximum()}), (QList<double>{0, 65535}));
        QCOMPARE(stats(*img.toRecord()), (QList<double>{0, 65535, 1, 65535}));
        img.setValue(20, 1, 401);
        QCOMPARE(img.toRecord()->minWithoutZeros(), 400.0);
    }
    // All zeros: the non-zero pair keeps its initial values.
    ImgFile zeros;
    QVERIFY(zeros.allocate(ImgFile::U16, 19, 1, 1 << 20));
    QCOMPARE(stats(*zeros.toRecord()), (QList<double>{0, 0, 1e300, -1e300}));
}

void TestImgFile::badPixelListFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"badpixels.txt"_s);
    QVERIFY(RecordFixtures::writeAll(
        path, "# camera 1\n12 34\n  5\t6   # hot\n\nnot a pair\n7 8 9\n12 34\n-1 2\n"));
    BadPixelList list;
    QVERIFY(list.loadFile(path) && list.isEnabled());
    QCOMPARE(list.pixels(), (QList<QPoint>{{12, 34}, {5, 6}, {-1, 2}}));
    QVERIFY(list.contains(5, 6) && !list.contains(6, 5));
    // A missing file leaves the list as it was.
    QVERIFY(!list.loadFile(path + u".none"_s));
    QCOMPARE(list.pixels().size(), 3);
}

QTEST_GUILESS_MAIN(TestImgFile)
#include "tst_imgfile.moc"
