#include "display/ImgDisp.h"

#include "app/ConfigStore.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/ColorBar0.h"
#include "display/DispA.h"
#include "display/MouseC.h"
#include "ui_ImgDisp.h"

#include <QCloseEvent>
#include <QDataStream>
#include <QPainter>
#include <QResizeEvent>
#include <QShortcut>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kHeldKeys = MouseC::kShift | MouseC::kCtrl | MouseC::kAlt;

} // namespace

ImgDisp::ImgDisp(QWidget *parent) : QFrame(parent), m_ui(std::make_unique<Ui_ImgDisp>())
{
    m_ui->setupUi(this);
    m_canvas = m_ui->ImgDispA;
    m_bar = m_ui->CBar;
    m_mouse = &m_canvas->mouse;
    m_coord = &m_canvas->coord;

    // The display zooms with its own factors and uses plain right presses to clear regions,
    // so the mapper's wheel and rectangle zoom are cut off; panning is passed on by hand.
    m_coord->attachMouse(nullptr);
    m_coord->setWheelZoomEnabled(false);

    connect(m_mouse, &MouseC::mMoved, this, &ImgDisp::mMoved);
    connect(m_mouse, &MouseC::mPressed, this, &ImgDisp::mPressed);
    connect(m_mouse, &MouseC::mReleased, this, &ImgDisp::mReleased);
    connect(m_mouse, &MouseC::wMoved, this, &ImgDisp::zoom);
    connect(m_mouse, &MouseC::wMoved, this, &ImgDisp::wMoved);
    connect(m_canvas, &DispA::drawImage1, this, &ImgDisp::drawImage1);
    connect(m_canvas, &DispA::drawImage2, this, &ImgDisp::drawImage2);
    connect(m_canvas, &DispA::drawImage2, this, &ImgDisp::drawRegions);

    connect(m_ui->ScaleReset, &QPushButton::clicked, this, &ImgDisp::resetScale);
    connect(m_ui->SetARegion, &QPushButton::clicked, this, &ImgDisp::setARegion);
    connect(m_ui->DelARegion, &QPushButton::clicked, this, &ImgDisp::delARegion);
    connect(m_ui->GrayScale, &QCheckBox::toggled, this, &ImgDisp::setCBarGrayScale);
    connect(m_ui->Regions, &QComboBox::currentIndexChanged, m_canvas,
            qOverload<>(&QWidget::update));

    // Keys act while the display or one of its controls has the focus; a click on the
    // image gives it.
    m_canvas->setFocusPolicy(Qt::StrongFocus);
    const auto keys = [this](std::initializer_list<QKeyCombination> combos, auto action) {
        for (const QKeyCombination &c : combos) {
            auto *shortcut = new QShortcut(QKeySequence(c), this);
            shortcut->setContext(Qt::WidgetWithChildrenShortcut);
            connect(shortcut, &QShortcut::activated, this, action);
        }
    };
    keys({QKeyCombination(Qt::Key_Plus), QKeyCombination(Qt::Key_Equal),
          QKeyCombination(Qt::KeypadModifier, Qt::Key_Plus)},
         [this] { zoomAtCentre(0.9); });
    keys({QKeyCombination(Qt::Key_Minus), QKeyCombination(Qt::KeypadModifier, Qt::Key_Minus)},
         [this] { zoomAtCentre(1.1); });
    keys({QKeyCombination(Qt::Key_0), QKeyCombination(Qt::KeypadModifier, Qt::Key_0),
          QKeyCombination(Qt::Key_Home)},
         [this] { resetScale(); });
    keys({QKeyCombination(Qt::Key_Escape)}, [this] { clearRegion(); });

    const QString square = ConfigStore::instance()
                               .value(QStringLiteral("SquarePixels"), QStringLiteral("0"))
                               .trimmed()
                               .toLower();
    m_ui->SquarePixels->setChecked(square == QLatin1String("1") || square == QLatin1String("on") ||
                                   square == QLatin1String("true") ||
                                   square == QLatin1String("yes"));
    connect(m_ui->SquarePixels, &QCheckBox::toggled, this, &ImgDisp::resetScale);
    m_canvas->installEventFilter(this);

    resetScale();
}

ImgDisp::~ImgDisp() = default;

void ImgDisp::setImageSize(int width, int height)
{
    m_imageW = width;
    m_imageH = height;
    resetScale();
}

double ImgDisp::dataX() const
{
    return m_coord->screenToDataX(m_mouse->x);
}

double ImgDisp::dataY() const
{
    return m_coord->screenToDataY(m_mouse->y);
}

bool ImgDisp::plainPress() const
{
    return m_mouse->pressButton == Qt::LeftButton && (m_mouse->pressModifiers & kHeldKeys) == 0;
}

QRect ImgDisp::regionRect() const
{
    if (m_regionState == NoRegion) return QRect();
    const double x0 = std::min(m_startDX, m_endDX);
    const double x1 = std::max(m_startDX, m_endDX);
    const double y0 = std::min(m_startDY, m_endDY);
    const double y1 = std::max(m_startDY, m_endDY);
    return QRect(int(x0), int(y0), int(x1 - x0), int(y1 - y0));
}

QString ImgDisp::regionLabel() const
{
    return m_ui->Region->text();
}

QString ImgDisp::posValText() const
{
    return m_ui->PosVal->text();
}

void ImgDisp::updateRegionLabel()
{
    if (m_regionState == NoRegion) {
        m_ui->Region->clear();
        return;
    }
    const QRect r = regionRect();
    m_ui->Region->setText(QStringLiteral("(%1, %2)-(%3, %4)")
                              .arg(r.left())
                              .arg(r.top())
                              .arg(r.right())
                              .arg(r.bottom()));
}

void ImgDisp::mPressed()
{
    if (plainPress()) {
        m_keptState = m_regionState;
        m_keptDX[0] = m_startDX;
        m_keptDX[1] = m_startDY;
        m_keptDX[2] = m_endDX;
        m_keptDX[3] = m_endDY;
        m_regionState = Drawing;
        m_startSX = m_endSX = m_mouse->x;
        m_startSY = m_endSY = m_mouse->y;
        m_startDX = m_endDX = dataX();
        m_startDY = m_endDY = dataY();
        updateRegionLabel();
    } else if (m_mouse->pressButton == Qt::RightButton &&
               (m_mouse->pressModifiers & kHeldKeys) == 0) {
        clearRegion();
    }
    m_coord->mPressed();
    emit mPressedWithin(dataX(), dataY());
}

void ImgDisp::mMoved()
{
    if (m_mouse->pressed && plainPress()) {
        m_endSX = m_mouse->x;
        m_endSY = m_mouse->y;
        m_endDX = dataX();
        m_endDY = dataY();
        updateRegionLabel();
    }
    // The mapper pans first (Shift with the left button), so the read-out names the image
    // point that now lies under the cursor.
    m_coord->mMoved();
    emit mMovedWithin(dataX(), dataY());
}

void ImgDisp::mReleased()
{
    if (m_mouse->releaseButton == Qt::LeftButton && (m_mouse->releaseModifiers & kHeldKeys) == 0) {
        m_regionState = Drawn;
        m_endSX = m_mouse->x;
        m_endSY = m_mouse->y;
        m_endDX = dataX();
        m_endDY = dataY();
        const QRect r = regionRect();
        if (r.width() < 1 || r.height() < 1) {
            // A click, or a drag within one row or column, would make a region holding no
            // pixel, on which every computation gives nothing: the previous region stays.
            m_regionState = m_keptState;
            m_startDX = m_keptDX[0];
            m_startDY = m_keptDX[1];
            m_endDX = m_keptDX[2];
            m_endDY = m_keptDX[3];
            m_canvas->update();
        } else {
            emit newRegion(r);
        }
        updateRegionLabel();
    }
    emit mReleasedWithin(dataX(), dataY());
}

void ImgDisp::clearRegion()
{
    m_regionState = NoRegion;
    updateRegionLabel();
    m_canvas->update();
    emit regionCleared();
}

void ImgDisp::setCBarGrayScale(bool f)
{
    if (m_ui->GrayScale->isChecked() != f) {
        const QSignalBlocker block(m_ui->GrayScale);
        m_ui->GrayScale->setChecked(f);
    }
    m_bar->setPixelFormat(f ? ColorBar0::kFormatGrayscale8 : ColorBar0::kFormatRgb888);
    m_bar->paintCBar();
}

QRect ImgDisp::regionAt(int index) const
{
    const QVariant v = m_ui->Regions->itemData(index);
    if (v.typeId() != QMetaType::QRect) return QRect();
    return v.toRect();
}

QList<QRect> ImgDisp::regions() const
{
    QList<QRect> list;
    for (int i = 0; i < m_ui->Regions->count(); ++i)
        list.append(regionAt(i));
    return list;
}

void ImgDisp::insertRegion(int index, const QRect &r)
{
    m_ui->Regions->insertItem(
        index,
        QStringLiteral("(%1,%2)-(%3,%4)").arg(r.left()).arg(r.top()).arg(r.right()).arg(r.bottom()),
        QVariant::fromValue(r));
}

void ImgDisp::setARegion()
{
    if (m_regionState != Drawn) return;
    insertRegion(0, regionRect());
    m_ui->Regions->setCurrentIndex(0);
}

void ImgDisp::writeRegions(QDataStream &s) const
{
    const QList<QRect> list = regions();
    s << qint32(list.size());
    for (const QRect &r : list)
        s << r;
}

void ImgDisp::readRegions(QDataStream &s)
{
    qint32 n = 0;
    s >> n;
    m_ui->Regions->clear();
    for (qint32 i = 0; i < n && s.status() == QDataStream::Ok; ++i) {
        QRect r;
        s >> r;
        if (s.status() == QDataStream::Ok) insertRegion(m_ui->Regions->count(), r);
    }
    if (m_ui->Regions->count() > 0) m_ui->Regions->setCurrentIndex(0);
    m_canvas->update();
}

void ImgDisp::setDrawRegions(bool on)
{
    m_drawRegions = on;
    m_canvas->update();
}

void ImgDisp::delARegion()
{
    QComboBox *list = m_ui->Regions;
    const int idx = list->currentIndex();
    if (idx < 0 || idx >= list->count()) return;
    list->removeItem(idx);
    if (list->currentIndex() >= list->count()) list->setCurrentIndex(list->count() - 1);
    m_canvas->update();
}

void ImgDisp::clearRegions()
{
    m_ui->Regions->clear();
    m_ui->Region->clear();
    m_canvas->update();
}

void ImgDisp::zoom(int step)
{
    zoomAbout(dataX(), dataY(), step >= 0 ? 0.9 : 1.1);
}

void ImgDisp::zoomAtCentre(double factor)
{
    const ChCoord::Area d = m_coord->dataRange();
    zoomAbout((d.x0 + d.x1) / 2.0, (d.y0 + d.y1) / 2.0, factor);
}

void ImgDisp::zoomAbout(double ax, double ay, double factor)
{
    const ChCoord::Area d = m_coord->dataRange();
    const double x0 = (d.x0 - ax) * factor + ax;
    const double x1 = (d.x1 - ax) * factor + ax;
    const double y0 = (d.y0 - ay) * factor + ay;
    const double y1 = (d.y1 - ay) * factor + ay;
    m_coord->setDataRange(x0, y0, x1, y1);
    m_viewX = x0;
    m_viewY = y1;
    m_viewW = x1 - x0;
    m_viewH = y0 - y1;
    m_canvas->update();
}

void ImgDisp::resetScale()
{
    if (squarePixels()) {
        fitSquare(m_canvas->size());
    } else {
        m_viewX = 0.0;
        m_viewY = 0.0;
        m_viewW = m_imageW;
        m_viewH = m_imageH;
        m_coord->setDataRange(0.0, m_imageH, m_imageW, 0.0);
        m_fitted = false;
    }
    m_canvas->update();
    emit scaleReset();
}

bool ImgDisp::squarePixels() const
{
    return m_ui->SquarePixels->isChecked();
}

void ImgDisp::fitSquare(const QSize &canvasSize)
{
    // The screen area spans size - 1 pixels, as the canvas sets it.
    const double sw = std::max(1, canvasSize.width() - 1);
    const double sh = std::max(1, canvasSize.height() - 1);
    const double perPixel = std::max(m_imageW / sw, m_imageH / sh);
    const double cx = m_imageW / 2.0;
    const double cy = m_imageH / 2.0;
    const double x0 = cx - sw * perPixel / 2.0;
    const double x1 = cx + sw * perPixel / 2.0;
    const double y0 = cy + sh * perPixel / 2.0; // bottom of the canvas
    const double y1 = cy - sh * perPixel / 2.0;
    m_coord->setDataRange(x0, y0, x1, y1);
    m_viewX = x0;
    m_viewY = y1;
    m_viewW = x1 - x0;
    m_viewH = y0 - y1;
    m_fitRange[0] = x0;
    m_fitRange[1] = y0;
    m_fitRange[2] = x1;
    m_fitRange[3] = y1;
    m_fitted = true;
}

bool ImgDisp::eventFilter(QObject *watched, QEvent *e)
{
    if (watched != m_canvas || e->type() != QEvent::Resize || !squarePixels())
        return QFrame::eventFilter(watched, e);
    const auto *re = static_cast<const QResizeEvent *>(e);
    const ChCoord::Area d = m_coord->dataRange();
    const bool untouched = m_fitted && d.x0 == m_fitRange[0] && d.y0 == m_fitRange[1] &&
                           d.x1 == m_fitRange[2] && d.y1 == m_fitRange[3];
    if (untouched || !re->oldSize().isValid() || re->oldSize().width() < 2 ||
        re->oldSize().height() < 2) {
        fitSquare(re->size());
    } else {
        // Zoomed or panned: the centre and the size of a pixel on screen stay.
        const double kx = std::max(1, re->size().width() - 1) / double(re->oldSize().width() - 1);
        const double ky = std::max(1, re->size().height() - 1) / double(re->oldSize().height() - 1);
        const double cx = (d.x0 + d.x1) / 2.0;
        const double cy = (d.y0 + d.y1) / 2.0;
        const double x0 = cx + (d.x0 - cx) * kx;
        const double x1 = cx + (d.x1 - cx) * kx;
        const double y0 = cy + (d.y0 - cy) * ky;
        const double y1 = cy + (d.y1 - cy) * ky;
        m_coord->setDataRange(x0, y0, x1, y1);
        m_viewX = x0;
        m_viewY = y1;
        m_viewW = x1 - x0;
        m_viewH = y0 - y1;
    }
    return QFrame::eventFilter(watched, e);
}

void ImgDisp::showAdditional(bool f)
{
    m_ui->AdditionalLayoutFrame->setVisible(f);
}

void ImgDisp::addAdditionalWidget(QWidget *w, int ix, int iy)
{
    m_ui->AdditionalLayout->addWidget(w, ix, iy);
}

void ImgDisp::showPosVal(int ix, int iy, double val, bool valid)
{
    const QString v = valid ? QString::number(val, 'g', 6) : QStringLiteral("--");
    m_ui->PosVal->setText(QStringLiteral("%1 (%2, %3)").arg(v).arg(ix).arg(iy));
}

void ImgDisp::closeEvent(QCloseEvent *e)
{
    emit closing();
    QFrame::closeEvent(e);
}

void ImgDisp::drawRegions(QPainter *p)
{
    // Kept regions in palette colours (index 0 is the drawn one), outlines on pixel edges.
    auto outline = [this, p](const QRect &r, const QColor &c) {
        if (r.width() < 1 || r.height() < 1) return;
        const double sx0 = m_coord->dataToScreenX(r.left());
        const double sx1 = m_coord->dataToScreenX(r.left() + r.width());
        const double sy0 = m_coord->dataToScreenY(r.top());
        const double sy1 = m_coord->dataToScreenY(r.top() + r.height());
        p->setPen(QPen(c, 1));
        p->setBrush(Qt::NoBrush);
        p->drawRect(QRectF(QPointF(sx0, sy0), QPointF(sx1, sy1)).normalized());
    };
    if (!m_drawRegions) return;
    p->save();
    const QList<QRect> kept = regions();
    for (int i = 0; i < kept.size(); ++i)
        outline(kept[i], ColorBar0::paletteColor(i + 1));
    if (m_regionState != NoRegion) outline(regionRect(), ColorBar0::paletteColor(0));
    p->restore();
}
