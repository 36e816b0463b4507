#pragma once

#include <QByteArray>

// The saved layout of the player window.
class PlayerState
{
public:
    PlayerState() = default;
    PlayerState(const PlayerState &) = default;
    PlayerState(PlayerState &&) = default;
    PlayerState &operator=(const PlayerState &) = default;
    PlayerState &operator=(PlayerState &&) = default;
    virtual ~PlayerState() = default;

    QByteArray geometry;        // QWidget::saveGeometry
    QByteArray splitterState;   // QSplitter::saveState
    bool showVideoList = false; // whether the list beside the picture is shown
};
