#pragma once

#include <QByteArray>
#include <QString>

class ImgFile;

// Reads a Hamamatsu HiPic IMG camera image: a 64-byte header, a text comment with
// "Key=value" entries, then little-endian 16-bit or 32-bit pixels.
class HpkImgReader
{
public:
    static bool read(const QString &fileName, ImgFile &img);

    // The value after key in the comment, up to the next comma or line end, unquoted;
    // defaultValue when the key is absent.
    static QString commentValue(const QByteArray &comment, const char *key,
                                const QString &defaultValue);
    // "10 ms", "0.5 s", "200 us" in milliseconds.
    static double exposureMilliseconds(const QString &text);
};
