#pragma once

#include <QByteArray>
#include <QString>

class ImgFile;

// Reads a KWNB CT slice written as text: a "#KWNB-CTImg" header giving the pixel range, then
// one "x y value" line per pixel, rows after rows.
class KwnbCtReader
{
public:
    struct Range
    {
        qint64 x0 = 0;
        qint64 x1 = -1;
        qint64 y0 = 0;
        qint64 y1 = -1;
    };

    static bool read(const QString &fileName, ImgFile &img);

    // Parses the header at the start of text; returns the number of header lines, or -1
    // (with a debug message) when the header is not acceptable.
    static int readHeader(const QByteArray &text, Range *range);
};
