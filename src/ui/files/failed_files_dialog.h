#pragma once

#include "ui/files/file_batches.h"
#include "ui/widgets/base_dialog.h"

// The names of the files that a batch could not do. Accepted: they shall be tried again.
class FailedFilesDialog final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FailedFilesDialog)

public:
    FailedFilesDialog(const QString &result, const QList<BatchFile> &files);
};
