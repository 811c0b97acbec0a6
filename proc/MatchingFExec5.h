#pragma once

#include <QList>
#include <QObject>

class MatchingRun;
class QThread;
class TDDataWL;

// Computes one row of a threaded matching run on its own thread. A worker takes only the first
// row it is given: the row signal reaches every worker alive, and the others are busy already.
class MatchingFExec5 : public QObject
{
    Q_OBJECT

public:
    // run, when given, supplies the row from the run's shared data and must outlive the
    // worker's thread; without it the row is summed directly from the arguments of calc.
    explicit MatchingFExec5(QThread *thread, MatchingRun *run = nullptr, QObject *parent = nullptr);
    ~MatchingFExec5() override;

    QThread *workThread() const { return m_thread; }

    // Queued signals hand data between threads through Qt's event queues, whose locks
    // ThreadSanitizer cannot see in an uninstrumented Qt; these mark the hand-over (sender
    // before emitting, receiver before reading) and do nothing in other builds.
    static void handOver(const void *key);
    static void takeOver(const void *key);

Q_SIGNALS:
    void calced(int iy, QList<double> vals, QThread *th);

public Q_SLOTS:
    void calc(TDDataWL *data, int iy, int wsx, int wex, int rw, int rh, double *r, double a2);

private:
    QThread *m_thread;
    MatchingRun *m_run;
    bool m_busy = false;
};
