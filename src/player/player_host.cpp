#include "player/player_host.h"

#include <QDebug>

PlayerHost::PlayerHost(QObject *parent) : QObject(parent) {}

PlayerHost::~PlayerHost()
{
    closeAll();
}

void PlayerHost::open(const PlayRequest &)
{
    qWarning() << "the player window is not built yet";
}

void PlayerHost::closeAll() {}

void PlayerHost::preload() {}
