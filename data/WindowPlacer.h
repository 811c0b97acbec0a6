#pragma once

class QWidget;

// Puts a top-level window next to another one on the same screen: to its right when it
// fits there, else below it, else over it a little down and to the right, never off the
// screen. Windows that open without a position land in a corner over everything else.
class WindowPlacer
{
public:
    // cascade shifts the place by that many steps, so that several windows placed beside
    // the same anchor stay apart.
    static void placeBeside(QWidget *window, const QWidget *anchor, int cascade = 0);
};
