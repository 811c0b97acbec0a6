#include "app/_FileDialog.h"

#include "app/AppState.h"

_FileDialog::_FileDialog(const QString &title, QWidget *parent)
    : QFileDialog(parent, QString(), QString(), QString())
{
    setOption(QFileDialog::DontUseNativeDialog);
    setWindowTitle(title);
    // An unset root keeps Qt's default (the working directory) rather than an empty path.
    const QString start = AppState::dataRoot();
    if (!start.isEmpty()) setDirectory(start);
    setModal(false);
}
