// Manual test of the image display: generated images in image-base tabs, so that a person
// can try region drawing, the region list, wheel zoom, Shift-drag panning, marker dragging
// on the colour bar, the grey switch and tearing tabs out into windows.
#include "core/TDData.h"
#include "data/ImgBase.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"

#include <QApplication>
#include <QLabel>
#include <QPainter>

#include <cmath>
#include <memory>
#include <vector>

namespace {

std::unique_ptr<TDData> rings(int w, int h, double freq)
{
    auto rec = std::make_unique<TDData>(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const double r = std::hypot(x - w * 0.4, y - h * 0.6);
            const double v = std::sin(r * freq) * 100.0 + x * 0.2;
            // A diagonal stripe of invalid pixels.
            rec->setValue(x, y, v, std::abs(x - y) > 2);
        }
    rec->setDataId(QStringLiteral("rings %1").arg(freq));
    return rec;
}

// What a data entry does for its display: paint, re-colour, read out, keep the region.
void wire(ImgDisp *disp, TDData *rec)
{
    ColorBar *bar = disp->colorBar();
    const DisplayRange range = rec->displayRange();
    bar->setValueRange(range.low, range.high);
    bar->paintCBar();
    rec->makeImage(*bar);
    disp->setImageSize(rec->width(), rec->height());

    QObject::connect(disp, &ImgDisp::drawImage1, disp, [disp, rec](QPainter *p) {
        if (rec->image())
            disp->coord()->drawImage(p, *rec->image(), QRectF(0, 0, rec->width(), rec->height()));
    });
    auto recolour = [disp, bar, rec] {
        rec->makeImage(*bar);
        disp->canvas()->update();
    };
    QObject::connect(bar, &ColorBar::cBarUpdating, disp, recolour);
    QObject::connect(bar, &ColorBar::cBarUpdated, disp, recolour);
    QObject::connect(disp, &ImgDisp::mMovedWithin, disp, [disp, rec](double rx, double ry) {
        const int ix = int(std::floor(rx));
        const int iy = int(std::floor(ry));
        if (ix >= 0 && iy >= 0 && ix < rec->width() && iy < rec->height())
            disp->showPosVal(ix, iy, rec->value(ix, iy), rec->isValid(ix, iy));
    });
    QObject::connect(disp, &ImgDisp::newRegion, rec, &TDData::setRegion);
    QObject::connect(disp, &ImgDisp::regionCleared, rec, &TDData::regionCleared);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    std::vector<std::unique_ptr<TDData>> records;
    records.push_back(rings(2048, 2048, 0.02));
    records.push_back(rings(400, 300, 0.1));

    ImgBase base;
    for (const auto &rec : records) {
        auto *disp = new ImgDisp;
        wire(disp, rec.get());
        auto *hint = new QLabel(QStringLiteral(
            "Left drag: region, right click: clear, Shift+left drag: pan, wheel: zoom; "
            "drag the bar's markers; close a tab to get a window"));
        hint->setWordWrap(true);
        disp->addAdditionalWidget(hint, 0, 0);
        base.addDisplay(disp, rec->dataId());
    }
    base.show();
    // --grab FILE: a picture of the window instead of a session, for a look without a screen.
    const QStringList args = app.arguments();
    const qsizetype grab = args.indexOf(QStringLiteral("--grab"));
    if (grab > 0 && grab + 1 < args.size()) {
        QApplication::processEvents();
        return base.grab().save(args[grab + 1]) ? 0 : 1;
    }
    return app.exec();
}
