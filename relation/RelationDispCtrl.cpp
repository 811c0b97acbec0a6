#include "relation/RelationDispCtrl.h"

#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "display/ChCoord.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "display/MouseC.h"
#include "relation/RelationDispCtrlOptions.h"

#include "ui_RelationDispCtrl.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <climits>
#include <cmath>
#include <numbers>

namespace {

constexpr int kHeldKeys = MouseC::kHeldMask;
constexpr QRgb kMarkColour = 0xa000ffff;

// A usable axis end: the map's own numbers may be zero, negative or not finite, which would
// leave the canvas without a range to show.
double usableHigh(double high)
{
    return (std::isfinite(high) && high > 0.0) ? high : 1.0;
}

QString tickText(double v)
{
    return QString::number(v, 'g', 6);
}

} // namespace

RelationDispCtrl::RelationDispCtrl(DataCtrls *dataCtrls, QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_RelationDispCtrl>()), m_dataCtrls(dataCtrls)
{
    m_ui->setupUi(this);
    m_options = new RelationDispCtrlOptions(this);
    m_ui->optionsLayout->addWidget(m_options);
    m_options->setVisible(m_ui->options_->isChecked());
    m_canvas = new DispA(this);
    m_canvas->setMinimumSize(300, 300);
    m_ui->canvasLayout->addWidget(m_canvas);
    m_ui->verticalLayout->setStretchFactor(m_ui->canvasLayout, 1);

    connect(m_ui->options_, &QPushButton::toggled, m_options, &QWidget::setVisible);
    connect(m_ui->show_, &QPushButton::clicked, this, [this] {
        m_canvas->show();
        makeHistMap();
    });
    connect(m_ui->sectorWDeg_, &QLineEdit::editingFinished, this, &RelationDispCtrl::setSectHw);
    connect(m_ui->selSector_, &QRadioButton::toggled, this, &RelationDispCtrl::setIsSectorMode);
    connect(m_ui->selRegion_, &QRadioButton::toggled, this, &RelationDispCtrl::setIsRegionMode);
    connect(m_ui->selNoRegion_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) setSelection(RelationSelection());
    });
    connect(m_ui->scaleReset_, &QPushButton::clicked, this, &RelationDispCtrl::dispScaleReset);
    connect(m_ui->composite_, &QPushButton::clicked, this, &RelationDispCtrl::composite);
    connect(m_ui->mapKind_, &QComboBox::currentIndexChanged, this, [this] { refreshPicture(); });
    connect(m_options, &RelationDispCtrlOptions::reDraw, this, &RelationDispCtrl::reMakeHistMap);
    connect(m_options, &RelationDispCtrlOptions::edited, this, &RelationDispCtrl::makeHistMap);

    ChCoord *coord = &m_canvas->coord;
    MouseC *mouse = &m_canvas->mouse;
    connect(m_canvas, &DispA::drawImage0, this,
            [coord](QPainter *) { coord->setPlotAreaWithMargins(); });
    connect(m_canvas, &DispA::drawImage1, this, &RelationDispCtrl::draw);
    connect(m_canvas, &DispA::drawImage2, this, [this](QPainter *p) {
        drawAxes(p);
        drawSelection(p);
    });
    connect(mouse, &MouseC::mPressed, this, [this, coord, mouse] {
        mPressedWithin(coord->screenToDataX(mouse->x), coord->screenToDataY(mouse->y));
    });
    connect(mouse, &MouseC::mMoved, this, [this, coord, mouse] {
        mMovedWithin(coord->screenToDataX(mouse->x), coord->screenToDataY(mouse->y));
    });
    connect(mouse, &MouseC::mReleased, this, [this, coord, mouse] {
        mReleasedWithin(coord->screenToDataX(mouse->x), coord->screenToDataY(mouse->y));
    });
    connect(coord, &ChCoord::updated, this, [this] {
        keepRangeSane();
        m_canvas->update();
    });
    dispScaleReset();
}

RelationDispCtrl::~RelationDispCtrl()
{
    for (const QMetaObject::Connection &c : std::as_const(m_dispConnections))
        disconnect(c);
}

QPushButton *RelationDispCtrl::makeLauncher(QWidget *parent)
{
    auto *button = new QPushButton(tr("Relation"), parent);
    button->setObjectName(QStringLiteral("Relation"));
    button->setToolTip(tr("The relation map of S1 against S2 in a window of its own"));
    return button;
}

bool RelationDispCtrl::showsScatterMap() const
{
    return m_ui->mapKind_->currentIndex() == 1;
}

void RelationDispCtrl::showWindow()
{
    show();
    raise();
    activateWindow();
    makeHistMap();
}

// --- selection modes ---------------------------------------------------------------------

void RelationDispCtrl::setSectHw()
{
    m_sectHw = m_ui->sectorWDeg_->text().toDouble() / 180.0 * std::numbers::pi * 0.5;
    if (m_selection.kind() == RelationSelection::Sector)
        setSelection(RelationSelection::sector(m_selection.angle(), m_sectHw));
    m_canvas->update();
}

void RelationDispCtrl::setIsSectorMode(bool f)
{
    m_sectorMode = f;
    m_canvas->update();
}

void RelationDispCtrl::setIsRegionMode(bool f)
{
    m_regionMode = f;
    m_canvas->update();
}

bool RelationDispCtrl::plainLeftPress() const
{
    const MouseC &m = m_canvas->mouse;
    return m.pressButton == Qt::LeftButton && (m.pressModifiers & kHeldKeys) == 0;
}

void RelationDispCtrl::mPressedWithin(double rx, double ry)
{
    m_pressed = QPointF(rx, ry);
    m_pressedAngle = std::atan2(ry, rx);
    m_dragging = plainLeftPress() && (m_sectorMode || m_regionMode);
}

void RelationDispCtrl::mMovedWithin(double rx, double ry)
{
    m_moved = QPointF(rx, ry);
    m_movedAngle = std::atan2(ry, rx);
    if (!m_dragging || !m_canvas->mouse.pressed) return;
    // The outline follows the mouse; the pixels are picked once the button is let go.
    if (m_sectorMode)
        m_selection = RelationSelection::sector(m_movedAngle, m_sectHw);
    else if (m_regionMode)
        m_selection = RelationSelection::square(m_pressed.x(), m_pressed.y(), rx, ry);
    m_canvas->update();
}

void RelationDispCtrl::mReleasedWithin(double rx, double ry)
{
    m_released = QPointF(rx, ry);
    if (!m_dragging) return;
    m_dragging = false;
    const MouseC &m = m_canvas->mouse;
    if (m.pressX == m.releaseX && m.pressY == m.releaseY) {
        // A click without a drag drops the selection.
        setSelection(RelationSelection());
    } else if (m_sectorMode) {
        setSelection(RelationSelection::sector(std::atan2(ry, rx), m_sectHw));
    } else if (m_regionMode) {
        setSelection(RelationSelection::square(m_pressed.x(), m_pressed.y(), rx, ry));
    }
}

void RelationDispCtrl::setSelection(const RelationSelection &s)
{
    m_selection = s;
    updateMarks();
    m_canvas->update();
}

// --- data --------------------------------------------------------------------------------

void RelationDispCtrl::selsChanged(int selS1Idx, int selS2Idx, QList<bool>, QList<bool>)
{
    if (!m_dataCtrls) return;
    // Every entry's pointed pixel is crossed on the map; entries come and go, so each
    // selection change (also sent for every new entry) joins the ones not yet joined.
    for (int i = 0; i < m_dataCtrls->count(); ++i)
        connect(m_dataCtrls->at(i), &DataCtrl::pointAt, this, &RelationDispCtrl::noticedAt,
                Qt::UniqueConnection);
    const auto entry = [this](int i) {
        return (i >= 0 && i < m_dataCtrls->count()) ? m_dataCtrls->at(i) : nullptr;
    };
    DataCtrl *e1 = entry(selS1Idx);
    DataCtrl *e2 = entry(selS2Idx);
    watchDisplays(e1 ? e1->display() : nullptr, e2 ? e2->display() : nullptr);
    setNewData(e1 ? e1->record() : nullptr, e2 ? e2->record() : nullptr);
}

void RelationDispCtrl::setNewData(TDDataWL *s1, TDDataWL *s2)
{
    if (s1 == m_s1 && s2 == m_s2 && s1 && s2) return;
    m_s1 = s1;
    m_s2 = s2;
    m_hist.setData(s1 && s2 ? s1 : nullptr, s1 && s2 ? s2 : nullptr);
    QString note;
    if (s1 && s2 && (s1->width() != s2->width() || s1->height() != s2->height()))
        note = tr("S1 (%1 x %2) and S2 (%3 x %4) differ in size: the part both cover is used")
                   .arg(s1->width())
                   .arg(s1->height())
                   .arg(s2->width())
                   .arg(s2->height());
    m_ui->selInfo_->setToolTip(note);
    updateMarks();
    if (!note.isEmpty()) m_ui->selInfo_->setText(note);
    if (isVisible()) makeHistMap();
}

void RelationDispCtrl::makeHistMap()
{
    if (!m_s1 || !m_s2) return;
    if (m_hist.s1() != m_s1 || m_hist.s2() != m_s2) m_hist.setData(m_s1, m_s2);
    m_hist.setParams({m_options->kernelHalfWidth(), m_options->boundaryValue()});
    const double old1 = m_hist.axisHigh1();
    const double old2 = m_hist.axisHigh2();
    const bool first = m_picture.isNull();
    if (m_hist.build() && (first || old1 != m_hist.axisHigh1() || old2 != m_hist.axisHigh2()))
        dispScaleReset();
    refreshPicture();
}

void RelationDispCtrl::reMakeHistMap()
{
    m_hist.markDirty();
    makeHistMap();
}

void RelationDispCtrl::refreshPicture()
{
    if (!m_s1 || !m_s2) return;
    if (showsScatterMap()) {
        makeMap();
        return;
    }
    m_picture = m_hist.paint(m_options->colorMaxRange());
    m_pictureIsMap = false;
    m_canvas->update();
}

void RelationDispCtrl::makeMap()
{
    if (!m_s1 || !m_s2) return;
    m_picture = RelationHistogram::scatterMap(*m_s1, *m_s2);
    m_pictureIsMap = true;
    m_canvas->update();
}

void RelationDispCtrl::composite()
{
    if (!m_s1 || !m_s2 || m_selection.isEmpty()) return;
    Q_EMIT newDataGenerated(m_selection.mask(*m_s1, *m_s2).release());
}

void RelationDispCtrl::noticedAt(int ix, int iy)
{
    m_pointed = QPoint(ix, iy);
    if (isVisible()) m_canvas->update();
}

// --- marks in the image displays -----------------------------------------------------------

void RelationDispCtrl::watchDisplays(ImgDisp *d1, ImgDisp *d2)
{
    if (d1 == m_disp1 && d2 == m_disp2) return;
    for (const QMetaObject::Connection &c : std::as_const(m_dispConnections))
        disconnect(c);
    m_dispConnections.clear();
    for (ImgDisp *old : {m_disp1.data(), m_disp2.data()})
        if (old) old->canvas()->update();
    m_disp1 = d1;
    m_disp2 = d2;
    for (ImgDisp *d : {d1, d2}) {
        if (!d || (d == d2 && d1 == d2 && !m_dispConnections.isEmpty())) continue;
        m_dispConnections << connect(d, &ImgDisp::drawImage2, this,
                                     [this, d](QPainter *p) { drawMarks(d, p); });
    }
}

void RelationDispCtrl::updateMarks()
{
    m_marks.clear();
    m_markedCount = 0;
    m_markOverlay = QImage();
    m_markW = m_markH = 0;
    if (m_s1 && m_s2 && !m_selection.isEmpty()) {
        m_markW = std::max(0, std::min(m_s1->width(), m_s2->width()));
        m_markH = std::max(0, std::min(m_s1->height(), m_s2->height()));
        m_marks.assign(size_t(m_markW) * size_t(m_markH), 0);
        m_selection.marks(*m_s1, *m_s2, m_marks.data(), &m_markedCount);
        if (m_markW > 0 && m_markH > 0) {
            m_markOverlay = QImage(m_markW, m_markH, QImage::Format_ARGB32_Premultiplied);
            for (int y = 0; y < m_markH; ++y) {
                auto *line = reinterpret_cast<QRgb *>(m_markOverlay.scanLine(y));
                const unsigned char *m = m_marks.data() + size_t(y) * size_t(m_markW);
                for (int x = 0; x < m_markW; ++x)
                    line[x] = m[x] ? qPremultiply(kMarkColour) : 0u;
            }
        }
    }
    m_ui->selInfo_->setText(m_selection.isEmpty()
                                ? QString()
                                : tr("%n pixel(s) selected", nullptr,
                                     int(std::min<long long>(m_markedCount, INT_MAX))));
    for (ImgDisp *d : {m_disp1.data(), m_disp2.data()})
        if (d) d->canvas()->update();
}

void RelationDispCtrl::drawMarks(ImgDisp *disp, QPainter *p)
{
    if (m_markOverlay.isNull() || !disp) return;
    disp->coord()->drawImage(p, m_markOverlay, QRectF(0, 0, m_markW, m_markH));
}

// --- the map -----------------------------------------------------------------------------

double RelationDispCtrl::viewHigh1() const
{
    return usableHigh(m_s1 ? RelationHistogram::axisHigh(*m_s1) : 1.0);
}

double RelationDispCtrl::viewHigh2() const
{
    return usableHigh(m_s2 ? RelationHistogram::axisHigh(*m_s2) : 1.0);
}

void RelationDispCtrl::dispScaleReset()
{
    // Larger S2 values lie higher on the screen.
    m_canvas->coord.setDataRange(0.0, 0.0, viewHigh1(), viewHigh2());
    keepRangeSane();
    m_canvas->update();
}

void RelationDispCtrl::keepRangeSane()
{
    // A right click without a drag zooms to nothing; stay where we were instead.
    const ChCoord::Area &d = m_canvas->coord.dataRange();
    const bool sane =
        std::isfinite(d.x1 - d.x0) && std::isfinite(d.y1 - d.y0) && d.x1 != d.x0 && d.y1 != d.y0;
    if (sane) {
        m_goodRange[0] = d.x0;
        m_goodRange[1] = d.y0;
        m_goodRange[2] = d.x1;
        m_goodRange[3] = d.y1;
    } else {
        m_canvas->coord.setDataRange(m_goodRange[0], m_goodRange[1], m_goodRange[2],
                                     m_goodRange[3]);
    }
}

void RelationDispCtrl::draw(QPainter *p)
{
    if (m_picture.isNull() || !m_s1 || !m_s2) return;
    const ChCoord &c = m_canvas->coord;
    const ChCoord::Area &a = c.plotArea();
    p->save();
    p->setClipRect(QRectF(QPointF(a.x0, a.y1), QPointF(a.x1 + 1, a.y0 + 1)).normalized());
    const double h1 = m_pictureIsMap ? viewHigh1() : usableHigh(m_hist.axisHigh1());
    const double h2 = m_pictureIsMap ? viewHigh2() : usableHigh(m_hist.axisHigh2());
    c.drawImage(p, m_picture, QRectF(0.0, 0.0, h1, h2));
    p->restore();
}

void RelationDispCtrl::drawAxes(QPainter *p)
{
    const ChCoord &c = m_canvas->coord;
    const ChCoord::Area &a = c.plotArea();
    const ChCoord::Area &d = c.dataRange();
    const QFontMetrics fm(p->font());
    p->save();
    p->setPen(QPen(Qt::black, 1));
    p->setBrush(Qt::NoBrush);
    p->drawRect(QRectF(QPointF(a.x0, a.y1), QPointF(a.x1, a.y0)).normalized());

    const auto ticks = [](double lo, double hi, auto &&each) {
        const ChCoord::Ticks t = ChCoord::niceTicks(lo, hi);
        if (!(t.step > 0.0) || !std::isfinite(t.step) || !std::isfinite(t.first)) return;
        const double n = std::floor((t.last - t.first) / t.step + 0.5);
        if (!(n >= 0.0) || n > 100.0) return;
        for (int i = 0; i <= int(n); ++i) {
            double v = t.first + i * t.step;
            if (std::fabs(v) < t.step * 1e-9) v = 0.0;
            each(v);
        }
    };
    const double bottom = std::max(a.y0, a.y1);
    const double left = std::min(a.x0, a.x1);
    ticks(d.x0, d.x1, [&](double v) {
        const double sx = c.dataToScreenX(v);
        p->drawLine(QPointF(sx, bottom), QPointF(sx, bottom + 4));
        const QString text = tickText(v);
        p->drawText(QPointF(sx - fm.horizontalAdvance(text) / 2.0, bottom + 5 + fm.ascent()), text);
    });
    ticks(d.y0, d.y1, [&](double v) {
        const double sy = c.dataToScreenY(v);
        p->drawLine(QPointF(left - 4, sy), QPointF(left, sy));
        const QString text = tickText(v);
        p->save();
        p->translate(left - 6, sy);
        p->rotate(-90);
        p->drawText(QPointF(-fm.horizontalAdvance(text) / 2.0, 0), text);
        p->restore();
    });
    // Axis titles: the data ids.
    const QString t1 = m_s1 ? tr("S1: %1").arg(m_s1->dataId()) : tr("S1");
    const QString t2 = m_s2 ? tr("S2: %1").arg(m_s2->dataId()) : tr("S2");
    const double right = std::max(a.x0, a.x1);
    p->drawText(QPointF(right - fm.horizontalAdvance(t1), bottom + 5 + fm.ascent() + fm.height()),
                t1);
    p->save();
    p->translate(left - 8 - fm.height(), std::min(a.y0, a.y1));
    p->rotate(-90);
    p->drawText(QPointF(-fm.horizontalAdvance(t2), 0), t2);
    p->restore();
    p->restore();
}

void RelationDispCtrl::drawSelection(QPainter *p)
{
    const ChCoord &c = m_canvas->coord;
    const ChCoord::Area &a = c.plotArea();
    const ChCoord::Area &d = c.dataRange();
    p->save();
    p->setClipRect(QRectF(QPointF(a.x0, a.y1), QPointF(a.x1 + 1, a.y0 + 1)).normalized());
    p->setRenderHint(QPainter::Antialiasing, true);
    const auto toScreen = [&c](double x, double y) {
        return QPointF(c.dataToScreenX(x), c.dataToScreenY(y));
    };
    if (m_selection.kind() == RelationSelection::Sector) {
        // Rays long enough to leave any part of the view.
        const double reach =
            4.0 * (std::fabs(d.x0) + std::fabs(d.x1) + std::fabs(d.y0) + std::fabs(d.y1));
        const QPointF o = toScreen(0.0, 0.0);
        const double th = m_selection.angle();
        const double hw = std::min(m_selection.halfAngle(), std::numbers::pi);
        const auto ray = [&](double angle) {
            return toScreen(reach * std::cos(angle), reach * std::sin(angle));
        };
        QPainterPath fan(o);
        constexpr int kSteps = 32;
        for (int i = 0; i <= kSteps; ++i)
            fan.lineTo(ray(th - hw + 2.0 * hw * i / kSteps));
        fan.closeSubpath();
        p->fillPath(fan, QColor(0, 200, 255, 50));
        p->setPen(QPen(QColor(0, 120, 255), 2));
        p->drawLine(o, ray(th - hw));
        p->drawLine(o, ray(th + hw));
        p->setPen(QPen(QColor(0, 120, 255), 1, Qt::DashLine));
        p->drawLine(o, ray(th));
    } else if (m_selection.kind() == RelationSelection::Square) {
        const QRectF r = QRectF(toScreen(m_selection.x0(), m_selection.y0()),
                                toScreen(m_selection.x1(), m_selection.y1()))
                             .normalized();
        p->fillRect(r, QColor(0, 200, 255, 50));
        p->setPen(QPen(QColor(0, 120, 255), 2));
        p->drawRect(r);
    }
    // The pixel pointed at in any image.
    if (m_s1 && m_s2 && m_pointed.x() >= 0 && m_pointed.y() >= 0 &&
        m_pointed.x() < std::min(m_s1->width(), m_s2->width()) &&
        m_pointed.y() < std::min(m_s1->height(), m_s2->height())) {
        const QPointF q = toScreen(m_s1->value(m_pointed.x(), m_pointed.y()),
                                   m_s2->value(m_pointed.x(), m_pointed.y()));
        if (std::isfinite(q.x()) && std::isfinite(q.y())) {
            for (const auto &[colour, width] :
                 {std::pair{QColor(Qt::white), 4}, std::pair{QColor(0, 0, 200), 2}}) {
                p->setPen(QPen(colour, width));
                p->drawLine(q - QPointF(8, 0), q + QPointF(8, 0));
                p->drawLine(q - QPointF(0, 8), q + QPointF(0, 8));
            }
        }
    }
    p->restore();
}
