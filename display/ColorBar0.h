#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QRgb>

#include <array>
#include <cstdint>
#include <memory>

// Widget-free colour mapping: maps a fraction of a value range, stretched between two
// markers, to a colour-ramp or grey entry and writes it as image pixels. The bar picture
// and the dragging gestures live in the widget that derives from this class, because a
// QPixmap needs a GUI application and zelmap-cli has none.
class ColorBar0
{
public:
    static constexpr int kRampSize = 767; // black-red-yellow-white
    static constexpr int kGreySize = 257; // entry 256 is the invalid grey
    static constexpr int kInvalidGrey = 192;
    static constexpr int kFormatRgb32 = 4;       // QImage::Format_RGB32
    static constexpr int kFormatArgb32 = 5;      // QImage::Format_ARGB32
    static constexpr int kFormatRgb888 = 13;     // QImage::Format_RGB888
    static constexpr int kFormatGrayscale8 = 24; // QImage::Format_Grayscale8

    // The shared tables: built on first use, read-only afterwards.
    static const std::array<uchar, kGreySize> &greyTable();
    static const std::array<uchar, 3 * kRampSize> &rampTable();
    // The ramp as opaque 32-bit pixels (0xffRRGGBB); entry kRampSize is the invalid colour.
    static const std::array<quint32, kRampSize + 1> &rampPixels();
    static QColor invalidColor() { return QColor(210, 220, 210); }
    static const QList<QColor> &markerPalette();
    // Entry n modulo the palette's length.
    static QColor paletteColor(int n);

    static int bytesPerPixel(int format);
    // Bytes per pixel times width, rounded up to a multiple of 4.
    static int rowLength(int width, int format);
    // Zero-filled rowLength x height bytes; null when that is below 1.
    static std::unique_ptr<uchar[]> newPixelBuffer(int width, int height, int format);
    // A picture over the caller's buffer (which stays the caller's); null for other formats.
    static std::unique_ptr<QImage> wrapBuffer(uchar *buffer, int width, int height, int format);
    static bool isSupportedFormat(int format);

    int pixelFormat() const { return m_pixelFormat; }
    void setPixelFormat(int format) { m_pixelFormat = format; }
    bool isGrayScale() const { return m_pixelFormat == kFormatGrayscale8; }

    double lowerMarker() const { return m_lowerMarker; }
    double upperMarker() const { return m_upperMarker; }
    void setLowerMarker(double f) { m_lowerMarker = f; }
    void setUpperMarker(double f) { m_upperMarker = f; }
    void setMarkers(double lower, double upper)
    {
        m_lowerMarker = lower;
        m_upperMarker = upper;
    }

    double valueMin() const { return m_valueMin; }
    double valueMax() const { return m_valueMax; }
    void setValueRange(double min, double max)
    {
        m_valueMin = min;
        m_valueMax = max;
    }

    bool isDragging() const { return m_dragging; }
    bool isDraggingLower() const { return m_draggingLower; }
    void setDragging(bool dragging) { m_dragging = dragging; }
    void setDraggingLower(bool lower) { m_draggingLower = lower; }

    // Entry of a fraction t of the ramp (0..1): grey index 0..255 (256 when invalid) or
    // ramp index 0..766 (kRampSize when invalid, meaning the invalid colour).
    int entryOfFraction(double t, bool valid) const;
    // The same for an entry index given directly, limited to the table.
    int entryOfIndex(int i, bool valid) const;
    // Colour of an entry as returned by the two functions above.
    QColor colorOfEntry(int entry) const;

    // Fraction of the bar's value range -> fraction of the ramp between the markers, 0..1.
    double stretched(double f) const;
    // Writes the pixel of fraction f at dst in the pixel format; returns the next position.
    uchar *writePixel(uchar *dst, double f, bool valid) const;
    // Opaque colour of fraction f; grey gives (g, g, g), an unknown format black.
    QColor colorOf(double f, bool valid = true) const;
    // Colour of a data value through the bar's value range.
    QColor colorOfValue(double v, bool valid = true) const;

    // Renders width x height values (row-major) whose fractions are (v - low) / (high - low)
    // into buffer, rows rowLength() apart. Padding bytes are left untouched.
    void writeImage(uchar *buffer, const double *values, const quint8 *validFlags, int width,
                    int height, double low, double high) const;

private:
    int m_pixelFormat = kFormatRgb32;
    double m_lowerMarker = 0.0;
    double m_upperMarker = 1.0;
    double m_valueMin = 0.0;
    double m_valueMax = 1.0;
    bool m_dragging = false;
    bool m_draggingLower = true;
};
