#pragma once

#include <memory>

#include "ui/widgets/base_dialog.h"

namespace Ui {
class RecycleDialog;
}

// The place of the recycle bin; nothing opens it yet.
class RecycleDialog final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RecycleDialog)

public:
    RecycleDialog();
    ~RecycleDialog() override;

private:
    const std::unique_ptr<Ui::RecycleDialog> m_ui;
};
