#pragma once

#include <QAbstractButton>

/// Button of the title bar. Its sign is drawn, not an image, so that it is sharp at every scale and
/// takes the colour that the style sheet gives to the text. What it shows follows its object name
/// and, for the maximise button, the dynamic property "maximizeProperty".
class TitleBarButton final : public QAbstractButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TitleBarButton)

public:
    explicit TitleBarButton(QWidget *parent);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;
};
