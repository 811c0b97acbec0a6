#include "display/DispA.h"

#include <QPainter>

DispA::DispA(QWidget *parent) : QFrame(parent)
{
    setFrameShape(QFrame::StyledPanel);
    setMouseTracking(true);
    coord.attachMouse(&mouse);
    setScreenFromSize();
}

void DispA::setScreenFromSize()
{
    coord.setScreenArea(0, height() - 1, width() - 1, 0);
}

// Owners convert mouse positions between paints; the mapping must follow a resize even
// before the next paint arrives.
void DispA::resizeEvent(QResizeEvent *e)
{
    QFrame::resizeEvent(e);
    setScreenFromSize();
}

void DispA::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.fillRect(rect(), background);
    setScreenFromSize();
    emit drawImage0(&p);
    emit drawImage1(&p);
    emit drawImage2(&p);
}

void DispA::mouseMoveEvent(QMouseEvent *e)
{
    // A move made with Alt held freezes every read-out until a press or release.
    if (mouse.lastModifiers & MouseC::kAlt) return;
    mouse.move(e);
    update();
}

void DispA::mousePressEvent(QMouseEvent *e)
{
    mouse.press(e);
    update();
}

void DispA::mouseReleaseEvent(QMouseEvent *e)
{
    mouse.release(e);
    update();
}

void DispA::mouseDoubleClickEvent(QMouseEvent *e)
{
    mouse.doubleClick(e);
    update();
}

void DispA::wheelEvent(QWheelEvent *e)
{
    mouse.wheel(e);
    update();
}

void DispA::enterEvent(QEnterEvent *)
{
    mouse.enter();
    update();
}

void DispA::leaveEvent(QEvent *)
{
    mouse.leave();
    update();
}
