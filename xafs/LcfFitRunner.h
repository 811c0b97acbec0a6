#pragma once

#include "xafs/LcfEngine.h"
#include "xafs/LcfModel.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <thread>

class TDData0;

// Runs one LcfEngine fit at a time on a thread of its own and hands progress and the result
// back to the thread that owns this object through queued calls, so a window stays
// responsive during a long fit. Deleting the runner cancels a fit and waits for it.
class LcfFitRunner : public QObject
{
    Q_OBJECT

public:
    explicit LcfFitRunner(QObject *parent = nullptr);
    ~LcfFitRunner() override;

    // The images must stay alive and unchanged until finished(). False while a fit runs.
    bool start(const LcfModel &model, const QList<const TDData0 *> &images,
               const QStringList &labels);
    bool isRunning() const { return m_running; }
    // Asks the fit to stop; finished() still comes, with a cancelled result.
    void cancel();

    // The result of the fit that finished last, and why it has no records when it has none.
    LcfEngine::Result takeResult() { return std::move(m_result); }
    const QString &error() const { return m_error; }

Q_SIGNALS:
    void progress(int percent);
    void finished();

private:
    std::jthread m_thread;
    std::atomic<bool> m_cancel{false};
    bool m_running = false;
    LcfEngine::Result m_result;
    QString m_error;
};
