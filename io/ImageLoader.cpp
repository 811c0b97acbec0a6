#include "io/ImageLoader.h"

#include "core/TDDataHeader.h"
#include "core/TDDataWL.h"
#include "io/ImgFile.h"

#include <QDebug>

ImageLoader::Result ImageLoader::load(const QString &fileName, BadPixelList *badPixels)
{
    Result result;
    if (TDDataHeader::read(fileName).accepted) {
        auto record = std::make_unique<TDDataWL>(0, 0);
        if (record->load(fileName)) {
            result.record = std::move(record);
            result.format = QStringLiteral("2dData");
            return result;
        }
    }
    ImgFile img;
    if (!img.read(fileName, badPixels)) {
        qDebug() << "it's not img data of HPK or tiff" << fileName;
        result.error = QStringLiteral("not a file Zelmap can read");
        return result;
    }
    result.record = img.toRecord();
    if (!result.record) {
        result.error = QStringLiteral("the file holds no pixels");
        return result;
    }
    result.format = img.formatName();
    result.pixelType = img.pixelType();
    result.exposureTime = img.exposureTime();
    return result;
}
