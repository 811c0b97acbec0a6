#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

class QFileDialog;

// Keeps the directories of several open file dialogs in step: browsing in one moves the
// others along. Does not own the dialogs; a destroyed dialog leaves the group by itself.
class FDGroup : public QObject
{
    Q_OBJECT

public:
    explicit FDGroup(QObject *parent = nullptr);

    void addDialog(QFileDialog *dialog);
    QList<QFileDialog *> dialogs() const;

public slots:
    void currentChanged(const QString &path);
    void directoryEntered(const QString &path);

private:
    void moveAllTo(const QString &dir);
    void forget(QObject *dialog);

    // The guard is a QObject pointer so that a dialog in mid-destruction is never cast back.
    struct Entry
    {
        QPointer<QObject> guard;
        QFileDialog *dialog;
    };
    QList<Entry> m_dialogs;
};
