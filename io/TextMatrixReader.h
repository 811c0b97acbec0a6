#pragma once

#include <QString>

class ImgFile;

// Reads the text matrix headed "## 240301": "# X-NUM" and "# Y-NUM" header lines, then one
// pixel per line, its value the third item of the line.
class TextMatrixReader
{
public:
    static bool read(const QString &fileName, ImgFile &img);
};
