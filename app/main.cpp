#include "app/ConfigStore.h"

#include <QApplication>
#include <QLabel>

int main(int argc, char *argv[])
{
    ConfigStore::instance().parseCommandLine(argc, argv, false, QStringLiteral("config.cfg"),
                                             {QStringLiteral("-c")});
    QApplication app(argc, argv);
    QLabel placeholder(QStringLiteral("Zelmap: the main window is not built yet."));
    placeholder.show();
    return app.exec();
}
