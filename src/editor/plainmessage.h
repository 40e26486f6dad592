#pragma once

#include <QMessageBox>

namespace networksettings2g {

/// Shows a modal message box and returns the button that closed it. \a text is shown as plain text, because
/// it may hold a name that Qt could take for rich text.
/// Note: The box is a local variable of this function. Code that destroys \a parent while the box is open
/// must first close the box and detach it from \a parent.
QMessageBox::StandardButton showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                        const QString &text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

} // namespace networksettings2g
