#include "core/TDData.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDataStream>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <memory>

namespace {

QPointF lastPoint(const QSignalSpy &spy)
{
    return {spy.last().at(0).toDouble(), spy.last().at(1).toDouble()};
}

// QPointF compares its coordinates as loosely as QCOMPARE compares doubles.
QList<QPointF> corners(const ChCoord::Area &a)
{
    return {{a.x0, a.y0}, {a.x1, a.y1}};
}

} // namespace

class TstImgDisp : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void formAndTexts();
    void regionDrawing();
    void rightPressClears();
    void regionList();
    void greySwitch();
    void wheelZoomAndReset();
    void screenshot();

private:
    // Image size = canvas size - 1, so that data coordinates equal canvas pixels.
    void fitImageToCanvas();
    void wheel(const QPoint &pos, int deltaY);
    std::unique_ptr<ImgDisp> m_disp;
    DispA *m_canvas = nullptr;
};

void TstImgDisp::init()
{
    m_disp = std::make_unique<ImgDisp>();
    m_disp->resize(500, 450);
    m_disp->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_disp.get()));
    m_canvas = m_disp->canvas();
    fitImageToCanvas();
}

void TstImgDisp::cleanup()
{
    m_disp.reset();
}

void TstImgDisp::fitImageToCanvas()
{
    m_disp->setImageSize(m_canvas->width() - 1, m_canvas->height() - 1);
}

void TstImgDisp::wheel(const QPoint &pos, int deltaY)
{
    QWheelEvent ev(QPointF(pos), QPointF(m_canvas->mapToGlobal(pos)), QPoint(), QPoint(0, deltaY),
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(m_canvas, &ev);
}

void TstImgDisp::formAndTexts()
{
    QCOMPARE(m_disp->windowTitle(), QStringLiteral("Frame"));
    for (const char *name :
         {"gridLayout", "ImgDispA", "CBar", "frame", "Region", "Regions", "ScaleReset",
          "SetARegion", "line", "GrayScale", "DelARegion", "AdditionalLayoutFrame",
          "AdditionalLayout", "gridLayout_2", "gridLayout_4"})
        QVERIFY2(m_disp->findChild<QObject *>(QLatin1String(name)), name);
    QCOMPARE(m_disp->findChild<QPushButton *>(QStringLiteral("ScaleReset"))->text(),
             QStringLiteral("Scale Reset"));
    QCOMPARE(m_disp->findChild<QCheckBox *>(QStringLiteral("GrayScale"))->text(),
             QStringLiteral("Grey"));
    QVERIFY(m_disp->colorBar()->minimumWidth() >= 20);
    QCOMPARE(m_disp->regionRect(), QRect(0, 0, 0, 0));
    QCOMPARE(m_disp->regionRect().right(), -1);

    const auto posVal = [this](int x, int y, double v, bool valid) {
        m_disp->showPosVal(x, y, v, valid);
        return m_disp->posValText();
    };
    QCOMPARE(posVal(3, 4, 1.5, false), QStringLiteral("-- (3, 4)"));
    QCOMPARE(posVal(3, 4, 1.5, true), QStringLiteral("1.5 (3, 4)"));
    QCOMPARE(posVal(0, 7, 1234567.0, true), QStringLiteral("1.23457e+06 (0, 7)"));

    auto *extra = new QLabel(QStringLiteral("extra"));
    m_disp->addAdditionalWidget(extra, 1, 2);
    auto *frame = m_disp->findChild<QFrame *>(QStringLiteral("AdditionalLayoutFrame"));
    QVERIFY(frame->isAncestorOf(extra));
    // The layout shows a widget added to a visible window on the next turn of the loop.
    QTRY_VERIFY(extra->isVisible());
    m_disp->showAdditional(false);
    QVERIFY(!extra->isVisible());
    m_disp->showAdditional(true);
    QVERIFY(extra->isVisible());

    QSignalSpy closing(m_disp.get(), &ImgDisp::closing);
    m_disp->close();
    QCOMPARE(closing.count(), 1);
}

void TstImgDisp::regionDrawing()
{
    QSignalSpy regions(m_disp.get(), &ImgDisp::newRegion);
    QSignalSpy pressed(m_disp.get(), &ImgDisp::mPressedWithin);
    QSignalSpy moved(m_disp.get(), &ImgDisp::mMovedWithin);
    QSignalSpy released(m_disp.get(), &ImgDisp::mReleasedWithin);

    // Drag from lower right to upper left: the corners are sorted.
    QTest::mousePress(m_canvas, Qt::LeftButton, {}, QPoint(40, 30));
    QCOMPARE(m_disp->regionState(), 1);
    QCOMPARE(pressed.count(), 1);
    QCOMPARE(lastPoint(pressed), QPointF(40, 30));
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(40, 30)-(39, 29)"));
    QTest::mouseMove(m_canvas, QPoint(25, 45));
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(25, 30)-(39, 44)"));
    QVERIFY(moved.count() >= 1);
    QCOMPARE(lastPoint(moved), QPointF(25, 45));
    QTest::mouseMove(m_canvas, QPoint(20, 50));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(20, 50));
    QCOMPARE(m_disp->regionState(), 2);
    QCOMPARE(regions.count(), 1);
    const QRect r = regions.last().at(0).toRect();
    QCOMPARE(r, QRect(20, 30, 20, 20));
    QCOMPARE(m_disp->regionRect(), r);
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(20, 30)-(39, 49)"));
    QCOMPARE(released.count(), 1);
    QCOMPARE(lastPoint(released), QPointF(20, 50));

    // A click without moving, or a drag along one row, holds no pixel: the region stays.
    QTest::mouseClick(m_canvas, Qt::LeftButton, {}, QPoint(12, 34));
    QTest::mousePress(m_canvas, Qt::LeftButton, {}, QPoint(60, 34));
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(60, 34)-(59, 33)"));
    QTest::mouseMove(m_canvas, QPoint(90, 34));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(90, 34));
    QCOMPARE(m_disp->regionState(), 2);
    QCOMPARE(regions.count(), 1);
    QCOMPARE(m_disp->regionRect(), r);
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(20, 30)-(39, 49)"));

    // Moves without a button, or a Ctrl drag, leave the region alone but still report.
    const int before = moved.count();
    QTest::mouseMove(m_canvas, QPoint(60, 70));
    QCOMPARE(moved.count(), before + 1);
    QTest::mousePress(m_canvas, Qt::LeftButton, Qt::ControlModifier, QPoint(60, 70));
    QTest::mouseMove(m_canvas, QPoint(90, 95));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, Qt::ControlModifier, QPoint(90, 95));
    QCOMPARE(regions.count(), 1);
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(20, 30)-(39, 49)"));
    QCOMPARE(pressed.count(), 4);
    QCOMPARE(released.count(), 4);

    // With no region before, a click leaves none.
    QTest::mouseClick(m_canvas, Qt::RightButton, {}, QPoint(5, 5));
    QTest::mouseClick(m_canvas, Qt::LeftButton, {}, QPoint(12, 34));
    QCOMPARE(m_disp->regionState(), 0);
    QCOMPARE(m_disp->regionLabel(), QString());
}

void TstImgDisp::rightPressClears()
{
    QSignalSpy cleared(m_disp.get(), &ImgDisp::regionCleared);
    QTest::mousePress(m_canvas, Qt::LeftButton, {}, QPoint(10, 10));
    QTest::mouseMove(m_canvas, QPoint(30, 40));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(30, 40));
    QCOMPARE(m_disp->regionState(), 2);
    const ChCoord::Area before = m_disp->coord()->dataRange();

    QTest::mouseClick(m_canvas, Qt::RightButton, Qt::ShiftModifier, QPoint(50, 50));
    QCOMPARE(cleared.count(), 0);
    QCOMPARE(m_disp->regionState(), 2);
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(10, 10)-(29, 39)"));

    QTest::mousePress(m_canvas, Qt::RightButton, {}, QPoint(50, 50));
    QCOMPARE(cleared.count(), 1);
    QCOMPARE(m_disp->regionState(), 0);
    QCOMPARE(m_disp->regionLabel(), QString());
    QCOMPARE(m_disp->regionRect(), QRect());
    // The release must not zoom the view to a rectangle of no size.
    QTest::mouseMove(m_canvas, QPoint(51, 50));
    QTest::mouseRelease(m_canvas, Qt::RightButton, {}, QPoint(51, 50));
    QCOMPARE(corners(m_disp->coord()->dataRange()), corners(before));
}

void TstImgDisp::regionList()
{
    auto *list = m_disp->findChild<QComboBox *>(QStringLiteral("Regions"));
    auto *add = m_disp->findChild<QPushButton *>(QStringLiteral("SetARegion"));
    auto *del = m_disp->findChild<QPushButton *>(QStringLiteral("DelARegion"));

    // Nothing drawn: adding and deleting do nothing.
    QTest::mouseClick(add, Qt::LeftButton);
    QCOMPARE(list->count(), 0);
    QTest::mouseClick(del, Qt::LeftButton);
    QCOMPARE(list->count(), 0);

    auto drag = [this](QPoint a, QPoint b) {
        QTest::mousePress(m_canvas, Qt::LeftButton, {}, a);
        QTest::mouseMove(m_canvas, b);
        QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, b);
    };
    drag(QPoint(5, 6), QPoint(15, 26));
    QTest::mouseClick(add, Qt::LeftButton);
    QCOMPARE(list->count(), 1);
    QCOMPARE(list->itemText(0), QStringLiteral("(5,6)-(14,25)"));
    drag(QPoint(40, 41), QPoint(50, 61));
    QTest::mouseClick(add, Qt::LeftButton);
    drag(QPoint(70, 71), QPoint(72, 74));
    QTest::mouseClick(add, Qt::LeftButton);
    QCOMPARE(list->count(), 3);
    QCOMPARE(list->currentIndex(), 0);
    QCOMPARE(m_disp->regions(),
             (QList<QRect>{QRect(70, 71, 2, 3), QRect(40, 41, 10, 20), QRect(5, 6, 10, 20)}));

    // A region being drawn (not yet released) is not added.
    QTest::mousePress(m_canvas, Qt::LeftButton, {}, QPoint(100, 100));
    QCOMPARE(m_disp->regionState(), 1);
    m_disp->setARegion();
    QCOMPARE(list->count(), 3);
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(100, 100));

    QTest::mouseClick(del, Qt::LeftButton);
    QCOMPARE(m_disp->regions(), (QList<QRect>{QRect(40, 41, 10, 20), QRect(5, 6, 10, 20)}));
    list->setCurrentIndex(1);
    QTest::mouseClick(del, Qt::LeftButton);
    QCOMPARE(m_disp->regions(), (QList<QRect>{QRect(40, 41, 10, 20)}));
    QCOMPARE(list->currentIndex(), 0);

    // Round trip through a data stream; a stream cut short keeps what it holds.
    drag(QPoint(1, 2), QPoint(4, 8));
    QTest::mouseClick(add, Qt::LeftButton);
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        m_disp->writeRegions(out);
    }
    const QList<QRect> kept = m_disp->regions();
    m_disp->clearRegions();
    QDataStream in(bytes);
    m_disp->readRegions(in);
    QCOMPARE(m_disp->regions(), kept);
    QCOMPARE(list->itemText(0), QStringLiteral("(1,2)-(3,7)"));
    QCOMPARE(list->currentIndex(), 0);
    QDataStream cut(bytes.left(4 + 16));
    m_disp->readRegions(cut);
    QCOMPARE(m_disp->regions(), (QList<QRect>{kept.first()}));

    // An item that carries no rectangle reads back as the empty one.
    list->addItem(QStringLiteral("odd"), 5);
    QCOMPARE(m_disp->regionAt(1), QRect());

    m_disp->clearRegions();
    QCOMPARE(list->count(), 0);
    QCOMPARE(m_disp->regionLabel(), QString());
}

void TstImgDisp::greySwitch()
{
    ColorBar *bar = m_disp->colorBar();
    auto *grey = m_disp->findChild<QCheckBox *>(QStringLiteral("GrayScale"));
    QSignalSpy updated(bar, &ColorBar::cBarUpdated);
    QVERIFY(!bar->isGrayScale());
    QTest::mouseClick(grey, Qt::LeftButton);
    QCOMPARE(bar->pixelFormat(), 24);
    QVERIFY(updated.count() >= 1);
    const int afterFirst = updated.count();
    QTest::mouseClick(grey, Qt::LeftButton);
    QCOMPARE(bar->pixelFormat(), 13);
    QVERIFY(updated.count() > afterFirst);
    m_disp->setCBarGrayScale(true);
    QVERIFY(grey->isChecked());
    QCOMPARE(bar->pixelFormat(), 24);
}

void TstImgDisp::wheelZoomAndReset()
{
    const double w = m_canvas->width() - 1;
    const double h = m_canvas->height() - 1;
    QSignalSpy steps(m_disp.get(), &ImgDisp::wMoved);
    QSignalSpy reset(m_disp.get(), &ImgDisp::scaleReset);

    const QPoint at(100, 80);
    QTest::mouseMove(m_canvas, at);
    wheel(at, 120);
    QCOMPARE(steps.count(), 1);
    QCOMPARE(steps.last().at(0).toInt(), 1);
    ChCoord::Area d = m_disp->coord()->dataRange();
    QCOMPARE(corners(d), (QList<QPointF>{{(0.0 - 100.0) * 0.9 + 100.0, (h - 80.0) * 0.9 + 80.0},
                                         {(w - 100.0) * 0.9 + 100.0, (0.0 - 80.0) * 0.9 + 80.0}}));
    QCOMPARE(m_disp->viewOrigin(), QPointF(d.x0, d.y1));
    QCOMPARE(m_disp->viewSize(), QSizeF(d.x1 - d.x0, d.y0 - d.y1));
    // The point under the cursor stays put.
    QCOMPARE(m_disp->coord()->screenToDataX(100), 100.0);

    // Less than a notch is step 0, which still zooms in; backwards zooms out by 1.1.
    const double span = d.x1 - d.x0;
    wheel(at, 60);
    QCOMPARE(steps.last().at(0).toInt(), 0);
    d = m_disp->coord()->dataRange();
    QVERIFY(qAbs((d.x1 - d.x0) - span * 0.9) < 1e-9);
    wheel(at, -120);
    QCOMPARE(steps.last().at(0).toInt(), -1);
    const ChCoord::Area e = m_disp->coord()->dataRange();
    QVERIFY(qAbs((e.x1 - e.x0) - span * 0.9 * 1.1) < 1e-9);

    // Shift with the left button pans (the canvas's gesture) and draws no region.
    const ChCoord::Area beforePan = m_disp->coord()->dataRange();
    const double unit = m_disp->coord()->screenLenToDataX(1.0);
    QSignalSpy moved(m_disp.get(), &ImgDisp::mMovedWithin);
    const QPointF grabbed(m_disp->coord()->screenToDataX(at.x()),
                          m_disp->coord()->screenToDataY(at.y()));
    QTest::mousePress(m_canvas, Qt::LeftButton, Qt::ShiftModifier, at);
    QTest::mouseMove(m_canvas, at + QPoint(10, 0));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, Qt::ShiftModifier, at + QPoint(10, 0));
    // The read-out follows the pan: the grabbed point is under the cursor.
    QCOMPARE(lastPoint(moved), grabbed);
    d = m_disp->coord()->dataRange();
    QVERIFY(qAbs(d.x0 - (beforePan.x0 - 10 * unit)) < 1e-9);
    QCOMPARE(d.y0, beforePan.y0);
    QCOMPARE(m_disp->regionState(), 0);

    QTest::mouseClick(m_disp->findChild<QPushButton *>(QStringLiteral("ScaleReset")),
                      Qt::LeftButton);
    QCOMPARE(reset.count(), 1);
    QCOMPARE(corners(m_disp->coord()->dataRange()), (QList<QPointF>{{0, h}, {w, 0}}));
    QCOMPARE(m_disp->viewOrigin(), QPointF(0, 0));
    QCOMPARE(m_disp->viewSize(), QSizeF(w, h));
}

void TstImgDisp::screenshot()
{
    // 4 x 3 image, one invalid pixel, painted by the owner on drawImage1.
    TDData rec(4, 3);
    for (int i = 0; i < 12; ++i)
        rec.setValue(i, 1.0 + i, i != 6);
    ColorBar *bar = m_disp->colorBar();
    rec.makeImage(*bar);
    m_disp->setImageSize(4, 3);
    connect(m_disp.get(), &ImgDisp::drawImage1, this, [&](QPainter *p) {
        if (rec.image()) m_disp->coord()->drawImage(p, *rec.image(), QRectF(0, 0, 4, 3));
    });
    connect(bar, &ColorBar::cBarUpdated, this, [&] { rec.makeImage(*bar); });

    auto cellCentre = [this](int i, int j) {
        const QPointF s(m_disp->coord()->dataToScreenX(i + 0.5),
                        m_disp->coord()->dataToScreenY(j + 0.5));
        return m_canvas->mapTo(m_disp.get(), s.toPoint());
    };
    QImage shot = m_disp->grab().toImage();
    QCOMPARE(shot.pixel(cellCentre(0, 0)), qRgb(0, 0, 0));
    QCOMPARE(shot.pixel(cellCentre(3, 2)), qRgb(255, 255, 255));
    QCOMPARE(shot.pixel(cellCentre(2, 1)), qRgb(210, 220, 210));
    QCOMPARE(shot.pixel(cellCentre(1, 1)), rec.image()->pixel(1, 1));
    QVERIFY(qRed(shot.pixel(cellCentre(1, 1))) > 0);

    // The bar in the form runs upwards; its rows themselves are pinned in the bar's own test.
    const QPoint barMid = bar->mapTo(m_disp.get(), QPoint(bar->width() / 2, bar->height() / 2));
    const QRgb mid = shot.pixel(barMid);
    QVERIFY2(qRed(mid) > 200 && qBlue(mid) < 60 && qGreen(mid) > 60 && qGreen(mid) < 200,
             qPrintable(QColor(mid).name()));
    const QRgb high =
        shot.pixel(bar->mapTo(m_disp.get(), QPoint(bar->width() / 2, bar->height() / 4)));
    QVERIFY2(qRed(high) > 200 && qGreen(high) > 200, qPrintable(QColor(high).name()));

    // A drawn region is outlined in the first palette colour on the cell edges.
    QTest::mousePress(
        m_canvas, Qt::LeftButton, {},
        QPoint(int(m_disp->coord()->dataToScreenX(1.2)), int(m_disp->coord()->dataToScreenY(0.2))));
    QTest::mouseRelease(
        m_canvas, Qt::LeftButton, {},
        QPoint(int(m_disp->coord()->dataToScreenX(3.5)), int(m_disp->coord()->dataToScreenY(2.5))));
    QCOMPARE(m_disp->regionRect(), QRect(1, 0, 2, 2));
    shot = m_disp->grab().toImage();
    const QPoint edge =
        m_canvas->mapTo(m_disp.get(), QPoint(int(m_disp->coord()->dataToScreenX(1.0)),
                                             int(m_disp->coord()->dataToScreenY(1.0))));
    QCOMPARE(shot.pixel(edge), qRgb(255, 0, 0));
    m_disp->setDrawRegions(false);
    QCOMPARE(m_disp->grab().toImage().pixel(edge), rec.image()->pixel(1, 1));
    m_disp->setDrawRegions(true);

    // Grey: the owner re-renders on the bar's update and the picture turns grey.
    QTest::mouseClick(m_disp->findChild<QCheckBox *>(QStringLiteral("GrayScale")), Qt::LeftButton);
    QCOMPARE(rec.image()->format(), QImage::Format_Grayscale8);
    shot = m_disp->grab().toImage();
    QCOMPARE(shot.pixel(cellCentre(2, 1)), qRgb(192, 192, 192));
    QCOMPARE(shot.pixel(cellCentre(3, 2)), qRgb(255, 255, 255));
    const QRgb g = shot.pixel(cellCentre(1, 1));
    QVERIFY(qRed(g) == qGreen(g) && qGreen(g) == qBlue(g) && qRed(g) > 0);
    const QRgb barGrey = m_disp->grab().toImage().pixel(barMid);
    QVERIFY2(qRed(barGrey) == qGreen(barGrey) && qGreen(barGrey) == qBlue(barGrey),
             qPrintable(QColor(barGrey).name()));
}

QTEST_MAIN(TstImgDisp)
#include "tst_imgdisp.moc"
