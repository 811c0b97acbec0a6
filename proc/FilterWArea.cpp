#include "proc/FilterWArea.h"

FilterWArea::FilterWArea(int typeCode, int hx, int hy, QObject *parent)
    : Filter(typeCode, parent), m_hx(hx), m_hy(hy)
{
}
