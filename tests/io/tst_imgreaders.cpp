#include "ImageTestFiles.h"

#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/ImgFile.h"
#include "io/KwnbCtReader.h"

#include <QImage>
#include <QImageReader>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

using namespace ImageTestFiles;
using namespace RecordFixtures;
using namespace Qt::StringLiterals;

namespace {

// Collects the debug log while alive.
class MessageLog
{
public:
    MessageLog() { s_current = this, m_previous = qInstallMessageHandler(&handler); }
    ~MessageLog() { qInstallMessageHandler(m_previous), s_current = nullptr; }
    bool contains(const QString &text) const { return all().contains(text); }
    QString all() const { return m_messages.join(u'\n'); }

private:
    static void handler(QtMsgType, const QMessageLogContext &, const QString &msg)
    {
        if (s_current) s_current->m_messages << msg;
    }
    static inline MessageLog *s_current = nullptr;
    QtMessageHandler m_previous = nullptr;
    QStringList m_messages;
};

// Several pixels or the extremes in one comparison.
QList<double> px(const ImgFile &img, std::initializer_list<QPoint> at)
{
    QList<double> v;
    for (const QPoint &p : at)
        v << img.value(p.x(), p.y());
    return v;
}
QList<double> range(const ImgFile &img)
{
    return {img.minimum(), img.maximum()};
}
// The reader, the pixel type, the size and the origin in one comparison.
QString kind(const ImgFile &img)
{
    return QString::asprintf("%s type %d %dx%d at %d,%d", qPrintable(img.formatName()),
                             img.pixelType(), img.width(), img.height(), img.originX(),
                             img.originY());
}

} // namespace

class TestImgReaders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void tiff16BitWithExposure();
    void tiffOtherLayouts_data();
    void tiffOtherLayouts();
    void tiffDeclinedLayouts();
    void hpkImg();
    void kwnbCt();
    void kwnbHeaderRules();
    void picturesAndRecords();
    void textMatrix();
    void sizeTable();
    void dispatchOrder();
    void badInputKeepsState();

private:
    QString path(const char *name) const { return m_dir.filePath(QLatin1String(name)); }
    QString text(const char *name, const QByteArray &content) const
    {
        return writeAll(path(name), content) ? path(name) : QString();
    }

    QTemporaryDir m_dir;
    BadPixelList m_noBadPixels;
};

void TestImgReaders::tiff16BitWithExposure()
{
    const QString file = path("cam.tif");
    QVERIFY(writeTiff(
        file, {.width = 5, .exposureSeconds = 0.025, .pages = 3},
        [](int x, int y, int page) { return x * 100 + y + (x == 4) * 60000 + page * 1000; }));
    ImgFile img;
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(kind(img), u"TIFF type 0 5x3 at 0,0"_s);
    QCOMPARE(px(img, {{2, 1}, {4, 2}}), (QList<double>{201, 60402}));
    QCOMPARE(range(img) << img.exposureTime(), (QList<double>{0, 60402, 25})); // first page only

    // Without an EXIF directory the exposure time stays at its initial 100 ms.
    QVERIFY(writeTiff(file, {.width = 5}, [](int x, int y, int) { return 10 * x + y; }));
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE((QList<double>{img.exposureTime(), img.value(4, 2)}), (QList<double>{100, 42}));
}

void TestImgReaders::tiffOtherLayouts_data()
{
    QTest::addColumn<int>("bits");
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("compression");
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("a"); // value at (0, 0)
    QTest::addColumn<double>("b"); // value at (1, 2)
    const auto row = [](const char *name, int bits, int format, int compression, int type, double a,
                        double b) {
        QTest::newRow(name) << bits << format << compression << type << a << b;
    };
    const int u = SAMPLEFORMAT_UINT, s = SAMPLEFORMAT_INT, f = SAMPLEFORMAT_IEEEFP;
    const int none = COMPRESSION_NONE, lzw = COMPRESSION_LZW;
    row("u8", 8, u, none, ImgFile::U16, 7, 250);
    row("s8", 8, s, none, ImgFile::Float, -7, 120);
    row("u32", 32, u, none, ImgFile::U32, 7, 4000000000.0);
    row("s32", 32, s, none, ImgFile::Double, -2000000000.0, 5);
    row("f32", 32, f, none, ImgFile::Float, -1.5, 0.25);
    row("f64", 64, f, none, ImgFile::Double, -1e-300, 0.1);
    row("u16 deflate", 16, u, COMPRESSION_ADOBE_DEFLATE, ImgFile::TiffU16, 65535, 3);
    row("u16 lzw", 16, u, lzw, ImgFile::TiffU16, 1, 2);
    row("f32 lzw", 32, f, lzw, ImgFile::Float, 3.5, -3.5);
}

void TestImgReaders::tiffOtherLayouts()
{
    QFETCH(int, bits);
    QFETCH(int, format);
    QFETCH(int, compression);
    QFETCH(int, type);
    QFETCH(double, a);
    QFETCH(double, b);
    const QString file = path("layout.tif");
    // A width that is not a multiple of the strip or word size.
    const TiffLayout layout{
        .width = 37, .height = 5, .bits = bits, .format = format, .compression = compression};
    QVERIFY(writeTiff(file, layout, [&](int x, int y, int) {
        return x == 0 && y == 0 ? a : x == 1 && y == 2 ? b : 1.0;
    }));
    ImgFile img;
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(kind(img), u"TIFF type %1 37x5 at 0,0"_s.arg(type));
    QCOMPARE(px(img, {{0, 0}, {1, 2}, {36, 4}}), (QList<double>{a, b, 1.0}));
    QCOMPARE(range(img), (QList<double>{std::min({a, b, 1.0}), std::max({a, b, 1.0})}));
}

void TestImgReaders::tiffDeclinedLayouts()
{
    // Colour and tiled files are left to Qt's TIFF support when it is installed.
    const bool qtTiff = QImageReader::supportedImageFormats().contains("tiff");
    for (const TiffLayout &layout : {TiffLayout{.bits = 8, .samples = 3},
                                     TiffLayout{.width = 20, .height = 18, .tiled = true}}) {
        const QString file = path("declined.tif");
        QVERIFY(writeTiff(file, layout, [](int x, int, int) { return x * 10; }));
        MessageLog log;
        ImgFile img;
        const bool read = img.read(file, &m_noBadPixels);
        QVERIFY(log.contains(u"TIFF layout not read here"_s));
        QCOMPARE(read, qtTiff);
        QVERIFY(read ? img.formatName().startsWith("picture"_L1)
                     : img.pixelType() == ImgFile::Nothing);
        if (read) QCOMPARE(img.value(2, 1), layout.bits == 8 ? 20.0 : 20.0 / 257);
    }
}

void TestImgReaders::hpkImg()
{
    const QString file = path("cam.img");
    QVERIFY(writeAll(file, hpkImgBytes(4, 3, 100, 200,
                                       "HiPic,1.0,[Acquisition],ExposureTime=250 us,"
                                       "BytesPerPixel=2,AcqMode=4",
                                       2, [](int x, int y) { return quint32(x + 10 * y); })));
    BadPixelList bad;
    bad.setEnabled(true);
    bad.add(101, 201); // sensor coordinates: image pixel (1, 1)
    ImgFile img;
    QVERIFY(img.read(file, &bad));
    QCOMPARE(kind(img), u"HPK IMG type 1 4x3 at 0,0"_s);
    QCOMPARE(QPoint(img.sensorOffsetX(), img.sensorOffsetY()), QPoint(100, 200));
    QCOMPARE(px(img, {{3, 2}, {1, 1}}) + range(img) << img.exposureTime(),
             (QList<double>{23, int((0 + 10 + 20 + 1 + 21 + 2 + 12 + 22) / 8.0), 0, 23, 0.25}));

    // Four bytes a pixel, seconds; and a comment without the keys (the default "0.1").
    QVERIFY(writeAll(file, hpkImgBytes(2, 2, 0, 0, "BytesPerPixel=4,ExposureTime=\"2 s\"", 4,
                                       [](int x, int y) { return 3000000000u + x + y; })));
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(img.pixelType(), int(ImgFile::U32));
    QCOMPARE((QList<double>{img.exposureTime(), img.value(1, 1)}), (QList<double>{2000, 3e9 + 2}));
    QVERIFY(writeAll(file, hpkImgBytes(2, 1, 0, 0, "nothing", 2, [](int x, int) { return x; })));
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(img.pixelType(), int(ImgFile::U16));
    QCOMPARE((QList<double>{img.exposureTime(), img.value(1, 0)}), (QList<double>{0.1, 1}));
}

void TestImgReaders::kwnbCt()
{
    // Three columns, two rows, the last line missing.
    const QString file = text("slice.dat", "#KWNB-CTImg v1\n# slice 12, reconstructed\n"
                                           "#RANGE_X0 = -1\n#  RANGE_X1:1   # inclusive\n\n"
                                           "RANGE_Y0 5\n# RANGE_Y1=6\n-1 5 0.002\r\n0 5 -0.5\r\n"
                                           "1 5 1e-3\r\n-1 6 0.01\r\n0 6 \"0.004\"\r\n");
    ImgFile img;
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(kind(img), u"KWNB CT type 3 3x2 at -1,5"_s);
    // A negative product becomes 0, a quoted item is read, the missing line and a pixel
    // outside read 0.
    QCOMPARE(px(img, {{-1, 5}, {0, 5}, {1, 5}, {-1, 6}, {0, 6}, {1, 6}, {2, 6}}),
             (QList<double>{1, 0, 0.5, 5, 2, 0, 0}));
    QCOMPARE(range(img) << img.toRecord()->value(0, 1), (QList<double>{0, 5, 5}));
}

void TestImgReaders::kwnbHeaderRules()
{
    KwnbCtReader::Range r;
    QCOMPARE(KwnbCtReader::readHeader(
                 "#KWNB-CTImg\nRANGE_X0 0\nRANGE_X1 3\nRANGE_Y0 0\nRANGE_Y1 0\n0 0 1\n", &r) +
                 r.x1,
             5 + 3);
    // A later line wins; a longer key is a comment when behind "#".
    QCOMPARE(KwnbCtReader::readHeader("#KWNB-CTImg\n#RANGE_X0 1\n#RANGE_X0 2\n#RANGE_X01 9\n"
                                      "#RANGE_X1 2\n#RANGE_Y0 0\n#RANGE_Y1 0\n",
                                      &r),
             7);
    QCOMPARE(r.x0, qint64(2));
    // Strict numbers, all four keys, non-empty ranges.
    for (const auto &[header, message] : {
             std::pair{"#RANGE_X0 1.5\n", "bad number for RANGE_X0"},
             {"#RANGE_X0 0 zero\n", ""},
             {"#RANGE_X0 0\n#RANGE_X1 1\n#RANGE_Y0 0\n", "RANGE_Y1 missing"},
             {"RANGE_X0 3\nRANGE_X1 1\nRANGE_Y0 0\nRANGE_Y1 0\n", ""},
             {"RANGE_X0 0\nRANGE_X1 99999999999\n", ""},
         }) {
        MessageLog log;
        QCOMPARE(KwnbCtReader::readHeader("#KWNB-CTImg\n"_ba + header, &r), -1);
        QVERIFY2(log.contains(QLatin1String(message)), header);
    }
    // A range the file cannot hold is refused before allocating it.
    MessageLog log;
    ImgFile img;
    QVERIFY(!img.read(text("huge.dat", "#KWNB-CTImg\nRANGE_X0 0\nRANGE_X1 2000000000\n"
                                       "RANGE_Y0 0\nRANGE_Y1 2000000000\n0 0 1\n"),
                      &m_noBadPixels));
    QVERIFY(log.contains(u"larger than the file can hold"_s));
}

void TestImgReaders::picturesAndRecords()
{
    ImgFile img;
    // A record file: doubles, invalid pixels keep their values.
    const QString rec = savedRecord(
        path("rec.zmp"), 3, 2, {}, [](qsizetype i) { return i == 5   ? -4.5
                                                            : i == 0 ? 8.25
                                                                     : 0; },
        [](qsizetype i) { return i != 0; });
    QVERIFY(img.read(rec, &m_noBadPixels));
    QCOMPARE(kind(img), u"2dData type 4 3x2 at 0,0"_s);
    QCOMPARE(px(img, {{2, 1}, {0, 0}}) + range(img), (QList<double>{-4.5, 8.25, -4.5, 8.25}));

    QImage grey(5, 4, QImage::Format_Grayscale8);
    grey.fill(9);
    grey.setPixel(3, 2, qRgb(200, 200, 200));
    QVERIFY(grey.save(path("grey.png")));
    QVERIFY(img.read(path("grey.png"), &m_noBadPixels));
    QCOMPARE(kind(img), u"picture (png) type 5 5x4 at 0,0"_s);
    QCOMPARE(px(img, {{3, 2}, {0, 0}}), (QList<double>{200, 9}));

    QImage deep(3, 1, QImage::Format_Grayscale16);
    const quint16 deepValues[3] = {65000, 1, 0};
    std::memcpy(deep.scanLine(0), deepValues, sizeof deepValues);
    QVERIFY(deep.save(path("deep.png")));
    QVERIFY(img.read(path("deep.png"), &m_noBadPixels));
    QCOMPARE(px(img, {{0, 0}, {1, 0}}), (QList<double>{65000, 1}));

    // A PNG header declaring far more pixels than its file could decode to is refused
    // before Qt allocates them.
    const QByteArray bomb = QByteArray::fromHex(
        "89504e470d0a1a0a0000000d494844520000ea600000ea600800000000a5b92a9e0000000c49444154789c"
        "6360181e000000c80001ad4076220000000049454e44ae426082");
    MessageLog log;
    QVERIFY(!img.read(text("bomb.png", bomb), &m_noBadPixels));
    QVERIFY(log.contains(u"larger than the file can hold (h,w) = 60000 60000"_s));
    QCOMPARE(img.value(0, 0), 65000.0); // the previous picture is still held

    QImage colour(2, 2, QImage::Format_RGB32);
    colour.fill(qRgb(255, 0, 0));
    QVERIFY(colour.save(path("colour.jpg"), "JPEG", 100));
    QVERIFY(img.read(path("colour.jpg"), &m_noBadPixels));
    QCOMPARE(img.formatName(), u"picture (jpeg)"_s);
    QVERIFY(qAbs(img.value(1, 1) - qGray(qRgb(255, 0, 0))) <= 3); // JPEG is lossy
}

void TestImgReaders::textMatrix()
{
    ImgFile img;
    const QString file = text("matrix.txt", "## 240301 written by the stage\n"
                                            "# X-NUM 4\n# comment\n# Y-NUM   3 \n"
                                            "0 0 1\n1,0,2\n2 0 3\n0 1 4\n1 1 5\n2 1 6\n0 2 7\n");
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(kind(img), u"text matrix type 6 3x2 at 0,0"_s);
    // The incomplete third row is dropped, but its value widened the extremes.
    QCOMPARE(px(img, {{1, 0}, {2, 1}, {0, 2}})
                 << img.maximum() << img.rowCount() << img.preview()->height(),
             (QList<double>{2, 6, 0, 7, 2, 2}));

    // Commas, short lines, and "#" lines inside the data are pixels.
    QVERIFY(img.read(text("m2.txt", "## 240301\n# Y-NUM 2\n# X-NUM 3\n1, 2, 3.5\n7 8\n"
                                    "# a b\n#x 1 -2\n\n9 9 nan9\n"),
                     &m_noBadPixels));
    QCOMPARE(img.rowCount(), 3);
    // (1, 2) is not a number.
    QCOMPARE(px(img, {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {1, 2}}), (QList<double>{3.5, 0, 0, -2, 0}));

    // X-NUM 1 makes the width 0: refused at the first data line; a shortened mark is not the
    // format (and no other reader takes these files).
    for (const char *refused : {"## 240301\n# X-NUM 1\n# Y-NUM 5\n1 1 1\n",
                                "## 2403\n# X-NUM 3\n# Y-NUM 3\n1 1 1\n1 1 1\n",
                                "## 240301\n# X-NUM many\n# Y-NUM 5\n1 1 1\n"})
        QVERIFY2(!img.read(text("m3.txt", refused), &m_noBadPixels), refused);
    QCOMPARE(img.value(1, 1), -2.0); // the last good file is still held

    // Only a data line checks the sizes: without one, even unusable sizes are accepted.
    QVERIFY(img.read(text("m4.txt", "## 240301\n# X-NUM many\n# comment\n"), &m_noBadPixels));
    QCOMPARE(kind(img) + QString::number(img.rowCount()), u"text matrix type 6 -1x0 at 0,00"_s);
    // A height that is no number does not stop the rows.
    QVERIFY(img.read(text("m5.txt", "## 240301\n# X-NUM 3\n# Y-NUM x\n1 1 1\n2 2 2\n3 3 3\n"),
                     &m_noBadPixels));
    QCOMPARE(kind(img), u"text matrix type 6 2x-1 at 0,0"_s);
    QCOMPARE(px(img, {{0, 0}, {1, 0}}) << img.rowCount(), (QList<double>{1, 2, 1}));
}

void TestImgReaders::sizeTable()
{
    ImgFile img;
    const QString file = text("table.txt", "# Size 3 2\n# Origin -4, 10\n# from the scan\n"
                                           "1 2 3   # first\n\n 4,5,\t6e2\n# end\n");
    QVERIFY(img.read(file, &m_noBadPixels));
    QCOMPARE(kind(img), u"# Size table type 6 3x2 at -4,10"_s);
    QCOMPARE(px(img, {{-4, 10}, {-2, 11}}) << img.maximum(), (QList<double>{1, 600, 600}));
    QVERIFY(img.read(text("t1.txt", "#Size: 2x1\n-1 1\n"), &m_noBadPixels));
    QCOMPARE(img.value(0, 0), -1.0);

    for (const auto &[content, message] : {
             std::pair{"# Size 2 2\n1 2\n3 x\n", "not a number"},
             {"# Size 2 2\n1 2\n3\n", "1 values instead of 2"},
             {"# Size 2 2\n1 2\n3 4 5\n", "too many values"},
             {"# Size 2 2\n1 2\n", "1 rows instead of 2"},
             {"# Size 2 1\n1 2\n3 4\n", "more than 1 rows"},
             {"# Size 0 1\n\n\n\n\n\n", "the first line must be"},
             {"# Size -2 1\n1 2\n", "the first line must be"},
             {"# Size 2\n1 2\n    \n", "the first line must be"},
             {"# Size 2 1\n# Origin 1\n1 2\n", "Origin"},
             {"# Size 100000 100000\n1 2\n", "larger than the file can hold"},
         }) {
        MessageLog log;
        QVERIFY2(!img.read(text("tbad.txt", content), &m_noBadPixels), content);
        QVERIFY2(log.contains(QLatin1String(message)), qPrintable(log.all()));
    }
    QCOMPARE(img.value(0, 0), -1.0);
}

void TestImgReaders::dispatchOrder()
{
    MessageLog log;
    ImgFile img;
    // 14 bytes are not enough to decide.
    QVERIFY(!img.read(text("short.bin", "IM345678901234"), &m_noBadPixels));
    QVERIFY(!img.read(path("missing.tif"), &m_noBadPixels));
    QVERIFY(log.contains(u"Error on reading file (1)"_s) && log.contains(u"Can not open (1)"_s));

    // "IM" goes to the HPK reader only, "II" and "MM" to the TIFF reader only.
    QVERIFY(!img.read(text("im.bin", "IM"_ba + QByteArray(40, '\x01')), &m_noBadPixels));
    QVERIFY(log.contains(u"Error on reading (4)"_s));
    QVERIFY(!log.contains(u"libtiff"_s) && !log.contains(u"Can not open (2)"_s));

    MessageLog tiffLog;
    QVERIFY(!img.read(text("ii.bin", "II*\0"_ba + QByteArray(40, '\x01')), &m_noBadPixels));
    QVERIFY(tiffLog.contains(u"Can not open (2)"_s) &&
            !tiffLog.contains(u"Error on reading (4)"_s));
    QVERIFY(!img.read(text("mm.bin", "MM\0*"_ba + QByteArray(40, '\x01')), &m_noBadPixels));

    // A valid HPK image whose comment looks like a TIFF header is still HPK.
    QVERIFY(writeAll(path("hpk.tif"),
                     hpkImgBytes(2, 1, 0, 0, "II*", 2, [](int x, int) { return quint32(x + 1); })));
    QVERIFY(img.read(path("hpk.tif"), &m_noBadPixels));
    QCOMPARE(img.formatName(), u"HPK IMG"_s);

    // Plain text no reader accepts ends in the text readers and fails.
    QVERIFY(!img.read(text("prose.txt", "Dear reader, this is not an image at all.\n"),
                      &m_noBadPixels));
    QCOMPARE(img.formatName(), u"HPK IMG"_s);
}

void TestImgReaders::badInputKeepsState()
{
    ImgFile img;
    TiffLayout layout{.width = 64, .height = 64};
    const QString good = path("good.tif");
    QVERIFY(writeTiff(good, layout, [](int x, int y, int) { return x + y; }));
    QVERIFY(img.read(good, &m_noBadPixels));
    const QByteArray tiffBytes = readAll(good);

    // Deflate data overwritten in the middle: the directory is intact, the rows are not.
    layout.compression = COMPRESSION_ADOBE_DEFLATE;
    QVERIFY(writeTiff(path("deflated.tif"), layout,
                      [](int x, int y, int) { return (x * 7919 + y * 104729) % 65536; }));
    const QByteArray brokenDeflate =
        readAll(path("deflated.tif")).replace(20, 200, QByteArray(200, '\xff'));
    const QByteArray hpk =
        hpkImgBytes(64, 64, 0, 0, "BytesPerPixel=2", 2, [](int x, int) { return quint32(x); });
    const QByteArray hpk32 =
        hpkImgBytes(8, 8, 0, 0, "BytesPerPixel=4", 4, [](int x, int) { return quint32(x); });
    QByteArray huge = hpkImgBytes(1, 1, 0, 0, "", 2, [](int, int) { return 1u; });
    qToLittleEndian<quint16>(65535, huge.data() + 4);
    qToLittleEndian<quint16>(65535, huge.data() + 6);
    QByteArray longComment = hpk;
    qToLittleEndian<quint16>(60000, longComment.data() + 2);

    // A TIFF whose only directory has size tags (64 x 64, 16 bits, grey) but no strips.
    const QByteArray noData =
        QByteArray::fromHex("49492a00080000000400000103000100000040000000010103000100000040000000"
                            "02010300010000001000000006010300010000000100000000000000");

    const struct
    {
        const char *name;
        QByteArray bytes;
        const char *message;
    } cases[] = {
        {"cut.tif", tiffBytes.left(tiffBytes.size() / 2), "Can not open (2)"},
        {"broken.tif", brokenDeflate, "Error on reading (5)"},
        {"cut2.tif", tiffBytes.left(200), "libtiff"},
        {"nodata.tif", noData, "libtiff"},
        {"cut.img", hpk.left(hpk.size() - 1), "Error on reading (3)"},
        {"cut32.img", hpk32.left(hpk32.size() - 3), "Error on reading (2)"},
        {"huge.img", huge, "invalid file size. expected (h,w) = "},
        {"comment.img", longComment, "Error on reading (4)"},
        {"empty.img", hpkImgBytes(0, 5, 0, 0, "", 2, [](int, int) { return 0u; }) + "padding...",
         "invalid image size"},
        {"garbage.dat", "#KWNB-CTImg"_ba + QByteArray("\xff\xfe\x00\x01", 4).repeated(9),
         "KWNB CT header"},
        {"garbage.zmp", "2dData-V0.0 HeaderSize: 99999999\n"_ba + QByteArray(30, '\xee'),
         ""}, // refused silently: its header cannot describe the file
    };
    for (const auto &c : cases) {
        MessageLog log;
        QVERIFY2(!img.read(text(c.name, c.bytes), &m_noBadPixels), c.name);
        QVERIFY2(log.contains(QLatin1String(c.message)), qPrintable(c.name + log.all()));
        // Nothing of what was loaded before changed.
        QCOMPARE(img.fileName(), good);
        QCOMPARE(kind(img) + u' ' + QString::number(img.value(63, 63)),
                 u"TIFF type 0 64x64 at 0,0 126"_s);
    }
}

QTEST_GUILESS_MAIN(TestImgReaders)
#include "tst_imgreaders.moc"
