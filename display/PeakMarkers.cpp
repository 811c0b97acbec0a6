#include "display/PeakMarkers.h"

#include "core/Shape.h"
#include "core/TDData0.h"
#include "display/ChCoord.h"
#include "display/ColorBar0.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

void PeakMarkers::draw(QPainter *p, const ChCoord &coord, const TDData0 &record)
{
    // The visible part of the image in data coordinates, to skip what lies outside.
    const QRectF window = p->window();
    const double xa = coord.screenToDataX(window.left()), xb = coord.screenToDataX(window.right());
    const double ya = coord.screenToDataY(window.top()), yb = coord.screenToDataY(window.bottom());
    const QRectF view(QPointF(std::min(xa, xb) - 1, std::min(ya, yb) - 1),
                      QPointF(std::max(xa, xb) + 1, std::max(ya, yb) + 1));
    int list = 0;
    for (qsizetype s = 0; s < record.shapeCount(); ++s) {
        const Shape *shape = record.shape(s);
        if (shape->kind() != 1 || !shape->points()) continue;
        const QList<QPointF> &points = *shape->points();
        // The first palette colour outlines regions; lists start at the next one.
        const QColor colour = ColorBar0::paletteColor(++list);
        qsizetype visible = 0;
        for (const QPointF &pt : points)
            visible += view.contains(pt) ? 1 : 0;
        const bool numbered = visible <= kNumberedLimit;
        p->save();
        p->setRenderHint(QPainter::Antialiasing, true);
        QFont font = p->font();
        font.setPixelSize(11);
        font.setBold(true);
        p->setFont(font);
        QPointF last(-1, -1);
        for (qsizetype n = 0; n < points.size(); ++n) {
            const QPointF pt = points.at(n);
            if (!view.contains(pt) || (n > 0 && pt == last)) continue; // repeats cover each other
            last = pt;
            const QPointF c(coord.dataToScreenX(std::trunc(pt.x()) + 0.5),
                            coord.dataToScreenY(std::trunc(pt.y()) + 0.5));
            p->setPen(QPen(Qt::black, 1.5));
            p->setBrush(colour);
            p->drawEllipse(c, kRadius, kRadius);
            if (!numbered) continue;
            QPainterPath text;
            text.addText(c + QPointF(kRadius + 2, -kRadius - 1), font, QString::number(n));
            p->setBrush(Qt::NoBrush);
            p->setPen(QPen(Qt::black, 3));
            p->drawPath(text);
            p->fillPath(text, colour);
        }
        p->restore();
    }
}
