#pragma once

#include <memory>

#include <QList>
#include <QSet>

#include "db/dq/dq_list.h"
#include "db/tables/play_history.h"
#include "ui/widgets/dialog_page.h"

class FileItem;
class PicturesInSight;
class QTableWidgetItem;
class UserInfo;
struct PlayRequest;

namespace Ui {
class HistoryDialog;
}

// The watch history of the current user, the last watched first. What is removed is gone at once
// and can be taken back for ten seconds, while the user is the same. Nothing is read before the
// page is shown.
class HistoryDialog final : public DialogPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HistoryDialog)

public:
    explicit HistoryDialog(QWidget *parent = nullptr);
    ~HistoryDialog() override;

public slots:
    void loadHistory();
    // At once, or when the page is shown.
    void loadWhenShown();

signals:
    void videoOpenRequested(const PlayRequest &request);
    // Rows were removed or put back.
    void historyChanged();
    void skipTimesCleared();

protected:
    void showEvent(QShowEvent *event) override;

private slots:
    void on_btnRemovePlayHistory_clicked();
    void on_btnClearPlayHistory_clicked();
    void on_btnClearSkipCutHistory_clicked();
    void on_btnRefresh_clicked();
    void onHeaderClicked(int column);
    void onItemDoubleClicked(QTableWidgetItem *item);
    void onUndoRequested();

private:
    void setUpTable();
    void setUpShortcuts();
    void setUpPictures();
    void showPicture(const QString &fileId);
    void setColumnWidths();
    void changeUser(const QString &userId);
    // Rows that stay are the same ones to the view, so that the selection, the current row and
    // where Shift selects from go with their records.
    void removeGoneRows();
    void fillRows();
    // Most rows are as they were: an item that is made anew costs far more.
    [[nodiscard]] bool shows(int row, const PlayHistory &history) const;
    void fillRow(int row, const PlayHistory &history);
    [[nodiscard]] int idAt(int row) const;
    [[nodiscard]] QSet<int> selectedIds() const;
    [[nodiscard]] const PlayHistory *historyAt(int row) const;
    // Reloads, and offers to take back those of the candidates that are in the history no more.
    void reloadAndOfferUndo(const QList<PlayHistory> &candidates);

    void open(const PlayHistory &history);

    const std::unique_ptr<Ui::HistoryDialog> m_ui;
    PicturesInSight *m_pictures = nullptr;
    bool m_isStale = true; // there may be other rows than those that are shown
    QString m_userId;      // whose rows
    DQList<PlayHistory> m_rows;
    QList<PlayHistory> m_removed; // what can be taken back
};
