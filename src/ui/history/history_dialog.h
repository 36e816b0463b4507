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
// and can be taken back for ten seconds.
class HistoryDialog final : public DialogPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HistoryDialog)

public:
    explicit HistoryDialog(QWidget *parent = nullptr);
    ~HistoryDialog() override;

public slots:
    void loadHistory();

signals:
    void videoOpenRequested(const PlayRequest &request);
    // Rows were removed or put back.
    void historyChanged();
    void skipTimesCleared();

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
    void fillRow(int row, const PlayHistory &history);
    [[nodiscard]] QSet<int> selectedIds() const;
    // The records, or the row where they are gone.
    void select(const QSet<int> &ids, int row);
    [[nodiscard]] const PlayHistory *historyAt(int row) const;
    // Reloads, and offers to take back those of the candidates that are in the history no more.
    void reloadAndOfferUndo(const QList<PlayHistory> &candidates);

    void open(const PlayHistory &history);

    const std::unique_ptr<Ui::HistoryDialog> m_ui;
    PicturesInSight *m_pictures = nullptr;
    QString m_userId; // whose rows
    DQList<PlayHistory> m_rows;
    QList<PlayHistory> m_removed; // what can be taken back
};
