#include "app/FDGroup.h"

#include <QFileDialog>
#include <QFileInfo>

FDGroup::FDGroup(QObject *parent) : QObject(parent) {}

void FDGroup::addDialog(QFileDialog *dialog)
{
    if (!dialog || m_dialogs.contains(dialog)) return;
    m_dialogs.append(dialog);
    connect(dialog, &QFileDialog::currentChanged, this, &FDGroup::currentChanged);
    connect(dialog, &QFileDialog::directoryEntered, this, &FDGroup::directoryEntered);
    connect(dialog, &QObject::destroyed, this, &FDGroup::forget);
}

QList<QFileDialog *> FDGroup::dialogs() const
{
    QList<QFileDialog *> list;
    for (const QPointer<QFileDialog> &d : m_dialogs)
        if (d) list.append(d.data());
    return list;
}

void FDGroup::currentChanged(const QString &path)
{
    if (path.isEmpty()) return;
    moveAllTo(QFileInfo(path).canonicalPath());
}

void FDGroup::directoryEntered(const QString &path)
{
    if (path.isEmpty()) return;
    moveAllTo(QFileInfo(path).canonicalFilePath());
}

void FDGroup::moveAllTo(const QString &dir)
{
    if (dir.isEmpty()) return;
    // Copy first: moving a dialog may make it signal back into this group.
    const QList<QPointer<QFileDialog>> dialogs = m_dialogs;
    for (const QPointer<QFileDialog> &d : dialogs) {
        // Dialogs already there are left alone, which stops the change echoing back.
        if (d && d->directory().absolutePath() != dir) d->setDirectory(dir);
    }
}

void FDGroup::forget(QObject *dialog)
{
    // By now the pointer may already read as null, so drop those entries too.
    m_dialogs.removeIf([dialog](const QPointer<QFileDialog> &d) {
        return d.isNull() || static_cast<QObject *>(d.data()) == dialog;
    });
}
