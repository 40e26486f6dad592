#include "plainmessage.h"

namespace networksettings2g {

namespace {

QMessageBox::StandardButton show(QMessageBox &box, QMessageBox::StandardButton defaultButton)
{
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(defaultButton);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

} // namespace

QMessageBox::StandardButton showWarning(QWidget *parent, const QString &title, const QString &text,
                                        QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton)
{
    QMessageBox box(QMessageBox::Warning, title, text, buttons, parent);
    return show(box, defaultButton);
}

QMessageBox::StandardButton showQuestion(QWidget *parent, const QString &title, const QString &text,
                                         QMessageBox::StandardButtons buttons,
                                         QMessageBox::StandardButton defaultButton)
{
    QMessageBox box(QMessageBox::Question, title, text, buttons, parent);
    return show(box, defaultButton);
}

} // namespace networksettings2g
