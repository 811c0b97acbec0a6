#pragma once

#include "app/_FileDialog.h"

// Chooses a text data file such as a spectrum.
class SelectLoadFileDialog : public _FileDialog
{
    Q_OBJECT

public:
    explicit SelectLoadFileDialog(const QString &title, QWidget *parent = nullptr);
};
