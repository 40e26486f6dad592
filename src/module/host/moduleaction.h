#pragma once

#include <QString>

class QAction;
class QDialog;

/// One action that the host places in its menus for the module, and the dialog that the action opens. The
/// module owns the record, the action and the dialog. The host may use them until it calls
/// ModuleInterface::releaseResources(), and may order its menus by the three numbers. The order of the fields
/// is part of the binary interface between host and module.
struct ModuleAction
{
    QAction *action = nullptr;
    int actionNumber;
    QString menuTitle; // the menu for the action, with the mnemonic marked by "&"
    int menuNumber;
    QDialog *dialog = nullptr; // null again after the parent widget has been destroyed
    int lastNumber;
};
