#pragma once

#include <QString>

class ImgFile;

// Reads any picture Qt's image plugins understand (PNG, JPEG, ...) as grey levels: the
// stored level of grey pictures, the luminance (qGray) of colour ones.
class PictureReader
{
public:
    static bool read(const QString &fileName, ImgFile &img);
};
