#include "app/Startup.h"

#include "app/AppState.h"
#include "app/Body.h"
#include "app/ConfigStore.h"
#include "io/BadPixelList.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTranslator>

namespace {

bool takesValue(const QString &next)
{
    if (!next.startsWith(QLatin1Char('-'))) return true;
    return next.size() >= 2 && (next.at(1).isNumber() || next.at(1) == QLatin1Char('.'));
}

// Options that never take a value, so that a file named after them is still opened.
const QStringList &switches()
{
    static const QStringList list = {QStringLiteral("-e"), QStringLiteral("-dbg"),
                                     QStringLiteral("-j")};
    return list;
}

} // namespace

Startup::Settings Startup::configure(ConfigStore &store, const QString &applicationDir)
{
    Settings s;
    const QStringList &args = store.arguments();
    const QFileInfo defaultFile(QDir(applicationDir).filePath(QStringLiteral("config.cfg")));
    // A missing file has no canonical path; its absolute one still names it in the report.
    QString defaultPath = defaultFile.canonicalFilePath();
    if (defaultPath.isEmpty()) defaultPath = defaultFile.absoluteFilePath();
    s.configFile = defaultPath;
    if (args.contains(QStringLiteral("-c")))
        s.configFile = store.value(QStringLiteral("-c"), defaultPath);
    if (args.contains(QStringLiteral("-config")))
        s.configFile = store.value(QStringLiteral("-config"));
    store.readFile(s.configFile);

    s.dataRoot = QDir::currentPath();
    s.dataRoot = store.value(QStringLiteral("DataRoot"), s.dataRoot);
    if (args.contains(QStringLiteral("-d")))
        s.dataRoot = store.value(QStringLiteral("-d"), s.dataRoot);

    (void)args.contains(QStringLiteral("-j")); // accepted, without effect
    s.english = args.contains(QStringLiteral("-e"));
    s.debug = args.contains(QStringLiteral("-dbg"));
    return s;
}

QStringList Startup::filesToOpen(const QStringList &arguments)
{
    QStringList files;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &a = arguments.at(i);
        if (a.startsWith(QLatin1Char('-'))) {
            if (!switches().contains(a) && i + 1 < arguments.size() &&
                takesValue(arguments.at(i + 1)))
                ++i; // the option's value
            continue;
        }
        files << a;
    }
    return files;
}

bool Startup::loadTranslation(QTranslator &translator, const QString &applicationDir)
{
    return translator.load(QStringLiteral(":Zelmap_ja_JP"), applicationDir);
}

Startup::Settings Startup::prepare(ConfigStore &store, QTranslator &translator,
                                   const QString &applicationDir)
{
    const Settings s = configure(store, applicationDir);
    AppState::setDataRoot(s.dataRoot);
    AppState::setDebug(s.debug);
    BadPixelList::processWide();
    if (!s.english && loadTranslation(translator, applicationDir))
        QCoreApplication::installTranslator(&translator);
    return s;
}

int Startup::run(int argc, char **argv)
{
    ConfigStore &store = ConfigStore::instance();
    store.parseCommandLine(argc, argv, false, QStringLiteral("config.cfg"), {QStringLiteral("-c")});
    QApplication app(argc, argv);
    QTranslator translator;

    prepare(store, translator, QCoreApplication::applicationDirPath());

    int status = 0;
    {
        Body body;
        QObject::connect(&body, &Body::finishing, &app, &QApplication::closeAllWindows);
        body.applyWindowSizes();
        body.show();
        const QStringList files = filesToOpen(store.arguments());
        if (!files.isEmpty()) body.loadFilesSelected(files);
        status = app.exec();
    }
    QCoreApplication::removeTranslator(&translator);
    return status;
}
