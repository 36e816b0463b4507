#pragma once

#include <QObject>

class QToolButton;

// The menu of the qualities in which videos are opened; its button shows the stored one.
class QualityMenu final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QualityMenu)

public:
    // Belongs to the button.
    explicit QualityMenu(QToolButton *button);

    void showStored();

signals:
    // The user chose; the setting is already stored.
    void chosen();

private:
    void choose(const QString &id);

    QToolButton *const m_button;
};
