#include "app/SelectLoadFileDialog.h"

SelectLoadFileDialog::SelectLoadFileDialog(const QString &title, QWidget *parent)
    : _FileDialog(title, parent)
{
    setNameFilters(
        {QStringLiteral("Text Files (*.txt *.dat *)"), QStringLiteral("Any Files (* *.*)")});
}
