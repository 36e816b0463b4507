#include "ui/shell/recycle_dialog.h"

#include "ui_recycle_dialog.h"

RecycleDialog::RecycleDialog() : m_ui(std::make_unique<Ui::RecycleDialog>())
{
    m_ui->setupUi(this);
}

RecycleDialog::~RecycleDialog() = default;
