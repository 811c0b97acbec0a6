#include "app/FDGroup.h"

#include <QFileDialog>
#include <QFileInfo>

FDGroup::FDGroup(QObject *parent) : QObject(parent) {}

void FDGroup::addDialog(QFileDialog *dialog)
{
    if (!dialog || dialogs().contains(dialog)) return;
    m_dialogs.append(Entry{dialog, dialog});
    connect(dialog, &QFileDialog::currentChanged, this, &FDGroup::currentChanged);
    connect(dialog, &QFileDialog::directoryEntered, this, &FDGroup::directoryEntered);
    connect(dialog, &QObject::destroyed, this, &FDGroup::forget);
}

QList<QFileDialog *> FDGroup::dialogs() const
{
    QList<QFileDialog *> list;
    for (const Entry &e : m_dialogs)
        if (e.guard) list.append(e.dialog);
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
    const QList<Entry> entries = m_dialogs;
    for (const Entry &e : entries) {
        // Dialogs already there are left alone, which stops the change echoing back.
        if (e.guard && e.dialog->directory().absolutePath() != dir) e.dialog->setDirectory(dir);
    }
}

void FDGroup::forget(QObject *dialog)
{
    // By now the pointer may already read as null, so drop those entries too.
    m_dialogs.removeIf([dialog](const Entry &e) { return e.guard.isNull() || e.guard == dialog; });
}
