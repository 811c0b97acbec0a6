#include "core/TDData.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"

#include "../support/WidgetFixtures.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDataStream>
#include <QLabel>
#include <QPainter>

namespace {

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
    void texts();
    void regionDrawing();
    void rightPressClears();
    void regionList();
    void wheelZoomAndReset();
    void screenshot();

private:
    void drag(QPoint a, QPoint b) { fx::drag(m_canvas, a, b); }
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
    // Image size = canvas size - 1, so that data coordinates equal canvas pixels.
    m_disp->setImageSize(m_canvas->width() - 1, m_canvas->height() - 1);
}

void TstImgDisp::cleanup()
{
    m_disp.reset();
}

void TstImgDisp::texts()
{
    QCOMPARE(m_disp->regionRect(), QRect(0, 0, 0, 0));
    const auto posVal = [this](int x, int y, double v, bool valid) {
        m_disp->showPosVal(x, y, v, valid);
        return m_disp->posValText();
    };
    QCOMPARE((QStringList{posVal(3, 4, 1.5, false), posVal(3, 4, 1.5, true),
                          posVal(0, 7, 1234567.0, true)}),
             (QStringList{"-- (3, 4)", "1.5 (3, 4)", "1.23457e+06 (0, 7)"}));

    auto *extra = new QLabel(QStringLiteral("extra"));
    m_disp->addAdditionalWidget(extra, 1, 2);
    auto *frame = m_disp->findChild<QFrame *>(QStringLiteral("AdditionalLayoutFrame"));
    QVERIFY(frame->isAncestorOf(extra));
    // The layout shows a widget added to a visible window on the next turn of the loop.
    QTRY_VERIFY(extra->isVisible());
    m_disp->showAdditional(false);
    QVERIFY(!extra->isVisible());

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
    QCOMPARE(fx::lastPoint(pressed), QPointF(40, 30));
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(40, 30)-(39, 29)"));
    QTest::mouseMove(m_canvas, QPoint(25, 45));
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(25, 30)-(39, 44)"));
    QCOMPARE(fx::lastPoint(moved), QPointF(25, 45));
    QTest::mouseMove(m_canvas, QPoint(20, 50));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(20, 50));
    QCOMPARE(m_disp->regionState(), 2);
    QCOMPARE(regions.count(), 1);
    const QRect r(20, 30, 20, 20);
    QCOMPARE(regions.last().at(0).toRect(), r);
    QCOMPARE(m_disp->regionRect(), r);
    const QString label = QStringLiteral("(20, 30)-(39, 49)");
    QCOMPARE(m_disp->regionLabel(), label);
    QCOMPARE(fx::lastPoint(released), QPointF(20, 50));

    // A click without moving, or a drag along one row, holds no pixel: the region stays.
    QTest::mouseClick(m_canvas, Qt::LeftButton, {}, QPoint(12, 34));
    QTest::mousePress(m_canvas, Qt::LeftButton, {}, QPoint(60, 34));
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(60, 34)-(59, 33)"));
    QTest::mouseMove(m_canvas, QPoint(90, 34));
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(90, 34));
    QCOMPARE(m_disp->regionState(), 2);
    QCOMPARE(regions.count(), 1);
    QCOMPARE(m_disp->regionRect(), r);
    QCOMPARE(m_disp->regionLabel(), label);

    // Moves without a button, or a Ctrl drag, leave the region alone but still report.
    const int before = moved.count();
    QTest::mouseMove(m_canvas, QPoint(60, 70));
    QCOMPARE(moved.count(), before + 1);
    fx::drag(m_canvas, QPoint(60, 70), QPoint(90, 95), Qt::LeftButton, Qt::ControlModifier,
             Qt::ControlModifier);
    QCOMPARE(regions.count(), 1);
    QCOMPARE(m_disp->regionLabel(), label);
    QCOMPARE(QPoint(pressed.count(), released.count()), QPoint(4, 4));

    // With no region before, a click leaves none.
    QTest::mouseClick(m_canvas, Qt::RightButton, {}, QPoint(5, 5));
    QTest::mouseClick(m_canvas, Qt::LeftButton, {}, QPoint(12, 34));
    QCOMPARE(m_disp->regionState(), 0);
    QCOMPARE(m_disp->regionLabel(), QString());
}

void TstImgDisp::rightPressClears()
{
    QSignalSpy cleared(m_disp.get(), &ImgDisp::regionCleared);
    drag(QPoint(10, 10), QPoint(30, 40));
    const ChCoord::Area before = m_disp->coord()->dataRange();

    QTest::mouseClick(m_canvas, Qt::RightButton, Qt::ShiftModifier, QPoint(50, 50));
    QCOMPARE(cleared.count(), 0);
    QCOMPARE(m_disp->regionLabel(), QStringLiteral("(10, 10)-(29, 39)"));

    QTest::mousePress(m_canvas, Qt::RightButton, {}, QPoint(50, 50));
    QCOMPARE(cleared.count(), 1);
    QCOMPARE(m_disp->regionState(), 0);
    QCOMPARE(m_disp->regionRect(), QRect());
    // The release must not zoom the view to a rectangle of no size.
    QTest::mouseMove(m_canvas, QPoint(51, 50));
    QTest::mouseRelease(m_canvas, Qt::RightButton, {}, QPoint(51, 50));
    QCOMPARE(corners(m_disp->coord()->dataRange()), corners(before));
}

void TstImgDisp::regionList()
{
    auto *list = fx::child<QComboBox>(m_disp.get(), QStringLiteral("Regions"));
    const auto add = [this] { fx::click(m_disp.get(), "SetARegion"); };
    const auto del = [this] { fx::click(m_disp.get(), "DelARegion"); };

    // Nothing drawn: adding and deleting do nothing.
    add();
    del();
    QCOMPARE(list->count(), 0);

    drag(QPoint(5, 6), QPoint(15, 26));
    add();
    QCOMPARE(list->itemText(0), QStringLiteral("(5,6)-(14,25)"));
    drag(QPoint(40, 41), QPoint(50, 61));
    add();
    drag(QPoint(70, 71), QPoint(72, 74));
    add();
    QCOMPARE(list->currentIndex(), 0);
    QCOMPARE(m_disp->regions(),
             (QList<QRect>{QRect(70, 71, 2, 3), QRect(40, 41, 10, 20), QRect(5, 6, 10, 20)}));

    // A region being drawn (not yet released) is not added.
    QTest::mousePress(m_canvas, Qt::LeftButton, {}, QPoint(100, 100));
    QCOMPARE(m_disp->regionState(), 1);
    m_disp->setARegion();
    QCOMPARE(list->count(), 3);
    QTest::mouseRelease(m_canvas, Qt::LeftButton, {}, QPoint(100, 100));

    del();
    QCOMPARE(m_disp->regions(), (QList<QRect>{QRect(40, 41, 10, 20), QRect(5, 6, 10, 20)}));
    list->setCurrentIndex(1);
    del();
    QCOMPARE(m_disp->regions(), (QList<QRect>{QRect(40, 41, 10, 20)}));
    QCOMPARE(list->currentIndex(), 0);

    // Round trip through a data stream; a stream cut short keeps what it holds.
    drag(QPoint(1, 2), QPoint(4, 8));
    add();
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
}

void TstImgDisp::wheelZoomAndReset()
{
    const double w = m_canvas->width() - 1;
    const double h = m_canvas->height() - 1;
    QSignalSpy steps(m_disp.get(), &ImgDisp::wMoved);
    QSignalSpy reset(m_disp.get(), &ImgDisp::scaleReset);
    const auto span = [this] { return m_disp->viewSize().width(); };

    // Each event reports its notch count: less than a notch is 0, which still zooms in.
    const QPoint at(100, 80);
    QTest::mouseMove(m_canvas, at);
    for (int delta : {120, 60, -120})
        fx::wheel(m_canvas, at, delta);
    QCOMPARE(steps, (QList<QList<QVariant>>{{1}, {0}, {-1}}));
    ChCoord::Area d = m_disp->coord()->dataRange();
    QCOMPARE(m_disp->viewOrigin(), QPointF(d.x0, d.y1));
    QCOMPARE(m_disp->viewSize(), QSizeF(d.x1 - d.x0, d.y0 - d.y1));
    QVERIFY(qAbs(span() - w * 0.9 * 0.9 * 1.1) < 1e-9);
    // The point under the cursor stays put.
    QCOMPARE(m_disp->coord()->screenToDataX(100), 100.0);

    // Shift with the left button pans (the canvas's gesture) and draws no region; the
    // read-out follows the pan: the grabbed point is under the cursor.
    QSignalSpy moved(m_disp.get(), &ImgDisp::mMovedWithin);
    const QPointF grabbed(m_disp->coord()->screenToDataX(at.x()),
                          m_disp->coord()->screenToDataY(at.y()));
    fx::drag(m_canvas, at, at + QPoint(10, 0), Qt::LeftButton, Qt::ShiftModifier,
             Qt::ShiftModifier);
    QCOMPARE(fx::lastPoint(moved), grabbed);
    QVERIFY(m_disp->coord()->dataRange().x0 < d.x0);
    QCOMPARE(m_disp->regionState(), 0);

    fx::click(m_disp.get(), "ScaleReset");
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

    // Canvas pixel of a data point, and the centre of cell (i, j) in the window.
    const auto at = [this](double x, double y) {
        return QPoint(int(m_disp->coord()->dataToScreenX(x)),
                      int(m_disp->coord()->dataToScreenY(y)));
    };
    const auto cellCentre = [&](int i, int j) {
        return m_canvas->mapTo(m_disp.get(), at(i + 0.5, j + 0.5));
    };
    // Row 0 on top; the window shows the owner's picture as it is.
    QImage shot = m_disp->grab().toImage();
    QCOMPARE(shot.pixel(cellCentre(0, 0)), qRgb(0, 0, 0));
    QCOMPARE(shot.pixel(cellCentre(3, 2)), qRgb(255, 255, 255));
    QCOMPARE(shot.pixel(cellCentre(1, 1)), rec.image()->pixel(1, 1));

    // A drawn region is outlined in the first palette colour on the cell edges.
    fx::drag(m_canvas, at(1.2, 0.2), at(3.5, 2.5));
    QCOMPARE(m_disp->regionRect(), QRect(1, 0, 2, 2));
    shot = m_disp->grab().toImage();
    const QPoint edge = m_canvas->mapTo(m_disp.get(), at(1.0, 1.0));
    QCOMPARE(shot.pixel(edge), qRgb(255, 0, 0));
    m_disp->setDrawRegions(false);
    QCOMPARE(m_disp->grab().toImage().pixel(edge), rec.image()->pixel(1, 1));
    m_disp->setDrawRegions(true);

    // Grey: the owner re-renders on the bar's update and the picture turns grey.
    auto *grey = fx::child<QCheckBox>(m_disp.get(), QStringLiteral("GrayScale"));
    QSignalSpy updated(bar, &ColorBar::cBarUpdated);
    QTest::mouseClick(grey, Qt::LeftButton);
    QCOMPARE(bar->pixelFormat(), 24);
    QVERIFY(updated.count() >= 1);
    QCOMPARE(rec.image()->format(), QImage::Format_Grayscale8);
    shot = m_disp->grab().toImage();
    QCOMPARE(shot.pixel(cellCentre(2, 1)), qRgb(192, 192, 192));
    const QRgb barGrey = shot.pixel(bar->mapTo(m_disp.get(), bar->rect().center()));
    QVERIFY2(qRed(barGrey) == qGreen(barGrey) && qGreen(barGrey) == qBlue(barGrey),
             qPrintable(QColor(barGrey).name()));

    // Back to colour, then grey again from the owner's side.
    const auto before = updated.count();
    QTest::mouseClick(grey, Qt::LeftButton);
    QCOMPARE(bar->pixelFormat(), 13);
    QVERIFY(updated.count() > before);
    m_disp->setCBarGrayScale(true);
    QVERIFY(grey->isChecked());
    QCOMPARE(bar->pixelFormat(), 24);
}

QTEST_MAIN(TstImgDisp)
#include "tst_imgdisp.moc"
