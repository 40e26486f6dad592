#include "treatmentpanel.h"

#include "simulatedcontroller.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

TreatmentPanel::TreatmentPanel(SimulatedController &controller, QWidget *parent)
    : QGroupBox(tr("Failures"), parent)
    , m_controller(controller)
{
    auto *form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setVerticalSpacing(3);
    auto *behave = new QPushButton(tr("All as &usual again"));
    connect(behave, &QPushButton::clicked, this, &TreatmentPanel::behave);
    form->addRow(behave);
    for (int phrase = 0; phrase < phraseCount; ++phrase) {
        const Phrase &said = phrases()[size_t(phrase)];
        if (phrase == 0)
            form->addRow(new QLabel(tr("<b>Questions</b>")));
        else if (said.isCommand && !phrases()[size_t(phrase) - 1].isCommand)
            form->addRow(new QLabel(tr("<b>Commands</b>")));
        m_boxes[size_t(phrase)] = makeBox(phrase);
        form->addRow(QCoreApplication::translate("Phrases", said.title) + ':', m_boxes[size_t(phrase)]);
    }
    showTreatments();
    // A failure that was for one time is over with it.
    connect(&m_controller, &SimulatedController::exchanged, this, &TreatmentPanel::showTreatments);
}

QComboBox *TreatmentPanel::makeBox(int phrase)
{
    const Phrase &said = phrases()[size_t(phrase)];
    auto *box = new QComboBox;
    box->addItem(tr("as usual"), int(Treatment::AsUsual));
    box->addItem(tr("next fails"), int(Treatment::FailNext));
    box->addItem(tr("every one fails"), int(Treatment::FailEvery));
    if (!said.isCommand) {
        box->addItem(tr("answer is empty"), int(Treatment::AnswerEmpty));
        box->addItem(tr("answer is garbage"), int(Treatment::AnswerGarbage));
    }
    box->setToolTip(QString::fromLatin1(said.opening));
    connect(box, QOverload<int>::of(&QComboBox::activated), this, [this, phrase, box] {
        m_controller.setTreatment(phrase, Treatment(box->currentData().toInt()));
        showTreatments();
    });
    return box;
}

void TreatmentPanel::behave()
{
    m_controller.behave();
    showTreatments();
}

void TreatmentPanel::showTreatments()
{
    const Treatments treatments = m_controller.treatments();
    for (size_t i = 0; i < m_boxes.size(); ++i) {
        QComboBox *box = m_boxes[i];
        box->setCurrentIndex(box->findData(int(treatments[i])));
        // What is not as usual stands out among so many.
        QFont bold = box->font();
        bold.setBold(treatments[i] != Treatment::AsUsual);
        if (bold != box->font())
            box->setFont(bold);
    }
}
