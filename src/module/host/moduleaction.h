#pragma once

#include <QString>

class QAction;
class QDialog;

/// One action that the host places in its menus for the module, and the dialog that the action opens. The
/// host may order its menus by the three numbers. The order of the fields is part of the binary interface
/// between host and module.
struct ModuleAction
{
    QAction *action = nullptr;
    int actionNumber;
    QString menuTitle;
    int menuNumber;
    QDialog *dialog = nullptr;
    int lastNumber;
};
