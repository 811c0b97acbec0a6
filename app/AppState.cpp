#include "app/AppState.h"

namespace {

struct State
{
    QString dataRoot;
    bool debug = false;
};

State &state()
{
    static State s;
    return s;
}

} // namespace

QString AppState::dataRoot()
{
    return state().dataRoot;
}

void AppState::setDataRoot(const QString &dir)
{
    state().dataRoot = dir;
}

bool AppState::debug()
{
    return state().debug;
}

void AppState::setDebug(bool on)
{
    state().debug = on;
}
