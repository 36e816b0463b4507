#include "ui/shell/fav_dialog.h"

#include "ui_fav_dialog.h"

FavDialog::FavDialog() : m_ui(std::make_unique<Ui::FavDialog>())
{
    m_ui->setupUi(this);
}

FavDialog::~FavDialog() = default;
