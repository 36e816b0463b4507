#pragma once

#include <QProgressBar>

// How much of a user's disk space is used, as a thin bar beside the figures.
class SpaceBar final : public QProgressBar
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SpaceBar)

public:
    explicit SpaceBar(QWidget *parent = nullptr);

    // 0 to 1; a negative share is not known, and there is no bar then.
    void setShare(double share);
};
