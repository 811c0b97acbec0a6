// The image file dispatch on arbitrary bytes: every reader (2dData, TIFF, HPK IMG, KWNB CT,
// pictures, text matrix, # Size table) and the conversion into a record.
#include "FuzzSupport.h"
#include "core/TDDataWL.h"
#include "io/BadPixelList.h"
#include "io/ImageLoader.h"
#include "io/ImgFile.h"

#include <QFile>

#include <cstdint>

namespace {

BadPixelList &badPixels()
{
    static BadPixelList list = [] {
        BadPixelList l;
        l.setEnabled(true);
        l.add(0, 0);
        l.add(1, 1);
        l.add(2, 0);
        return l;
    }();
    return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceQtMessages();
    const QString path = FuzzSupport::writeScratch("input.img", data, size);
    if (path.isEmpty()) return 0;
    const ImageLoader::Result r = ImageLoader::load(path, &badPixels());
    if (r.record && r.record->pixelCount() > 0) (void)r.record->value(r.record->pixelCount() - 1);

    // The object's own operations on whatever was read.
    ImgFile img;
    if (img.read(path, &badPixels())) {
        const int x = img.originX() + img.width() / 2;
        const int y = img.originY() + img.height() / 2;
        (void)img.sumAround(x, y, 2, 1);
        (void)img.meanOfRect(x - 1, y - 1, 2, 2);
        img.setValue(x, y, -1e300);
        img.renderPreview();
    }
    return 0;
}
