#include "Cli.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const int status = Cli::run(app.arguments().mid(1), out, err);
    out.flush();
    err.flush();
    return status;
}
