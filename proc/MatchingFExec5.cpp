#include "proc/MatchingFExec5.h"

#include "core/TDDataWL.h"
#include "proc/MatchingRun.h"

MatchingFExec5::MatchingFExec5(QThread *thread, MatchingRun *run, QObject *parent)
    : QObject(parent), m_thread(thread), m_run(run)
{
}

void MatchingFExec5::calc(TDDataWL *data, int iy, int wsx, int wex, int rw, int rh, double *r,
                          double a2)
{
    if (m_busy) return;
    m_busy = true;
    QList<double> vals;
    if (m_run) {
        vals = m_run->row(iy);
    } else if (data && r) {
        for (int x = wsx; x < wex; ++x)
            vals << MatchingRun::directValue(*data, x, iy, rw, rh, r, a2);
    }
    Q_EMIT calced(iy, vals, m_thread);
}
