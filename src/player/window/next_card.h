#pragma once

#include <QFrame>

class QLabel;
class QPushButton;
struct NextUp;

// The card in the video's upper corner, away from subtitles, that names the next video shortly
// before its turn, with a button to stay here. It follows its parent's size. When it goes, the
// focus goes back to the parent.
class NextCard final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NextCard)

public:
    explicit NextCard(QWidget *video);

    void tell(const NextUp &next);
    void leave();

signals:
    void stayRequested();
    void dismissed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void layOut();
    void place();

    QLabel *m_when = nullptr;
    QLabel *m_name = nullptr;
    QPushButton *m_stay = nullptr;
};
