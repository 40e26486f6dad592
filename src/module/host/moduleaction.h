#pragma once

#include <QString>

class QAction;
class QDialog;

/// One action that the host places in its menus for the module, and the dialog that it opens. The host orders
/// its menus by the three numbers. The order of the fields is the binary boundary with the host.
struct ModuleAction
{
    QAction *action = nullptr;
    int actionNumber;
    QString menuTitle;
    int menuNumber;
    QDialog *dialog = nullptr;
    int lastNumber;
};
