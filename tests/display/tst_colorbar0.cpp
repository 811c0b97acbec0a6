#include "core/TDData.h"
#include "display/ColorBar0.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <limits>
#include <utility>

namespace {

// Every pixel of the picture in each format against the one-pixel formula, with the image
// format and the row padding (whole words, left zero); the first difference, if any.
QString mismatch(TDData &rec, ColorBar0 &bar)
{
    const DisplayRange range = rec.displayRange();
    const std::pair<int, QImage::Format> formats[] = {
        {4, QImage::Format_RGB32}, {13, QImage::Format_RGB888}, {24, QImage::Format_Grayscale8}};
    for (const auto &[format, qformat] : formats) {
        bar.setPixelFormat(format);
        rec.makeImage(bar);
        const QImage &img = *rec.image();
        if (img.format() != qformat || img.size() != QSize(rec.width(), rec.height()))
            return QStringLiteral("format %1: image %2").arg(format).arg(img.format());
        for (int y = 0; y < img.height(); ++y)
            for (qsizetype b = img.width() * img.depth() / 8; b < img.bytesPerLine(); ++b)
                if (img.constScanLine(y)[b] != 0)
                    return QStringLiteral("format %1: padding of row %2").arg(format).arg(y);
        for (int i = 0; i < rec.pixelCount(); ++i) {
            const QColor want =
                bar.colorOf((rec.value(i) - range.low) / (range.high - range.low), rec.isValid(i));
            if (img.pixelColor(i % rec.width(), i / rec.width()) != want)
                return QStringLiteral("format %1 pixel %2 value %3")
                    .arg(format)
                    .arg(i)
                    .arg(rec.value(i), 0, 'g', 17);
        }
    }
    return QString();
}

} // namespace

class TstColorBar0 : public QObject
{
    Q_OBJECT

private slots:
    void tables();
    void entriesAndColours();
    void markersStretchTheRamp();
    void pixelBytesPerFormat();
    void rowLengthsAndBuffers();
    void makeImageCases();
    void makeImageMatchesPerPixelFormula();
};

void TstColorBar0::tables()
{
    const auto &grey = ColorBar0::greyTable();
    QCOMPARE((QList<int>{grey[0], grey[255], grey[256]}), (QList<int>{0, 255, 192}));

    const auto &ramp = ColorBar0::rampTable();
    auto rgb = [&ramp](int i) {
        return QColor(ramp[size_t(3 * i)], ramp[size_t(3 * i + 1)], ramp[size_t(3 * i + 2)]);
    };
    const std::pair<int, QColor> knots[] = {
        {0, {0, 0, 0}},       {255, {255, 0, 0}},   {256, {255, 1, 0}},     {383, {255, 128, 0}},
        {510, {255, 255, 0}}, {511, {255, 255, 1}}, {765, {255, 255, 255}}, {766, {255, 255, 255}}};
    for (const auto &[entry, colour] : knots)
        QCOMPARE(rgb(entry), colour);
    // The ramp never goes back: each channel is non-decreasing.
    for (int i = 1; i < ColorBar0::kRampSize; ++i)
        for (int c = 0; c < 3; ++c)
            QVERIFY(ramp[size_t(3 * i + c)] >= ramp[size_t(3 * (i - 1) + c)]);
    const auto &px = ColorBar0::rampPixels();
    QCOMPARE(px[383], qRgb(255, 128, 0));
    QCOMPARE(px[ColorBar0::kRampSize], qRgb(210, 220, 210));

    // Palette indices wrap around both ends.
    QCOMPARE(
        (QList<QColor>{ColorBar0::paletteColor(0), ColorBar0::paletteColor(3),
                       ColorBar0::paletteColor(8), ColorBar0::paletteColor(9),
                       ColorBar0::paletteColor(-1)}),
        (QList<QColor>{{255, 0, 0}, {255, 200, 0}, {0, 200, 255}, {255, 0, 0}, {0, 200, 255}}));
}

void TstColorBar0::entriesAndColours()
{
    ColorBar0 bar;
    QCOMPARE(bar.pixelFormat(), 4);
    QVERIFY(!bar.isGrayScale());
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QCOMPARE((QList<int>{bar.entryOfFraction(0.0, true), bar.entryOfFraction(0.5, true),
                         bar.entryOfFraction(1.0, true), bar.entryOfFraction(7.0, true),
                         bar.entryOfFraction(-3.0, true), bar.entryOfFraction(nan, true),
                         bar.entryOfIndex(900, true), bar.entryOfIndex(-4, true)}),
             (QList<int>{0, 383, 766, 766, 0, 0, 766, 0}));
    QCOMPARE((QList<QColor>{bar.colorOf(0.0), bar.colorOf(0.5), bar.colorOf(1.0),
                            bar.colorOf(0.5, false)}),
             (QList<QColor>{{0, 0, 0}, {255, 128, 0}, {255, 255, 255}, {210, 220, 210}}));

    bar.setValueRange(-10.0, 30.0);
    QCOMPARE(
        (QList<QColor>{bar.colorOfValue(-10.0), bar.colorOfValue(10.0), bar.colorOfValue(30.0)}),
        (QList<QColor>{{0, 0, 0}, {255, 128, 0}, {255, 255, 255}}));

    bar.setPixelFormat(24);
    QVERIFY(bar.isGrayScale());
    QCOMPARE((QList<int>{bar.entryOfFraction(1.0, true), bar.entryOfFraction(0.5, true),
                         bar.entryOfFraction(0.2, false)}),
             (QList<int>{255, 128, 256}));
    QCOMPARE((QList<QColor>{bar.colorOf(1.0), bar.colorOf(0.0), bar.colorOf(0.3, false)}),
             (QList<QColor>{{255, 255, 255}, {0, 0, 0}, {192, 192, 192}}));

    bar.setPixelFormat(6);
    QCOMPARE(bar.colorOf(1.0), QColor(0, 0, 0));
    QCOMPARE(bar.colorOf(1.0).alpha(), 255);
}

void TstColorBar0::markersStretchTheRamp()
{
    ColorBar0 bar;
    const QColor black(0, 0, 0), white(255, 255, 255);
    const auto colours = [&bar](double low, double high, std::initializer_list<double> at) {
        bar.setMarkers(low, high);
        QList<QColor> c;
        for (double f : at)
            c << bar.colorOf(f);
        return c;
    };
    QCOMPARE(colours(0.25, 0.75, {0.25, 0.1, 0.5, 0.75, 0.9}),
             (QList<QColor>{black, black, {255, 128, 0}, white, white}));
    // A lower marker above the upper one inverts the ramp.
    QCOMPARE(colours(1.0, 0.0, {0.0, 1.0}), (QList<QColor>{white, black}));
    // Two markers at one place: NaN at the marker takes the first entry.
    QCOMPARE(colours(0.5, 0.5, {0.5, 0.6, 0.4}), (QList<QColor>{black, white, black}));
}

void TstColorBar0::pixelBytesPerFormat()
{
    ColorBar0 bar;
    uchar buf[8];
    const auto bytes = [&buf](int n) { return QByteArray(reinterpret_cast<char *>(buf), n); };
    const double redFraction = 255.0 / 766.0 + 1e-9;
    QCOMPARE(bar.colorOf(redFraction), QColor(255, 0, 0));

    // Each write returns the next pixel's place and leaves the bytes beyond alone.
    std::fill(buf, buf + 8, uchar(9));
    QCOMPARE(bar.writePixel(buf, redFraction, true) - buf, 4);
    QCOMPARE(bytes(5), QByteArray("\x00\x00\xff\xff\x09", 5));
    bar.writePixel(buf, 0.0, false);
    QCOMPARE(bytes(4), QByteArray("\xd2\xdc\xd2\xff", 4));

    bar.setPixelFormat(5);
    QCOMPARE(bar.writePixel(buf, 1.0, true) - buf, 4);
    QCOMPARE(bytes(4), QByteArray("\xff\xff\xff\xff", 4));

    bar.setPixelFormat(13);
    std::fill(buf, buf + 8, uchar(9));
    uchar *next = bar.writePixel(buf, redFraction, true);
    QCOMPARE(bytes(4), QByteArray("\xff\x00\x00\x09", 4));
    QCOMPARE(bar.writePixel(next, 0.0, false) - buf, 6);
    QCOMPARE(bytes(7), QByteArray("\xff\x00\x00\xd2\xdc\xd2\x09", 7));

    bar.setPixelFormat(24);
    std::fill(buf, buf + 8, uchar(9));
    next = bar.writePixel(buf, 0.5, true);
    QCOMPARE(bar.writePixel(next, 0.5, false) - buf, 2);
    QCOMPARE(bytes(3), QByteArray("\x80\xc0\x09", 3));
}

void TstColorBar0::rowLengthsAndBuffers()
{
    using C = ColorBar0;
    // Rows are padded to whole 32-bit words.
    QCOMPARE((QList<int>{C::rowLength(3, 24), C::rowLength(3, 13), C::rowLength(5, 13),
                         C::rowLength(4, 24), C::rowLength(3, 4), C::rowLength(0, 4)}),
             (QList<int>{4, 12, 16, 4, 12, 0}));

    QVERIFY(!ColorBar0::newPixelBuffer(0, 5, 4) && !ColorBar0::newPixelBuffer(5, 0, 4));
    auto buf = ColorBar0::newPixelBuffer(3, 2, 13);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(buf.get()), 24), QByteArray(24, 0));

    QVERIFY(!ColorBar0::wrapBuffer(buf.get(), 3, 2, 6));
    const auto img = ColorBar0::wrapBuffer(buf.get(), 3, 2, 13);
    QCOMPARE(img->format(), QImage::Format_RGB888);
    QCOMPARE(img->bytesPerLine(), 12);
    QCOMPARE(img->constBits(), buf.get());
}

void TstColorBar0::makeImageCases()
{
    ColorBar0 bar;
    // 3 x 2 with one invalid pixel; the zero is left out of the display range (1, 5).
    TDData rec(3, 2);
    const double vals[6] = {0.0, 1.0, 3.0, 4.0, 5.0, 3.0};
    for (int i = 0; i < 6; ++i)
        rec.setValue(i, vals[i], i != 5);
    QCOMPARE(QPointF(rec.displayRange().low, rec.displayRange().high), QPointF(1, 5));
    QCOMPARE(mismatch(rec, bar), QString());
    // The values change, the picture follows; the same shape keeps the buffer.
    const uchar *first = rec.image()->constBits();
    for (int i = 0; i < 6; ++i)
        rec.setValue(i, 9.0 - vals[i], i != 2);
    rec.makeImage(bar);
    QCOMPARE(rec.image()->constBits(), first);
    QCOMPARE(mismatch(rec, bar), QString());

    TDData empty(0, 3);
    empty.makeImage(bar);
    QVERIFY(!empty.image());

    // All values equal and non-zero: range (0, v) from the with-zeros pair.
    TDData flat(2, 1);
    flat.setValue(0, 3.0, true);
    flat.setValue(1, 3.0, true);
    QCOMPARE(QPointF(flat.displayRange().low, flat.displayRange().high), QPointF(0, 3));
    QCOMPARE(mismatch(flat, bar), QString());

    // Range (-20, -13): the middle and the top fall exactly on entries 383 and 766 only
    // when each pixel takes the two divisions in turn; then both markers at one place.
    TDData line(3, 1);
    for (int i = 0; i < 3; ++i)
        line.setValue(i, -20.0 + 3.5 * i, true);
    QCOMPARE(mismatch(line, bar), QString());
    bar.setMarkers(0.5, 0.5);
    QCOMPARE(mismatch(line, bar), QString());
}

// Whole images against the per-pixel formula: integer data on a range that puts many values
// exactly on entry boundaries, random fractions, and the ends, NaN and infinities.
void TstColorBar0::makeImageMatchesPerPixelFormula()
{
    QRandomGenerator rng(11);
    for (int round = 0; round < 12; ++round) {
        const int w = 97, h = 9;
        TDData rec(w, h);
        const double base = double(rng.bounded(2000)) - 1000.0;
        const double step = round % 3 == 0 ? 1.0 : rng.generateDouble() * 0.37 + 0.01;
        for (int i = 0; i < w * h; ++i) {
            double v = base + step * double(i % 767);
            if (i % 11 == 0) v = base + rng.generateDouble() * step * 766.0;
            rec.setValue(i, v, i % 13 != 0);
        }
        // Written past the statistics, which they would otherwise take over.
        rec.values()[0] = std::numeric_limits<double>::quiet_NaN();
        rec.values()[1] = std::numeric_limits<double>::infinity();
        rec.values()[2] = -std::numeric_limits<double>::infinity();
        ColorBar0 bar;
        if (round % 2) bar.setMarkers(rng.generateDouble() * 0.4, 0.6 + rng.generateDouble() * 0.4);
        QCOMPARE(mismatch(rec, bar), QString());
    }
}

QTEST_GUILESS_MAIN(TstColorBar0)
#include "tst_colorbar0.moc"
