#pragma once

#include <QWidget>

class QLabel;

// Short message that fades in, stays for a while, fades out and destroys itself. It takes neither
// focus nor input. Each message is a widget of its own; several may be visible at once.
class Toast final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Toast)

public:
    // Shows `text` for about 3.2 s in all. Without a parent it stands in the middle of the
    // primary screen's width, at seven tenths of its height.
    static void showTip(const QString &text, QWidget *parent = nullptr);

    [[nodiscard]] QString text() const;

private:
    explicit Toast(QWidget *parent);

    void setText(const QString &text);
    void moveToPrimaryScreen();
    void showFor(int duration);
    void fadeOut();

    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

    QLabel *m_label = nullptr;
};
