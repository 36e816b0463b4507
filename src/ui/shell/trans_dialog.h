#pragma once

#include <memory>

#include <QSet>

#include "ui/widgets/base_dialog.h"

namespace Ui {
class TransDialog;
}

// Downloads files into the user's download folder (the root of drive D where there is one).
class TransDialog final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TransDialog)

public:
    TransDialog();
    ~TransDialog() override;

    // The file in which a download of this name is kept: free of anything that the server's name
    // could do to a path, and numbered when the name is taken, by a file or among `taken`.
    [[nodiscard]] static QString targetFile(const QString &folder, const QString &fileName,
                                            const QSet<QString> &taken = {});

public slots:
    void onStartDownload(const QString &fileName, const QString &url);

private:
    const std::unique_ptr<Ui::TransDialog> m_ui;
    QSet<QString> m_targets; // of the downloads under way, which have no file yet
};
