#pragma once

#include <QString>

class ImgFile;

// Reads a table headed "# Size W H": H rows of W numbers (white space or commas between
// them), "#" comments and blank lines anywhere, an optional "# Origin X Y" before the data.
class SizeTableReader
{
public:
    static bool read(const QString &fileName, ImgFile &img);
};
