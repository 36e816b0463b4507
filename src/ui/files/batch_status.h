#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include "ui/files/file_batches.h"

class FailedFilesDialog;
class QAbstractButton;
class QLabel;

// A line for a window's status bar: what is being done to how many files, with a way to cancel it;
// at the end how it went, with the names of the files that failed and a way to try them again. A
// result without failures goes by itself, the others when the user has seen them. Hidden while
// there is nothing to say.
class BatchStatus final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BatchStatus)

public:
    // The batches must outlive the widget.
    explicit BatchStatus(FileBatches *batches, QWidget *parent = nullptr);

    [[nodiscard]] QString text() const;
    // Some batch ended with failures that the user has not put aside yet.
    [[nodiscard]] bool hasFailures() const { return !m_unseen.isEmpty(); }

private:
    QAbstractButton *addButton(const QString &text, const QString &name);
    void onFinished(const FileBatch &batch);
    void showState();
    void showLine(const QString &text, bool runs, bool hasFailures);
    void showCancelling(bool isCancelled);
    void showFailures();
    // The user has seen how the batch ended.
    void settle(int number);

    FileBatches *const m_batches;
    int m_shown = 0; // the batch that runs and is told of
    QLabel *m_text = nullptr;
    QAbstractButton *m_cancel = nullptr;
    QAbstractButton *m_details = nullptr;
    QAbstractButton *m_close = nullptr;
    QList<FileBatch> m_unseen; // ended with failures that the user has not been shown yet
    QPointer<FailedFilesDialog> m_failures;
    QTimer m_hide;
    QTimer m_cancelPause; // between the two presses
};
