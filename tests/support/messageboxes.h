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

/// Answers the message boxes that open during its life with the given buttons in order, and records them. Any
/// further box is rejected, so that a test fails instead of blocking.
class MessageBoxes : public QObject
{
public:
    explicit MessageBoxes(const QList<QMessageBox::StandardButton> &answers = {})
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { answer(); });
        m_timer.start(1);
    }

    /// The texts and titles shown so far, in order.
    QStringList texts;
    QStringList titles;
    QList<QMessageBox::StandardButton> defaults;

    /// Whether any box so far interpreted its text as markup.
    bool anyRichText = false;

    /// If set, chooses the button once the given answers are used up.
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
