#pragma once

#include <QSlider>

// The volume in per cent: a click takes the handle to the pointer.
class VolumeSlider final : public QSlider
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VolumeSlider)

public:
    explicit VolumeSlider(QWidget *parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent *event) override;
};
