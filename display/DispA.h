#pragma once

#include "display/ChCoord.h"
#include "display/MouseC.h"

#include <QColor>
#include <QEnterEvent>
#include <QEvent>
#include <QFrame>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QWheelEvent>

class QPainter;

// The canvas every picture is painted on. It fills itself with the background colour and
// lets its owners paint through drawImage0, drawImage1 and drawImage2 in that order, each
// with the same painter. Owners convert coordinates with `coord` and read the mouse from
// `mouse`.
class DispA : public QFrame
{
    Q_OBJECT

public:
    explicit DispA(QWidget *parent = nullptr);

    ChCoord coord;
    MouseC mouse;
    bool showFlag0 = true;
    bool showFlag1 = true;
    QColor background{255, 255, 255, 255};

    Q_INVOKABLE void paintEvent(QPaintEvent *e) override;
    Q_INVOKABLE void mouseMoveEvent(QMouseEvent *e) override;
    Q_INVOKABLE void mousePressEvent(QMouseEvent *e) override;
    Q_INVOKABLE void mouseReleaseEvent(QMouseEvent *e) override;
    Q_INVOKABLE void mouseDoubleClickEvent(QMouseEvent *e) override;
    Q_INVOKABLE void wheelEvent(QWheelEvent *e) override;
    Q_INVOKABLE void enterEvent(QEnterEvent *e) override;
    Q_INVOKABLE void leaveEvent(QEvent *e) override;

signals:
    void drawImage0(QPainter *p);
    void drawImage1(QPainter *p);
    void drawImage2(QPainter *p);

protected:
    void resizeEvent(QResizeEvent *e) override;

private:
    void setScreenFromSize();
};
