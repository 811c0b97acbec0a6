#pragma once

#include <QString>

#include <memory>

class BadPixelList;
class TDDataWL;

// Loads any file the program reads into a record, the way the main window does: as a
// 2dData record first, otherwise through the image file dispatch, named after the file.
class ImageLoader
{
public:
    struct Result
    {
        std::unique_ptr<TDDataWL> record; // null on failure
        QString error;                    // why, on failure
        QString format;                   // "2dData", "TIFF", "HPK IMG", ...
        int pixelType = -1;               // of the image file object; -1 for 2dData records
        double exposureTime = 0.0;        // milliseconds; 0.0 for 2dData records
    };

    static Result load(const QString &fileName, BadPixelList *badPixels = nullptr);
};
