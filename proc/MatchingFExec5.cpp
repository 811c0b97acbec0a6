#include "proc/MatchingFExec5.h"

#include "core/TDDataWL.h"
#include "proc/MatchingRun.h"

#if defined(__SANITIZE_THREAD__)
#define ZELMAP_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ZELMAP_THREAD_SANITIZER 1
#endif
#endif

#ifdef ZELMAP_THREAD_SANITIZER
extern "C" void __tsan_acquire(void *addr);
extern "C" void __tsan_release(void *addr);
#endif

void MatchingFExec5::handOver(const void *key)
{
#ifdef ZELMAP_THREAD_SANITIZER
    __tsan_release(const_cast<void *>(key));
#else
    Q_UNUSED(key);
#endif
}

void MatchingFExec5::takeOver(const void *key)
{
#ifdef ZELMAP_THREAD_SANITIZER
    __tsan_acquire(const_cast<void *>(key));
#else
    Q_UNUSED(key);
#endif
}

MatchingFExec5::MatchingFExec5(QThread *thread, MatchingRun *run, QObject *parent)
    : QObject(parent), m_thread(thread), m_run(run)
{
}

// Deleted on its own thread after deleteLater from the owner, who waits for the thread and
// then takes over.
MatchingFExec5::~MatchingFExec5()
{
    takeOver(this);
    handOver(m_thread);
}

void MatchingFExec5::calc(TDDataWL *data, int iy, int wsx, int wex, int rw, int rh, double *r,
                          double a2)
{
    takeOver(this);
    if (m_busy) return;
    m_busy = true;
    QList<double> vals;
    if (m_run) {
        vals = m_run->row(iy);
    } else if (data && r) {
        for (int x = wsx; x < wex; ++x)
            vals << MatchingRun::directValue(*data, x, iy, rw, rh, r, a2);
    }
    QThread *const thread = m_thread;
    handOver(this);
    Q_EMIT calced(iy, vals, thread);
    handOver(this); // the emission read this object too
}
