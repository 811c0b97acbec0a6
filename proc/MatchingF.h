#pragma once

#include "core/TDDataWL.h"
#include "proc/Filter.h"

#include <QElapsedTimer>
#include <QList>
#include <QMetaMethod>
#include <QPointer>
#include <QRect>

#include <memory>
#include <vector>

class MatchingFExec5;
class MatchingRun;
class QThread;

// Pattern matching: slides the template cut from the source's region (grown by one column and
// one row) over the processing rectangle and writes the normalised inner product, or
// 1 - arccos / pi of it, at every position. execMatching2 computes everything before it
// returns; execMatching5 returns at once and deals the rows to worker threads, one QThread per
// row and at most maxThreads at a time, writing each row back on this object's thread.
//
// Every call of a run operation ends with exactly one finished(): at once when there is nothing
// to run (no region, a template without energy) or after a synchronous run, and on the
// threaded path once the result has been emitted and the last worker thread has gone. The
// object may be released from then on; released earlier, it stops the rows still out and waits
// for their threads.
class MatchingF : public Filter
{
    Q_OBJECT

public:
    MatchingF(int thresholdMode, int execMode, int maxThreads, QObject *parent = nullptr);
    ~MatchingF() override;

    int thresholdMode() const { return m_thresholdMode; }
    int execMode() const { return m_execMode; }
    int maxThreads() const { return m_maxThreads; }
    bool isRunning() const { return m_running; }
    // Rows handed to workers and not yet written back.
    int rowsOut() const { return int(m_threads.size()); }

    void execMatching2(TDDataWL *source, const QRect &rect);
    void execMatching5(TDDataWL *source, const QRect &rect);

Q_SIGNALS:
    void doExec5Next();
    void calcMatchingALine(TDDataWL *data, int iy, int wsx, int wex, int rw, int rh, double *r,
                           double a2);
    void finished();

public Q_SLOTS:
    // The cosine at (ix, iy) summed directly, or -2.0 when the window has no energy.
    double normalizedInnerP(TDDataWL *data, int ix, int iy, int rw, int rh, double *r, double a2);
    void exec5Next();
    void givenMachingALine(int iy, QList<double> vals);
    void deleteTh();

private:
    std::unique_ptr<TDDataWL> makeResult(const TDDataWL &source) const;
    // Stores the values of row y from column x0 on, each transformed as the threshold mode says;
    // markers of no value are skipped.
    void storeRow(int x0, int y, const double *cs, int n);
    void finishExec5();
    void endIfIdle();

    const int m_thresholdMode;
    const int m_execMode;
    const int m_maxThreads;

    // The threaded run; the run holds its own copy of the source and template, and the
    // source's id and shapes are taken when it starts, so the source may go meanwhile.
    bool m_running = false;
    bool m_resultEmitted = false;
    QPointer<TDDataWL> m_source;
    std::unique_ptr<MatchingRun> m_run;
    std::unique_ptr<TDDataWL> m_result;
    std::unique_ptr<TDDataWL> m_sourceCopy; // data id and shapes only
    std::unique_ptr<QElapsedTimer> m_timer;
    int m_left = 0, m_right = 0, m_top = 0, m_bottom = 0;
    int m_nextRow = 0;
    int m_finishedRows = 0;
    // Rows out: parentless workers and their threads, released when the row comes back.
    QList<QThread *> m_threads;
    QList<MatchingFExec5 *> m_workers;
    // Every thread not yet released, including those asked to quit.
    QList<QPointer<QThread>> m_liveThreads;
    QMetaMethod m_deleteTh, m_givenMachingALine, m_calc;
    std::vector<double> m_stored; // one row's stored values, kept from row to row
};
