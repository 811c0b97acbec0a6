#pragma once

#include <QString>

class ImgFile;

// Reads the first page of a TIFF through libtiff into an image file object.
class TiffReader
{
public:
    // Declined: a layout this reader does not handle (colour, tiles, palettes, odd bit
    // depths), which another reader may still read.
    enum class Result { Read, Declined, Failed };

    static Result read(const QString &fileName, ImgFile &img);
};
