#pragma once

#include <memory>

#include "ui/widgets/base_dialog.h"

namespace Ui {
class FavDialog;
}

// The place of the favourites; nothing opens it yet.
class FavDialog final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FavDialog)

public:
    FavDialog();
    ~FavDialog() override;

private:
    const std::unique_ptr<Ui::FavDialog> m_ui;
};
