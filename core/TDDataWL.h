#pragma once

#include "core/TDData.h"

// The record the rest of the program passes around: a TDData with a processing level,
// 0 for loaded data and one above its highest source for derived data.
class TDDataWL : public TDData
{
    Q_OBJECT

public:
    explicit TDDataWL(int width, int height, QObject *parent = nullptr);
    TDDataWL(int width, int height, Unset unset, QObject *parent = nullptr);

    int level() const { return m_level; }
    void setLevel(int level) { m_level = level; }

    TDDataWL *copy() const;
    TDDataWL *smoothedCopy(int halfWidthX, int halfWidthY) const;

private:
    int m_level = 0;
};
