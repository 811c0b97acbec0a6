#include "xafs/SpectrumPlot.h"

#include "display/ChCoord.h"
#include "display/DispA.h"
#include "display/MouseC.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

// Room for the axes' numbers and titles, in pixels.
constexpr int kLeft = 58, kRight = 12, kTop = 8, kBottom = 38;

QString tickText(double v, double step)
{
    const int decimals = std::max(0, int(std::ceil(-std::log10(step) - 1e-9)));
    return QString::number(v, 'f', decimals);
}

} // namespace

SpectrumPlot::SpectrumPlot(QWidget *parent) : QFrame(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto *bar = new QHBoxLayout;
    auto *reset = new QPushButton(tr("Reset Scale"), this);
    reset->setObjectName(QStringLiteral("PlotScaleReset"));
    m_readout = new QLabel(this);
    m_readout->setObjectName(QStringLiteral("PlotReadout"));
    auto *hint = new QLabel(
        tr("Wheel: zoom, right drag: zoom to box, Shift+drag: pan, double click: all"), this);
    hint->setObjectName(QStringLiteral("PlotHint"));
    hint->setStyleSheet(QStringLiteral("color: rgb(110, 110, 110);"));
    bar->addWidget(reset);
    bar->addWidget(m_readout, 1);
    bar->addWidget(hint);
    layout->addLayout(bar);
    m_canvas = new DispA(this);
    m_canvas->setObjectName(QStringLiteral("PlotCanvas"));
    m_canvas->setMinimumHeight(160);
    layout->addWidget(m_canvas, 1);

    ChCoord &coord = m_canvas->coord;
    connect(m_canvas, &DispA::drawImage0, this, &SpectrumPlot::drawAxes);
    connect(m_canvas, &DispA::drawImage1, this, &SpectrumPlot::drawCurves);
    connect(m_canvas, &DispA::drawImage2, this, &SpectrumPlot::drawMarks);
    connect(&coord, &ChCoord::updated, m_canvas, qOverload<>(&QWidget::update));
    connect(&m_canvas->mouse, &MouseC::mDClicked, this, &SpectrumPlot::resetScale);
    connect(&coord, &ChCoord::nowPos, this, [this](double x, double y) {
        m_readout->setText(tr("E = %1 eV, %2").arg(x, 0, 'f', 1).arg(y, 0, 'f', 3));
    });
    connect(reset, &QPushButton::clicked, this, &SpectrumPlot::resetScale);
    resetScale();
}

void SpectrumPlot::setCurves(const QList<Curve> &curves)
{
    m_curves = curves;
    contentChanged();
}

void SpectrumPlot::setEnergies(const QList<double> &usable, const QList<double> &flagged)
{
    m_energies = usable;
    m_flagged = flagged;
    contentChanged();
}

void SpectrumPlot::setLayers(const QList<Layer> &layers)
{
    m_layers = layers;
    m_canvas->update();
}

void SpectrumPlot::contentChanged()
{
    // A view the user zoomed or panned stays; an untouched one follows the content.
    const ChCoord::Area &d = m_canvas->coord.dataRange();
    const bool untouched = d.x0 == m_lastAuto.left() && d.x1 == m_lastAuto.right() &&
                           d.y0 == m_lastAuto.top() && d.y1 == m_lastAuto.bottom();
    if (untouched) resetScale();
    m_canvas->update();
}

QRectF SpectrumPlot::autoRange() const
{
    double x0 = INFINITY, x1 = -INFINITY;
    for (const Curve &c : m_curves) {
        if (!std::isfinite(c.e0)) continue;
        // XANES: a little before the edge and well past it.
        x0 = std::min(x0, c.e0 - 40.0);
        x1 = std::max(x1, c.e0 + 80.0);
    }
    for (const QList<double> *list : {&m_energies, &m_flagged})
        for (double e : *list) {
            x0 = std::min(x0, e - 10.0);
            x1 = std::max(x1, e + 10.0);
        }
    if (!(x0 < x1)) {
        x0 = 7000.0;
        x1 = 9000.0;
    }
    double lo = INFINITY, hi = -INFINITY;
    for (const Curve &c : m_curves)
        for (const QPointF &pt : c.points)
            if (pt.x() >= x0 && pt.x() <= x1 && std::isfinite(pt.y())) {
                lo = std::min(lo, pt.y());
                hi = std::max(hi, pt.y());
            }
    // Normalised spectra run from 0 to about 1; a wild tail does not squash them.
    double y0 = -0.1, y1 = 1.3;
    if (lo < hi) {
        const double pad = 0.05 * (hi - lo);
        y0 = std::clamp(std::min(y0, lo - pad), -2.0, y0);
        y1 = std::clamp(std::max(y1, hi + pad), y1, 4.0);
    }
    // top() holds y0 and bottom() y1, as the mapper keeps them.
    return QRectF(QPointF(x0, y0), QPointF(x1, y1));
}

void SpectrumPlot::resetScale()
{
    m_lastAuto = autoRange();
    m_canvas->coord.setDataRange(m_lastAuto.left(), m_lastAuto.top(), m_lastAuto.right(),
                                 m_lastAuto.bottom());
    m_canvas->update();
}

QRectF SpectrumPlot::plotRect() const
{
    const ChCoord::Area &a = m_canvas->coord.plotArea();
    return QRectF(QPointF(a.x0, a.y1), QPointF(a.x1, a.y0)).normalized();
}

void SpectrumPlot::drawAxes(QPainter *p)
{
    ChCoord &coord = m_canvas->coord;
    const int w = m_canvas->width(), h = m_canvas->height();
    coord.setPlotArea(kLeft, h - 1 - kBottom, w - 1 - kRight, kTop);
    const QRectF r = plotRect();
    const ChCoord::Area &d = coord.dataRange();
    p->save();
    p->setRenderHint(QPainter::Antialiasing, false);
    const QFontMetrics fm = p->fontMetrics();
    const ChCoord::Ticks tx = ChCoord::niceTicks(d.x0, d.x1);
    const ChCoord::Ticks ty = ChCoord::niceTicks(d.y0, d.y1);
    const QPen grid(QColor(230, 230, 230), 1);
    const QPen ink(QColor(60, 60, 60), 1);
    if (tx.step > 0 && (tx.last - tx.first) / tx.step < 200) {
        for (double v = tx.first; v <= tx.last + tx.step * 1e-6; v += tx.step) {
            const double sx = coord.dataToScreenX(v);
            p->setPen(grid);
            p->drawLine(QPointF(sx, r.top()), QPointF(sx, r.bottom()));
            p->setPen(ink);
            p->drawLine(QPointF(sx, r.bottom()), QPointF(sx, r.bottom() + 4));
            const QString t = tickText(v, tx.step);
            p->drawText(QPointF(sx - fm.horizontalAdvance(t) / 2.0, r.bottom() + 6 + fm.ascent()),
                        t);
        }
    }
    if (ty.step > 0 && (ty.last - ty.first) / ty.step < 200) {
        for (double v = ty.first; v <= ty.last + ty.step * 1e-6; v += ty.step) {
            const double sy = coord.dataToScreenY(v);
            p->setPen(grid);
            p->drawLine(QPointF(r.left(), sy), QPointF(r.right(), sy));
            p->setPen(ink);
            p->drawLine(QPointF(r.left() - 4, sy), QPointF(r.left(), sy));
            const QString t = tickText(v, ty.step);
            p->drawText(QPointF(r.left() - 6 - fm.horizontalAdvance(t), sy + fm.ascent() / 2.0 - 1),
                        t);
        }
    }
    p->setPen(ink);
    p->setBrush(Qt::NoBrush);
    p->drawRect(r);
    const QString xTitle = tr("E [eV]");
    p->drawText(QPointF(r.center().x() - fm.horizontalAdvance(xTitle) / 2.0, h - 4), xTitle);
    p->translate(fm.ascent() + 2, r.center().y());
    p->rotate(-90);
    const QString yTitle = tr("normalised mu");
    p->drawText(QPointF(-fm.horizontalAdvance(yTitle) / 2.0, 0), yTitle);
    p->restore();
}

void SpectrumPlot::drawCurves(QPainter *p)
{
    const ChCoord &coord = m_canvas->coord;
    p->save();
    p->setClipRect(plotRect());
    p->setRenderHint(QPainter::Antialiasing, true);
    for (const Curve &c : m_curves) {
        QPolygonF screen;
        screen.reserve(c.points.size());
        for (const QPointF &pt : c.points)
            if (std::isfinite(pt.x()) && std::isfinite(pt.y()))
                screen << QPointF(coord.dataToScreenX(pt.x()), coord.dataToScreenY(pt.y()));
        QColor colour = c.colour;
        if (c.faded) colour.setAlpha(90);
        p->setPen(QPen(colour, 2, c.faded ? Qt::DashLine : Qt::SolidLine));
        p->drawPolyline(screen);
    }
    p->restore();
}

void SpectrumPlot::drawMarks(QPainter *p)
{
    const ChCoord &coord = m_canvas->coord;
    const QRectF r = plotRect();
    p->save();
    p->setClipRect(r.adjusted(-1, -1, 1, 1));

    // The stack's energies: ticks up from the energy axis and a faint line across.
    auto ticks = [&](const QList<double> &list, const QColor &colour) {
        for (double e : list) {
            const double sx = coord.dataToScreenX(e);
            p->setPen(
                QPen(QColor(colour.red(), colour.green(), colour.blue(), 60), 1, Qt::DotLine));
            p->drawLine(QPointF(sx, r.top()), QPointF(sx, r.bottom()));
            p->setPen(QPen(colour, 2));
            p->drawLine(QPointF(sx, r.bottom()), QPointF(sx, r.bottom() - 12));
        }
    };
    ticks(m_energies, QColor(40, 40, 40));
    ticks(m_flagged, QColor(230, 130, 0));

    p->setRenderHint(QPainter::Antialiasing, true);
    for (const Curve &c : m_curves) {
        if (!std::isfinite(c.e0)) continue;
        // The edge: a mark on the energy axis and a dot where the curve crosses it.
        const double sx = coord.dataToScreenX(c.e0);
        p->setPen(QPen(c.colour, 2));
        p->drawLine(QPointF(sx, r.top()), QPointF(sx, r.top() + 10));
        double y = 0.5;
        for (qsizetype i = 1; i < c.points.size(); ++i)
            if (c.points[i - 1].x() <= c.e0 && c.points[i].x() >= c.e0) {
                const QPointF a = c.points[i - 1], b = c.points[i];
                const double t = b.x() > a.x() ? (c.e0 - a.x()) / (b.x() - a.x()) : 0.0;
                y = a.y() + t * (b.y() - a.y());
                break;
            }
        p->setBrush(Qt::white);
        p->drawEllipse(QPointF(sx, coord.dataToScreenY(y)), 4, 4);
    }

    for (const Layer &l : m_layers) {
        QPolygonF screen;
        for (const QPointF &pt : l.points)
            if (std::isfinite(pt.x()) && std::isfinite(pt.y()))
                screen << QPointF(coord.dataToScreenX(pt.x()), coord.dataToScreenY(pt.y()));
        if (l.asPoints) {
            p->setPen(QPen(l.colour, 1));
            p->setBrush(l.colour);
            for (const QPointF &s : std::as_const(screen))
                p->drawEllipse(s, 3, 3);
        } else {
            p->setPen(QPen(l.colour, 2));
            p->setBrush(Qt::NoBrush);
            p->drawPolyline(screen);
        }
    }

    // Legend, top left inside the frame.
    p->setClipping(false);
    const QFontMetrics fm = p->fontMetrics();
    double ly = r.top() + 6;
    auto entry = [&](const QColor &colour, const QString &label, bool dashed) {
        if (label.isEmpty()) return;
        ly += fm.height();
        p->setPen(QPen(colour, 2, dashed ? Qt::DashLine : Qt::SolidLine));
        p->drawLine(QPointF(r.left() + 8, ly - fm.ascent() / 2.0),
                    QPointF(r.left() + 30, ly - fm.ascent() / 2.0));
        p->setPen(QColor(30, 30, 30));
        p->drawText(QPointF(r.left() + 36, ly), label);
    };
    for (const Curve &c : m_curves)
        entry(c.colour, c.label, c.faded);
    for (const Layer &l : m_layers)
        entry(l.colour, l.label, false);
    p->restore();
}
