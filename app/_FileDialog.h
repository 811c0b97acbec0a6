#pragma once

#include <QFileDialog>

// Base of the program's file dialogs: Qt's own (not the platform's) dialog, so that groups
// can steer its directory, opening non-modal in the data root.
class _FileDialog : public QFileDialog
{
    Q_OBJECT

public:
    explicit _FileDialog(const QString &title, QWidget *parent = nullptr);
};
