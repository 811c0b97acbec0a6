#include "display/DrawText.h"

#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace {

// A point size of zero or less is rejected by QFont with a warning.
constexpr double kSmallestPointSize = 0.5;

} // namespace

QRectF DrawText::draw(QPainter *p, double angle, const QRectF &box, const QFont &font, int flags,
                      int mode, const QString &text, double maxPointSize, bool fill,
                      const QColor &fillColor)
{
    const QRectF b = box.normalized();
    const double theta = -angle / 180.0 * 3.141592653;
    const double c = std::cos(theta);
    const double s = std::sin(theta);
    // Where the centre lies in the turned frame, so that turning puts it back in place.
    const QPointF centre = b.center();
    const QPointF turnedCentre(centre.x() * c - centre.y() * s, centre.x() * s + centre.y() * c);
    const QRectF turned(turnedCentre.x() - b.width() / 2, turnedCentre.y() - b.height() / 2,
                        b.width(), b.height());

    const QFont saved = p->font();
    p->rotate(angle);
    QFont f = font;
    if (mode == kFit) {
        f.setPointSizeF(10.0);
        p->setFont(f);
        const QRectF probe = p->boundingRect(QRectF(0, 0, 5000, 5000), flags, text);
        const double rx = probe.width() > 0 ? b.width() / probe.width() : 1.0;
        const double ry = probe.height() > 0 ? b.height() / probe.height() : 1.0;
        double size = 10.0 * std::min(rx, ry);
        if (maxPointSize > 0) size = std::min(maxPointSize, size);
        f.setPointSizeF(std::max(kSmallestPointSize, size));
    }
    p->setFont(f);
    const QRectF took = p->boundingRect(turned, flags, text);
    if (fill) p->fillRect(took, fillColor);
    p->drawText(turned, flags, text);
    p->setFont(saved);
    p->rotate(-angle);
    return QTransform().rotate(angle).mapRect(took);
}
