#pragma once

#include "ui/widgets/base_dialog.h"

// The page of all keys: of the player and of the lists.
class KeysDialog final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(KeysDialog)

public:
    // Shows the page above `opener`, or raises the one that is open already. It destroys itself
    // when it is closed.
    static void open(QWidget *opener);

private:
    KeysDialog();
    static KeysDialog *shown();
};
