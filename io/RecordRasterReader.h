#pragma once

#include <QString>

class ImgFile;

// Reads the values of a 2dData record file into a double raster (validity flags are not
// kept: every pixel of an image file is valid).
class RecordRasterReader
{
public:
    static bool read(const QString &fileName, ImgFile &img);
};
