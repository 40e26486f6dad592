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

/// Answers the message boxes that come up while it lives, one scripted button after the other, and keeps what
/// they said. A box beyond the script is closed with Escape, so that a test fails instead of standing still.
class MessageBoxes : public QObject
{
public:
    explicit MessageBoxes(const QList<QMessageBox::StandardButton> &answers = {})
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { answer(); });
        m_timer.start(1);
    }

    /// The texts shown so far, in order.
    QStringList texts;
    QList<QMessageBox::StandardButton> defaults;

    /// Whether a box would show the text that it was given as markup.
    bool anyRichText = false;

    /// Answers what the script does not.
    std::function<QMessageBox::StandardButton(const QMessageBox *)> decide;

private:
    void answer()
    {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        texts << box->text();
        anyRichText = anyRichText || box->textFormat() == Qt::RichText ||
                      (box->textFormat() == Qt::AutoText && Qt::mightBeRichText(box->text()));
        defaults << box->standardButton(box->defaultButton());
        QAbstractButton *button = nullptr; // an unexpected box may have another one
        if (!m_answers.isEmpty())
            button = box->button(m_answers.takeFirst());
        else if (decide)
            button = box->button(decide(box));
        if (button)
            button->click();
        else
            box->reject();
    }

    QList<QMessageBox::StandardButton> m_answers;
    QTimer m_timer;
};
