#pragma once

#include <QString>

// Takes white-space-delimited or double-quoted items off the front of a line.
class ItemSplitter
{
public:
    // Returns the next item; *rest receives what follows it (rest may alias text).
    static QString take(const QString &text, QString *rest);
};
