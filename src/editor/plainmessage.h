#pragma once

#include <QMessageBox>

namespace networksettings2g {

/// Shows a message box as the static functions of QMessageBox do and returns the button that closed it. Its
/// \a text is plain text: it may hold a name that comes from the Controller, which must not be taken for
/// markup. Code that destroys \a parent while the box is open must close and detach the box first.
QMessageBox::StandardButton showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                        const QString &text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

} // namespace networksettings2g
