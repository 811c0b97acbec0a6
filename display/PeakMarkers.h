#pragma once

class ChCoord;
class QPainter;
class TDData0;

// Draws the point lists (kind-1 shapes) of a record over its picture: a dot in a palette
// colour, one colour per list, ringed in black so that it reads on the black-to-white heat
// ramp and on grey alike, with the point's number beside it while few points are in view.
class PeakMarkers
{
public:
    static constexpr int kNumberedLimit = 200;
    static constexpr double kRadius = 4.0;

    static void draw(QPainter *p, const ChCoord &coord, const TDData0 &record);
};
