#include "app/SelectImgDialog.h"

SelectImgDialog::SelectImgDialog(bool single, const QString &title, QWidget *parent)
    : _FileDialog(title, parent)
{
    setAcceptMode(QFileDialog::AcceptOpen);
    setFileMode(single ? QFileDialog::ExistingFile : QFileDialog::ExistingFiles);
    setNameFilters({QStringLiteral("KWNB Files, IMG Files, Tiff Files (*.dat *.img *.tif *.tiff)"),
                    QStringLiteral("Any Files (* *.*)")});
}
