#pragma once

#include "app/_FileDialog.h"

// Chooses one image file (single) or several for loading.
class SelectImgDialog : public _FileDialog
{
    Q_OBJECT

public:
    SelectImgDialog(bool single, const QString &title, QWidget *parent = nullptr);
};
