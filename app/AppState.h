#pragma once

#include <QString>

// The process-wide state fixed at start-up and read everywhere else: the data root, where
// file dialogs and readers start, and the debug switch for extra diagnostics.
class AppState
{
public:
    static QString dataRoot();
    static void setDataRoot(const QString &dir);
    static bool debug();
    static void setDebug(bool on);
};
