#pragma once

#include <QString>
#include <QStringList>

class ConfigStore;
class QTranslator;

// The program's start: command line and configuration file into the store, the data root
// and debug switch fixed, the translation installed, the main window shown.
class Startup
{
public:
    struct Settings
    {
        QString configFile;
        QString dataRoot;
        bool debug = false;
        bool english = false;
    };

    // Reads the configuration file chosen by the command line (already parsed into store)
    // and works out the rest. applicationDir is where the default "config.cfg" lives.
    static Settings configure(ConfigStore &store, const QString &applicationDir);
    // The arguments that are neither options nor an option's value: files to open at start.
    static QStringList filesToOpen(const QStringList &arguments);
    // Loads the Japanese translation from the resources; false when there is none.
    static bool loadTranslation(QTranslator &translator, const QString &applicationDir);
    // configure(), then the data root and debug switch set and, unless "-e" was given, the
    // translation installed into the running application.
    static Settings prepare(ConfigStore &store, QTranslator &translator,
                            const QString &applicationDir);

    static int run(int argc, char **argv);
};
