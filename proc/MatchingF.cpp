#include "proc/MatchingF.h"

#include "proc/MatchingFExec5.h"
#include "proc/MatchingRun.h"

#include <QMetaMethod>
#include <QThread>

#include <cmath>
#include <thread>

namespace {
constexpr double kPi = 3.141592653589793;
// Small enough that the C library keeps the stacks of a full set of row threads for the next
// ones (a fresh mapping per thread costs more than a row); the FFT keeps its buffers on the
// heap.
constexpr uint kWorkerStack = 1u << 20;
} // namespace

MatchingF::MatchingF(int thresholdMode, int execMode, int maxThreads, QObject *parent)
    : Filter(3, parent), m_thresholdMode(thresholdMode), m_execMode(execMode),
      m_maxThreads(std::max(1, maxThreads))
{
    qRegisterMetaType<QList<double>>();
    qRegisterMetaType<TDDataWL *>();
    qRegisterMetaType<double *>();
    qRegisterMetaType<QThread *>();
    connect(this, &MatchingF::doExec5Next, this, &MatchingF::exec5Next);
    const auto slot = [](const QMetaObject &mo, const char *signature) {
        return mo.method(mo.indexOfSlot(signature));
    };
    m_deleteTh = slot(staticMetaObject, "deleteTh()");
    m_givenMachingALine = slot(staticMetaObject, "givenMachingALine(int,QList<double>)");
    m_calc = slot(MatchingFExec5::staticMetaObject,
                  "calc(TDDataWL*,int,int,int,int,int,double*,double)");
}

MatchingF::~MatchingF()
{
    if (m_run) m_run->cancel();
    for (const QPointer<QThread> &th : std::as_const(m_liveThreads)) {
        if (!th) continue;
        th->quit();
        th->wait();
        MatchingFExec5::takeOver(th.data());
    }
    for (MatchingFExec5 *w : std::as_const(m_workers))
        MatchingFExec5::takeOver(w);
    // The threads have ended, so their workers may be deleted from here.
    qDeleteAll(m_workers);
    for (const QPointer<QThread> &th : std::as_const(m_liveThreads))
        delete th.data();
}

std::unique_ptr<TDDataWL> MatchingF::makeResult(const TDDataWL &source) const
{
    auto result = std::make_unique<TDDataWL>(source.width(), source.height());
    result->setLevel(source.level() + 1);
    return result;
}

void MatchingF::storeRow(int x0, int y, const double *cs, int n)
{
    // Written straight into the row; the statistics are widened once over what was stored, as
    // storing the values one by one would have done.
    const qsizetype at = qsizetype(y) * m_result->width() + x0;
    double *values = m_result->values() + at;
    quint8 *valid = m_result->validFlags() + at;
    m_stored.clear();
    for (int i = 0; i < n; ++i) {
        const double c = cs[i];
        const double v = m_thresholdMode == 2 ? 1.0 - std::acos(c) / kPi : c;
        // Neither the marker nor NaN is above -2.
        if (!(v > -2.0 && c > -2.0)) continue;
        values[i] = v;
        valid[i] = 1;
        m_stored.push_back(v);
    }
    m_result->widenStatistics(m_stored.data(), qsizetype(m_stored.size()));
}

double MatchingF::normalizedInnerP(TDDataWL *data, int ix, int iy, int rw, int rh, double *r,
                                   double a2)
{
    if (!data || !r) return MatchingRun::kNoValue;
    return MatchingRun::directValue(*data, ix, iy, rw, rh, r, a2);
}

void MatchingF::execMatching2(TDDataWL *source, const QRect &rect)
{
    if (m_running) return;
    if (!source || !source->isRegionSet()) {
        Q_EMIT finished();
        return;
    }
    QElapsedTimer timer;
    timer.start();
    const QPointer<TDDataWL> guard(source);
    const QString sourceId = source->dataId();
    m_result = makeResult(*source);
    MatchingRun run(*source, rect, m_thresholdMode);
    if (run.canRun() && run.bottom() > run.top()) {
        // A spare core works ahead on the bands while this thread walks the rows.
        std::thread helper;
        if (std::thread::hardware_concurrency() > 1)
            helper = std::thread([&run] { run.computeAll(); });
        for (int y = run.top(); y < run.bottom(); ++y) {
            Q_EMIT filteringLine(y);
            const QList<double> vals = run.row(y);
            storeRow(run.left(), y, vals.constData(),
                     int(std::min<qsizetype>(vals.size(), run.right() - run.left())));
        }
        if (helper.joinable()) helper.join();
    }
    m_result->setDataId(tr("%1: PM").arg(sourceId));
    if (guard) guard->copyShapes(m_result.get());
    Q_EMIT newFilteredData(m_result.release());
    Q_EMIT filterProcTime(timer.elapsed());
    Q_EMIT finished();
}

void MatchingF::execMatching5(TDDataWL *source, const QRect &rect)
{
    if (m_running) return;
    if (!source || !source->isRegionSet()) {
        Q_EMIT finished();
        return;
    }
    m_timer = std::make_unique<QElapsedTimer>();
    m_timer->start();
    m_result = makeResult(*source);
    m_run = std::make_unique<MatchingRun>(*source, rect, m_thresholdMode);
    if (!m_run->canRun()) {
        m_run.reset();
        m_result.reset();
        m_timer.reset();
        Q_EMIT finished();
        return;
    }
    m_source = source;
    m_sourceCopy = std::make_unique<TDDataWL>(0, 0);
    m_sourceCopy->setDataId(source->dataId());
    source->copyShapes(m_sourceCopy.get());
    m_left = m_run->left();
    m_right = m_run->right();
    m_top = m_run->top();
    m_bottom = m_run->bottom();
    m_nextRow = m_top;
    m_finishedRows = 0;
    m_resultEmitted = false;
    m_running = true;
    Q_EMIT doExec5Next();
}

void MatchingF::exec5Next()
{
    if (!m_running || m_resultEmitted) return;
    if (m_nextRow >= m_bottom) {
        if (m_finishedRows < m_bottom - m_top) return;
        finishExec5();
        return;
    }
    while (m_threads.size() < m_maxThreads && m_nextRow < m_bottom) {
        Q_EMIT filteringLine(m_nextRow);
        // Owned through the lists until the row comes back, then released with deleteLater.
        auto *th = new QThread;
        auto *worker = new MatchingFExec5(th, m_run.get());
        m_threads << th;
        m_workers << worker;
        m_liveThreads << th;
        // The connections that cross threads go by meta-method: no functor object is then
        // shared between the threads (whose release ThreadSanitizer could not follow).
        connect(th, QMetaMethod::fromSignal(&QThread::finished), this, m_deleteTh);
        // Every later row would reach this worker too, only to be dropped as it is busy; each
        // such delivery wakes its thread, which costs more than the row itself. So the row
        // connection carries one row only.
        connect(this, QMetaMethod::fromSignal(&MatchingF::calcMatchingALine), worker, m_calc,
                Qt::SingleShotConnection);
        connect(worker, QMetaMethod::fromSignal(&MatchingFExec5::calced), this,
                m_givenMachingALine);
        worker->moveToThread(th);
        // The row is posted before the thread starts: it is delivered as soon as the thread's
        // event loop runs, and the thread's start orders everything before it.
        Q_EMIT calcMatchingALine(m_source.data(), m_nextRow, m_left, m_right, m_run->rw(),
                                 m_run->rh(), const_cast<double *>(m_run->templateValues()),
                                 m_run->a2());
        MatchingFExec5::handOver(worker);
        th->setStackSize(kWorkerStack);
        th->start(QThread::InheritPriority);
        ++m_nextRow;
    }
}

void MatchingF::givenMachingALine(int iy, QList<double> vals)
{
    // Found by address alone: a worker is dereferenced only while it is known to be alive.
    const qsizetype at = m_workers.indexOf(static_cast<MatchingFExec5 *>(sender()));
    if (at < 0 || !m_result) return;
    MatchingFExec5 *worker = m_workers.takeAt(at);
    MatchingFExec5::takeOver(worker);
    if (iy >= m_top && iy < m_bottom) {
        storeRow(m_left, iy, vals.constData(),
                 int(std::min<qsizetype>(vals.size(), m_right - m_left)));
    }
    ++m_finishedRows;
    // Its thread is still running and may delete it as soon as deleteLater is posted.
    QThread *th = worker->workThread();
    MatchingFExec5::handOver(worker);
    worker->deleteLater();
    if (m_threads.removeOne(th)) th->quit();
    Q_EMIT doExec5Next();
}

void MatchingF::deleteTh()
{
    QThread *th = static_cast<QThread *>(sender());
    if (!th || m_liveThreads.removeAll(th) == 0) return;
    // finished() comes just before the thread deletes its worker; the run is over only once
    // that is done.
    th->wait();
    MatchingFExec5::takeOver(th);
    th->deleteLater();
    endIfIdle();
}

void MatchingF::finishExec5()
{
    m_result->setDataId(tr("%1: PM").arg(m_sourceCopy->dataId()));
    m_sourceCopy->copyShapes(m_result.get());
    m_resultEmitted = true;
    Q_EMIT newFilteredData(m_result.release());
    Q_EMIT filteringLine(-1);
    Q_EMIT filterProcTime(m_timer->elapsed());
    m_timer.reset();
    endIfIdle();
}

void MatchingF::endIfIdle()
{
    if (!m_running || !m_resultEmitted || !m_liveThreads.isEmpty()) return;
    m_running = false;
    m_run.reset();
    m_sourceCopy.reset();
    m_source.clear();
    Q_EMIT finished();
}
