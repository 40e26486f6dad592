#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QObject>
#include <QPushButton>
#include <QStringList>
#include <QTextDocument>
#include <QTimer>

#include <functional>

/// Answers the modal message boxes that open during its life with the given buttons in order, and records the
/// boxes. When the buttons are used up, \a decide chooses the button. A box for which there is no button is
/// closed as by the user, with No or Cancel, so that it does not block the test. GUI thread only.
class MessageBoxes : public QObject
{
public:
    explicit MessageBoxes(const QList<QMessageBox::StandardButton> &answers = {})
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { answer(); });
        m_timer.start(1);
    }

    /// The texts, titles and default buttons of the boxes so far, in order.
    QStringList texts;
    QStringList titles;
    QList<QMessageBox::StandardButton> defaults;

    /// Whether any box so far interpreted its text as markup.
    bool anyRichText = false;

    /// If set, returns the button for a box that opens after the given buttons are used up.
    std::function<QMessageBox::StandardButton(const QMessageBox *)> decide;

private:
    void answer()
    {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        texts << box->text();
        titles << box->windowTitle();
        anyRichText = anyRichText || box->textFormat() == Qt::RichText ||
                      (box->textFormat() == Qt::AutoText && Qt::mightBeRichText(box->text()));
        defaults << box->standardButton(box->defaultButton());
        QAbstractButton *button = nullptr; // stays null if none is given or the box lacks it
        if (!m_answers.isEmpty())
            button = box->button(m_answers.takeFirst());
        else if (decide)
            button = box->button(decide(box));
        if (button)
            button->click();
        else
            box->close();
    }

    QList<QMessageBox::StandardButton> m_answers;
    QTimer m_timer;
};
