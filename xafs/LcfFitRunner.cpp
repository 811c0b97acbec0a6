#include "xafs/LcfFitRunner.h"

#include "core/TDDataWL.h"

#include <QMetaObject>

#include <memory>

LcfFitRunner::LcfFitRunner(QObject *parent) : QObject(parent) {}

LcfFitRunner::~LcfFitRunner()
{
    // Calls the thread queued for this object are dropped with it.
    m_cancel = true;
    if (m_thread.joinable()) m_thread.join();
}

bool LcfFitRunner::start(const LcfModel &model, const QList<const TDData0 *> &images,
                         const QStringList &labels)
{
    if (m_running) return false;
    if (m_thread.joinable()) m_thread.join();
    m_running = true;
    m_cancel = false;
    m_result = {};
    m_error.clear();
    m_thread = std::jthread([this, model, images, labels] {
        int shown = -1;
        LcfEngine::Options options;
        options.cancel = &m_cancel;
        options.progress = [this, &shown](qsizetype done, qsizetype total) {
            const int percent = total > 0 ? int(100 * done / total) : 100;
            // A call per percent at most: the event queue stays short on huge stacks.
            if (percent == shown) return;
            shown = percent;
            QMetaObject::invokeMethod(
                this, [this, percent] { Q_EMIT progress(percent); }, Qt::QueuedConnection);
        };
        QString error;
        auto result = std::make_shared<LcfEngine::Result>(
            LcfEngine::run(model, images, options, &error, labels));
        QMetaObject::invokeMethod(
            this,
            [this, result, error] {
                if (m_thread.joinable()) m_thread.join();
                m_result = std::move(*result);
                m_error = error;
                m_running = false;
                Q_EMIT finished();
            },
            Qt::QueuedConnection);
    });
    return true;
}

void LcfFitRunner::cancel()
{
    m_cancel = true;
}
