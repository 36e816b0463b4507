#pragma once

#include <QDialog>

class WindowFrame;

// Frameless base of every dialog: title bar, border, and dragging by any free area. A dialog is a
// top-level window of its own and has no parent, whatever parent its derived class receives.
class BaseDialog : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BaseDialog)

public:
    enum class Maximizing { Refused, Allowed };

    explicit BaseDialog(Maximizing maximizing = Maximizing::Refused);
    ~BaseDialog() override;

    // The user turned the dialog away, as opposed to the program closing it.
    bool closedByUser() const { return m_closedByUser; }

    // Cancelling the dialog shall end the application. The derived class asks for the flag where
    // it knows that the user cancelled.
    void setQuitOnCancel(bool quit) { m_quitOnCancel = quit; }
    bool quitOnCancel() const { return m_quitOnCancel; }

    // False gives the title bar's room to the contents.
    void setTitleBarVisible(bool visible);

protected:
    void setClosedByUser() { m_closedByUser = true; }

private:
    bool m_titleBarVisible = true;
    bool m_closedByUser = false;
    bool m_quitOnCancel = false;
    WindowFrame *m_frame = nullptr;
};
