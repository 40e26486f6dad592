#pragma once

#include <QMessageBox>

namespace networksettings2g {

/// Shows a modal message box, as the static functions of QMessageBox do, and returns the button that closed
/// it. \a text is shown as plain text: it may hold a name from the Controller, which Qt could take for rich
/// text. Code that destroys \a parent while the box is open must first close the box and detach it from
/// \a parent, because the box is a local variable of this function.
QMessageBox::StandardButton showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                        const QString &text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

} // namespace networksettings2g
