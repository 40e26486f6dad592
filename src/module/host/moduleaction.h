#pragma once

#include <QString>

class QAction;
class QDialog;

/// One action that the host places in its menus for the module, and the dialog behind it. The three numbers
/// are for the host's own ordering. The order of the fields is the binary boundary with the host.
struct ModuleAction
{
    QAction *action = nullptr;
    int actionNumber;
    QString menuTitle;
    int menuNumber;
    QDialog *dialog = nullptr;
    int lastNumber;
};
