#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

// Draws text turned by an angle inside a box that keeps its centre on the screen, either
// in the given font or, in fit mode, in the largest size that fits the box.
class DrawText
{
public:
    static constexpr int kAsIs = 0;
    static constexpr int kFit = 1;

    // The box is given unturned: its width runs along the text. Returns the rectangle the
    // text took, in the painter's coordinates before the turn.
    static QRectF draw(QPainter *p, double angle, const QRectF &box, const QFont &font, int flags,
                       int mode, const QString &text, double maxPointSize = 0.0, bool fill = false,
                       const QColor &fillColor = Qt::white);
};
