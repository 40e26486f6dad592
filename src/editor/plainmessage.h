#pragma once

#include <QMessageBox>

namespace networksettings2g {

/// QMessageBox::warning(), except that \a text is shown as plain text: it may hold a name that comes from the
/// Controller, which must not be taken for markup. If \a parent is destroyed while the box is open, the box has
/// to be closed and detached first.
QMessageBox::StandardButton showWarning(QWidget *parent, const QString &title, const QString &text,
                                        QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

/// The same as QMessageBox::question().
QMessageBox::StandardButton showQuestion(QWidget *parent, const QString &title, const QString &text,
                                         QMessageBox::StandardButtons buttons,
                                         QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

} // namespace networksettings2g
