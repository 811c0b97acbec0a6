#include "display/ChCoord.h"

#include "display/MouseC.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

ChCoord::ChCoord(QObject *parent) : QObject(parent) {}

void ChCoord::attachMouse(MouseC *mouse)
{
    for (const auto &c : std::as_const(m_connections))
        disconnect(c);
    m_connections.clear();
    if (!mouse) return;
    m_mouse = mouse;
    m_connections << connect(mouse, &MouseC::mMoved, this, &ChCoord::mMoved)
                  << connect(mouse, &MouseC::mPressed, this, &ChCoord::mPressed)
                  << connect(mouse, &MouseC::mReleased, this, &ChCoord::mReleased)
                  << connect(mouse, &MouseC::mDClicked, this, &ChCoord::mDClicked)
                  << connect(mouse, &MouseC::wMoved, this, &ChCoord::wheelMoved);
}

int ChCoord::gestureCode(int button, int modifiers)
{
    const int held = modifiers & MouseC::kHeldMask;
    if (button != Qt::LeftButton && button != Qt::RightButton) return 16;
    // Column of each exact set of held keys; Meta is not a gesture key.
    int column = -1;
    switch (held) {
    case 0:
        column = 0;
        break;
    case MouseC::kShift:
        column = 1;
        break;
    case MouseC::kCtrl:
        column = 2;
        break;
    case MouseC::kAlt:
        column = 3;
        break;
    case MouseC::kShift | MouseC::kCtrl:
        column = 4;
        break;
    case MouseC::kShift | MouseC::kAlt:
        column = 5;
        break;
    case MouseC::kCtrl | MouseC::kAlt:
        column = 6;
        break;
    case MouseC::kShift | MouseC::kCtrl | MouseC::kAlt:
        column = 7;
        break;
    default:
        return 16;
    }
    return (button == Qt::RightButton ? 8 : 0) + column;
}

void ChCoord::setScreenArea(double x0, double y0, double x1, double y1)
{
    m_full = {x0, x1, y0, y1};
    m_plot = m_full;
}

void ChCoord::setPlotAreaWithMargins()
{
    const double w = m_full.x1 - m_full.x0;
    const double h = m_full.y0 - m_full.y1;
    m_plot.x0 = m_full.x0 + std::trunc(m_marginLeft * w);
    m_plot.x1 = m_full.x1 - std::trunc(m_marginRight * w);
    m_plot.y0 = m_full.y0 - std::trunc(m_marginBottom * h);
    m_plot.y1 = m_full.y1 + std::trunc(m_marginTop * h);
}

void ChCoord::setPlotArea(double x0, double y0, double x1, double y1)
{
    m_plot = {x0, x1, y0, y1};
}

void ChCoord::setDataRange(double x0, double y0, double x1, double y1)
{
    m_data = {x0, x1, y0, y1};
    m_committed = m_data;
    m_hasCommitted = true;
    m_xSet = m_ySet = true;
}

void ChCoord::setXDataRange(double x0, double x1)
{
    m_data.x0 = m_committed.x0 = x0;
    m_data.x1 = m_committed.x1 = x1;
    m_hasCommitted = true;
    m_xSet = true;
}

void ChCoord::setYDataRange(double y0, double y1)
{
    m_data.y0 = m_committed.y0 = y0;
    m_data.y1 = m_committed.y1 = y1;
    m_hasCommitted = true;
    m_ySet = true;
}

double ChCoord::dataToScreenX(double d) const
{
    return (m_plot.x1 - m_plot.x0) / (m_data.x1 - m_data.x0) * (d - m_data.x0) + m_plot.x0;
}

double ChCoord::dataToScreenY(double d) const
{
    return (m_plot.y1 - m_plot.y0) / (m_data.y1 - m_data.y0) * (d - m_data.y0) + m_plot.y0;
}

double ChCoord::dataToScreenYMirrored(double d) const
{
    return m_plot.y1 -
           ((d - m_data.y0) * (m_plot.y1 - m_plot.y0) / (m_data.y1 - m_data.y0) + m_plot.y0);
}

double ChCoord::dataLenToScreenX(double len) const
{
    return (m_plot.x1 - m_plot.x0) / (m_data.x1 - m_data.x0) * len;
}

double ChCoord::dataLenToScreenY(double len) const
{
    return (m_plot.y1 - m_plot.y0) / (m_data.y1 - m_data.y0) * len;
}

double ChCoord::screenToDataX(double s) const
{
    return (m_data.x1 - m_data.x0) / (m_plot.x1 - m_plot.x0) * (s - m_plot.x0) + m_data.x0;
}

double ChCoord::screenToDataY(double s) const
{
    return (m_data.y1 - m_data.y0) / (m_plot.y1 - m_plot.y0) * (s - m_plot.y0) + m_data.y0;
}

double ChCoord::screenToDataXClamped(double s) const
{
    return std::clamp(screenToDataX(s), std::min(m_data.x0, m_data.x1),
                      std::max(m_data.x0, m_data.x1));
}

double ChCoord::screenToDataYClamped(double s) const
{
    return std::clamp(screenToDataY(s), std::min(m_data.y0, m_data.y1),
                      std::max(m_data.y0, m_data.y1));
}

double ChCoord::screenOffsetToDataX(double s) const
{
    return (m_data.x1 - m_data.x0) / (m_plot.x1 - m_plot.x0) * (s - m_plot.x0);
}

double ChCoord::screenOffsetToDataY(double s) const
{
    return (m_data.y1 - m_data.y0) / (m_plot.y1 - m_plot.y0) * (s - m_plot.y0);
}

double ChCoord::screenLenToDataX(double len) const
{
    return (m_data.x1 - m_data.x0) / (m_plot.x1 - m_plot.x0) * len;
}

double ChCoord::screenLenToDataY(double len) const
{
    return (m_data.y1 - m_data.y0) / (m_plot.y1 - m_plot.y0) * len;
}

bool ChCoord::nearEdge(double v, double s0, double s1, double fraction)
{
    const double margin = std::abs(s1 - s0) * fraction;
    return v < std::min(s0, s1) + margin || v > std::max(s0, s1) - margin;
}

bool ChCoord::nearEdgeFullX(double v) const
{
    return nearEdge(v, m_full.x0, m_full.x1, m_fullEdge);
}

bool ChCoord::nearEdgeFullY(double v) const
{
    return nearEdge(v, m_full.y0, m_full.y1, m_fullEdge);
}

bool ChCoord::nearEdgePlotX(double v) const
{
    return nearEdge(v, m_plot.x0, m_plot.x1, m_plotEdge);
}

bool ChCoord::nearEdgePlotY(double v) const
{
    return nearEdge(v, m_plot.y0, m_plot.y1, m_plotEdge);
}

ChCoord::Ticks ChCoord::niceTicks(double lo, double hi)
{
    const double mn = std::min(lo, hi);
    const double mx = std::max(lo, hi);
    const double span = mx - mn;
    // A point or a non-finite range has no sensible step; one tick at the point.
    if (!(span > 0.0) || !std::isfinite(span)) return {0.0, mn, mn};
    const double p = std::pow(10.0, std::floor(std::log10(span)));
    const int m = int(span / p);
    double step = p * 0.2;
    if (m >= 8)
        step = p * 2.0; // also catches 10 when log10 rounds down
    else if (m >= 5)
        step = p;
    else if (m >= 3)
        step = p * 0.5;
    return {step, std::ceil(mn / step) * step, std::floor(mx / step) * step};
}

void ChCoord::mMoved()
{
    if (!m_mouse) return;
    const double cx = screenToDataX(m_mouse->x);
    const double cy = screenToDataY(m_mouse->y);
    emit nowPos(cx, cy);
    if (!m_mouse->pressed) return;
    if (gestureCode(m_mouse->pressButton, m_mouse->pressModifiers) != m_panCode) return;
    const double dx = screenToDataX(m_mouse->prevX) - cx;
    const double dy = screenToDataY(m_mouse->prevY) - cy;
    m_data.x0 += dx;
    m_data.x1 += dx;
    m_data.y0 += dy;
    m_data.y1 += dy;
    emit updated();
}

void ChCoord::mPressed()
{
    if (m_mouse) emit updated();
}

void ChCoord::mReleased()
{
    if (!m_mouse) return;
    const MouseC &m = *m_mouse;
    const bool plain = (m.releaseModifiers & (MouseC::kShift | MouseC::kCtrl | MouseC::kAlt)) == 0;
    if (m.releaseButton == Qt::RightButton && plain) {
        const double x0 = screenToDataX(std::min(m.pressX, m.releaseX));
        const double x1 = screenToDataX(std::max(m.pressX, m.releaseX));
        // y follows the point with the larger x, so a lower-left to upper-right drag
        // inverts the y range; owners rely on this pairing.
        const bool releaseRight = m.releaseX >= m.pressX;
        const double y0 = screenToDataY(releaseRight ? m.releaseY : m.pressY);
        const double y1 = screenToDataY(releaseRight ? m.pressY : m.releaseY);
        setDataRange(x0, y0, x1, y1);
    }
    emit updated();
}

void ChCoord::mDClicked()
{
    if (m_mouse) emit updated();
}

void ChCoord::wheelMoved(int step)
{
    if (!m_mouse || !m_wheelZoom) return;
    const double factor = step >= 0 ? 1.0 / 1.1 : 1.1;
    const double cx = m_mouse->x;
    const double cy = m_mouse->y;
    const bool nearX = nearEdgePlotX(cx);
    const bool nearY = nearEdgePlotY(cy);
    if (!(nearX && !nearY)) {
        const double a = screenToDataX(cx);
        setXDataRange((m_data.x0 - a) * factor + a, (m_data.x1 - a) * factor + a);
        if (nearY && !nearX) {
            emit updated();
            return;
        }
    }
    const double a = screenToDataY(cy);
    setYDataRange((m_data.y0 - a) * factor + a, (m_data.y1 - a) * factor + a);
    emit updated();
}

QRectF ChCoord::visibleSourceRect(const QSize &imageSize, const QRectF &target) const
{
    if (imageSize.isEmpty() || target.width() == 0.0 || target.height() == 0.0) return {};
    // Image pixel u maps to screen a * u + b on each axis.
    const double ax = dataLenToScreenX(target.width() / imageSize.width());
    const double bx = dataToScreenX(target.x());
    const double ay = dataLenToScreenY(target.height() / imageSize.height());
    const double by = dataToScreenY(target.y());
    if (!std::isfinite(ax) || !std::isfinite(ay) || ax == 0.0 || ay == 0.0) return {};
    // Screen coordinates are pixel positions, so the last plot pixel reaches one further.
    const double sx0 = std::min(m_plot.x0, m_plot.x1);
    const double sx1 = std::max(m_plot.x0, m_plot.x1) + 1.0;
    const double sy0 = std::min(m_plot.y0, m_plot.y1);
    const double sy1 = std::max(m_plot.y0, m_plot.y1) + 1.0;
    const double u0 = std::max(0.0, std::min((sx0 - bx) / ax, (sx1 - bx) / ax));
    const double u1 =
        std::min(double(imageSize.width()), std::max((sx0 - bx) / ax, (sx1 - bx) / ax));
    const double v0 = std::max(0.0, std::min((sy0 - by) / ay, (sy1 - by) / ay));
    const double v1 =
        std::min(double(imageSize.height()), std::max((sy0 - by) / ay, (sy1 - by) / ay));
    if (!(u1 > u0) || !(v1 > v0)) return {};
    return QRectF(u0, v0, u1 - u0, v1 - v0);
}

void ChCoord::drawImage(QPainter *p, const QImage &image, const QRectF &target) const
{
    const QRectF vis = visibleSourceRect(image.size(), target);
    if (vis.isEmpty()) return;
    // Whole pixels, so that cells keep their size and edges.
    const int i0 = int(std::floor(vis.left()));
    const int j0 = int(std::floor(vis.top()));
    const int i1 = std::min(image.width(), int(std::ceil(vis.right())));
    const int j1 = std::min(image.height(), int(std::ceil(vis.bottom())));
    const QRect src(i0, j0, i1 - i0, j1 - j0);

    const double ax = dataLenToScreenX(target.width() / image.width());
    const double bx = dataToScreenX(target.x());
    const double ay = dataLenToScreenY(target.height() / image.height());
    const double by = dataToScreenY(target.y());
    const QRectF dst(ax * i0 + bx, ay * j0 + by, ax * src.width(), ay * src.height());

    // A view of just the visible pixels, sharing the image's memory, so that format
    // conversions inside the paint engine never touch the hidden part.
    const int depth = image.depth();
    QImage view;
    QRect viewSrc = src;
    if (depth >= 8 && depth % 8 == 0) {
        const uchar *first =
            image.constBits() + qsizetype(j0) * image.bytesPerLine() + qsizetype(i0) * (depth / 8);
        view = QImage(first, src.width(), src.height(), image.bytesPerLine(), image.format());
        if (image.format() == QImage::Format_Indexed8) view.setColorTable(image.colorTable());
        viewSrc = view.rect();
    }
    const QImage &drawn = view.isNull() ? image : view;

    if (dst.width() > 0 && dst.height() > 0) {
        p->drawImage(dst, drawn, viewSrc);
        return;
    }
    // Mirrored axis: flip the painter within the destination's span.
    const QRectF norm = dst.normalized();
    p->save();
    p->translate(dst.width() < 0 ? norm.left() + norm.right() : 0.0,
                 dst.height() < 0 ? norm.top() + norm.bottom() : 0.0);
    p->scale(dst.width() < 0 ? -1.0 : 1.0, dst.height() < 0 ? -1.0 : 1.0);
    p->drawImage(norm, drawn, viewSrc);
    p->restore();
}
