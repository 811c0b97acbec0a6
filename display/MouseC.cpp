#include "display/MouseC.h"

#include <QMouseEvent>
#include <QWheelEvent>

MouseC::MouseC(QObject *parent) : QObject(parent) {}

void MouseC::press(const QMouseEvent *e)
{
    prevX = x;
    prevY = y;
    x = pressX = int(e->position().x());
    y = pressY = int(e->position().y());
    lastButton = pressButton = int(e->button());
    lastModifiers = pressModifiers = int(e->modifiers());
    pressed = true;
    pressLeft = e->button() == Qt::LeftButton;
    pressRight = e->button() == Qt::RightButton;
    pressShift = pressModifiers == kShift;
    pressCtrl = pressModifiers == kCtrl;
    pressAlt = pressModifiers == kAlt;
    emit mPressed();
}

void MouseC::move(const QMouseEvent *e)
{
    prevX = x;
    prevY = y;
    x = int(e->position().x());
    y = int(e->position().y());
    lastButton = int(e->button());
    lastModifiers = int(e->modifiers());
    moveShift = lastModifiers == kShift;
    moveCtrl = lastModifiers == kCtrl;
    moveAlt = lastModifiers == kAlt;
    emit mMoved();
}

void MouseC::release(const QMouseEvent *e)
{
    prevX = x;
    prevY = y;
    x = releaseX = int(e->position().x());
    y = releaseY = int(e->position().y());
    pressed = pressLeft = pressRight = false;
    lastButton = releaseButton = int(e->button());
    lastModifiers = releaseModifiers = int(e->modifiers());
    emit mReleased();
}

void MouseC::doubleClick(const QMouseEvent *e)
{
    dClickX = int(e->position().x());
    dClickY = int(e->position().y());
    lastButton = dClickButton = int(e->button());
    lastModifiers = dClickModifiers = int(e->modifiers());
    emit mDClicked();
}

int MouseC::wheelStep(int angleDeltaY)
{
    return int(angleDeltaY * 0.125 / 15.0);
}

void MouseC::wheel(const QWheelEvent *e)
{
    emit wMoved(wheelStep(e->angleDelta().y()));
}

void MouseC::enter()
{
    inside = true;
    emit mEntered();
    emit mEnterLeave(inside);
}

void MouseC::leave()
{
    inside = false;
    emit mLeaved();
    emit mEnterLeave(inside);
}
