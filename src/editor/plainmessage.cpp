#include "plainmessage.h"

namespace networksettings2g {

QMessageBox::StandardButton showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                        const QString &text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton)
{
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(defaultButton);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

} // namespace networksettings2g
