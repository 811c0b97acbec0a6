#pragma once

#include "core/PixelBuffer.h"

#include <QImage>
#include <QString>

#include <cfloat>
#include <cmath>
#include <memory>
#include <vector>

class BadPixelList;
class TDDataWL;

// A typed raster read from an image file, with running extremes, exposure time and a
// rendered preview. read() picks the reader from the file's first bytes.
class ImgFile
{
public:
    enum PixelType {
        TiffU16 = 0,  // unsigned 16-bit from a TIFF
        U16 = 1,      // unsigned 16-bit
        U32 = 2,      // unsigned 32-bit
        Float = 3,    // 32-bit float
        Double = 4,   // double (2dData files, signed and 64-bit TIFFs)
        PictureD = 5, // double (pictures read by Qt)
        TextD = 6,    // double (text matrices and tables)
        Nothing = 7,  // nothing read yet
    };

    ImgFile();
    ~ImgFile();
    ImgFile(const ImgFile &) = delete;
    ImgFile &operator=(const ImgFile &) = delete;
    ImgFile(ImgFile &&other) noexcept;
    ImgFile &operator=(ImgFile &&other) noexcept;

    // Non-zero on success. On failure the object keeps what it held before (except that a
    // given bad-pixel list is used from now on).
    int read(const QString &fileName, BadPixelList *badPixels = nullptr);

    double value(int x, int y) const;
    void setValue(int x, int y, double v);
    void correctBadPixels();
    void renderPreview();
    void clear();
    double sumAround(int x, int y, int halfWidthX, int halfWidthY) const;
    double meanOfRect(double x0, double y0, double widthM1, double heightM1) const;

    // A record named after the file, every pixel valid; null when nothing was read.
    std::unique_ptr<TDDataWL> toRecord() const;

    const QString &fileName() const { return m_fileName; }
    // Which reader accepted the file ("TIFF", "HPK IMG", ...); empty before a read.
    const QString &formatName() const { return m_formatName; }
    int displayFormat() const { return m_displayFormat; }
    void setDisplayFormat(int format) { m_displayFormat = format; }
    int width() const { return int(m_width); }
    int height() const { return m_height; }
    // Rows actually held; the text matrix may hold fewer or more than height().
    int rowCount() const { return m_rowCount; }
    int sensorOffsetX() const { return m_sensorX; }
    int sensorOffsetY() const { return m_sensorY; }
    int originX() const { return m_originX; }
    int originY() const { return m_originY; }
    double minimum() const { return m_min; }
    double maximum() const { return m_max; }
    double exposureTime() const { return m_exposureMs; }
    int pixelType() const { return m_pixelType; }
    const QImage *preview() const { return m_preview.get(); }
    BadPixelList *badPixelList() const { return m_badPixels; }
    void setBadPixelList(BadPixelList *list) { m_badPixels = list; }

    static int elementSize(int pixelType);
    // Double to float without the undefined behaviour of out-of-range values.
    static float narrowed(double v)
    {
        return v > double(FLT_MAX) ? HUGE_VALF : v < -double(FLT_MAX) ? -HUGE_VALF : float(v);
    }

    // For the readers: a zeroed raster of the given type. Fails (with a debug message) when
    // the size is not positive or would take more than maxBytes.
    bool allocate(PixelType type, int width, int height, qint64 maxBytes);
    // Replaces the raster by rows already gathered (row-major doubles, width each).
    void adoptDoubleRows(PixelType type, int width, int height, const std::vector<double> &rows,
                         int rowCount);
    template <typename T> T *row(int y)
    {
        return reinterpret_cast<T *>(m_raster.data() + qsizetype(y) * m_rowBytes);
    }
    template <typename T> const T *row(int y) const
    {
        return reinterpret_cast<const T *>(m_raster.data() + qsizetype(y) * m_rowBytes);
    }
    void widen(double v)
    {
        if (v < m_min) m_min = v;
        if (v > m_max) m_max = v;
    }
    void widenRows(int firstRow, int count);
    void setFileName(const QString &name) { m_fileName = name; }
    void setFormatName(const QString &name) { m_formatName = name; }
    void setSensorOffset(int x, int y)
    {
        m_sensorX = x;
        m_sensorY = y;
    }
    void setOrigin(int x, int y)
    {
        m_originX = x;
        m_originY = y;
    }
    void setExposureTime(double ms) { m_exposureMs = ms; }

private:
    bool inside(int col, int rowIndex) const
    {
        return col >= 0 && col < int(m_width) && rowIndex >= 0 && rowIndex < m_rowCount;
    }
    double stored(int col, int rowIndex) const;
    double neighbourMean(int x, int y) const;
    int dispatch(const QString &fileName);
    void swap(ImgFile &other) noexcept;

    int m_displayFormat = QImage::Format_Grayscale8;
    QString m_fileName;
    quint32 m_width = 0;
    qint32 m_height = 0;
    qint32 m_sensorX = 0;
    qint32 m_sensorY = 0;
    BadPixelList *m_badPixels = nullptr;
    double m_min = DBL_MAX;
    double m_max = -DBL_MAX;
    // One contiguous block of m_rowCount rows; contiguous rows let conversion run flat out.
    PixelBuffer<quint8> m_raster;
    qsizetype m_rowBytes = 0;
    int m_rowCount = 0;
    std::unique_ptr<uchar[]> m_previewBuffer;
    std::unique_ptr<QImage> m_preview;
    double m_exposureMs = 100.0;
    qint32 m_originX = 0;
    qint32 m_originY = 0;
    int m_pixelType = Nothing;
    QString m_formatName;
};
