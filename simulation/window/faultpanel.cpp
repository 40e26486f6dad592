#include "faultpanel.h"

#include "simulatedcontroller.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

namespace simulation {

FaultPanel::FaultPanel(SimulatedController &controller, QWidget *parent)
    : QGroupBox(tr("Faults"), parent)
    , m_controller(controller)
{
    auto *form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setVerticalSpacing(3);
    auto *reset = new QPushButton(tr("&Reset all"));
    connect(reset, &QPushButton::clicked, this, &FaultPanel::clearFaults);
    form->addRow(reset);
    for (int kind = 0; kind < commandKindCount; ++kind) {
        const CommandKind &entry = commandKinds()[size_t(kind)];
        if (kind == 0)
            form->addRow(new QLabel(tr("<b>Queries</b>")));
        else if (entry.isCommand && !commandKinds()[size_t(kind) - 1].isCommand)
            form->addRow(new QLabel(tr("<b>Commands</b>")));
        m_boxes[size_t(kind)] = makeBox(kind);
        form->addRow(QCoreApplication::translate("CommandKinds", entry.title) + ':', m_boxes[size_t(kind)]);
    }
    showFaults();
    // A query or command that fails because of FailNext resets this fault.
    connect(&m_controller, &SimulatedController::exchanged, this, &FaultPanel::showFaults);
}

QComboBox *FaultPanel::makeBox(int kind)
{
    const CommandKind &entry = commandKinds()[size_t(kind)];
    auto *box = new QComboBox;
    box->addItem(tr("no fault"), int(Fault::None));
    box->addItem(tr("next fails"), int(Fault::FailNext));
    box->addItem(tr("every one fails"), int(Fault::FailEvery));
    if (!entry.isCommand) {
        box->addItem(tr("answer is empty"), int(Fault::AnswerEmpty));
        box->addItem(tr("answer is garbage"), int(Fault::AnswerGarbage));
    }
    // Leave room for the bold text of a fault.
    QFont bold = box->font();
    bold.setBold(true);
    box->setMinimumWidth(box->sizeHint().width() +
                         QFontMetrics(bold).horizontalAdvance(box->itemText(box->count() - 1)) -
                         box->fontMetrics().horizontalAdvance(box->itemText(box->count() - 1)));
    box->setToolTip(QString::fromLatin1(entry.opening));
    connect(box, QOverload<int>::of(&QComboBox::activated), this, [this, kind, box] {
        m_controller.setFault(kind, Fault(box->currentData().toInt()));
        showFaults();
    });
    return box;
}

void FaultPanel::clearFaults()
{
    m_controller.clearFaults();
    showFaults();
}

void FaultPanel::showFaults()
{
    const Faults faults = m_controller.faults();
    for (size_t i = 0; i < m_boxes.size(); ++i) {
        QComboBox *box = m_boxes[i];
        box->setCurrentIndex(box->findData(int(faults[i])));
        // The box of a kind with a fault has a bold font.
        QFont bold = box->font();
        bold.setBold(faults[i] != Fault::None);
        if (bold != box->font())
            box->setFont(bold);
    }
}

} // namespace simulation
