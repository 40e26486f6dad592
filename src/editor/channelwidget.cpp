#include "channelwidget.h"

#include "channelasrouter.h"
#include "commands.h"

#include <QGuiApplication>
#include <QRegExpValidator>

using namespace networksettings2g;

namespace {

// The pattern's text must be on the heap, because Qt's cache of compiled patterns outlives this library.
QRegExpValidator *createValidator(const char *pattern, QObject *parent)
{
    const QRegExp expression(QString::fromLatin1(pattern), Qt::CaseSensitive, QRegExp::RegExp);
    return new QRegExpValidator(expression, parent);
}

} // namespace

ChannelWidget::ChannelWidget(IOManager *ioManager, ChannelAsRouter *channel, BackendVersions *versions)
    : m_ioManager(ioManager)
    , m_versions(versions)
    , m_channel(channel)
{
    setupUi(this);
    showTypesOfChannel();
    createValidators();
    connectChannel();
    setControlsEnabled(false);
    pushButton_closeTab->hide();
    describeForScreenReaders();
}

ChannelWidget::~ChannelWidget()
{
    delete m_hostNameValidator;
    delete m_ipDigitsValidator;
}

void ChannelWidget::showTypesOfChannel()
{
    // setModel() does not delete the previous selection model.
    QItemSelectionModel *previous = tableView->selectionModel();
    tableView->setModel(m_channel->typeModel());
    delete previous;
    tableView->horizontalHeader()->setSectionsClickable(false);
    // The arrow keys move between cells. Tab is not needed for that and moves the focus out of the table.
    tableView->setTabKeyNavigation(false);
    // Channel::setOutputTypes() makes new columns of the default width and then sets their titles.
    connect(m_channel->typeModel(), &QStandardItemModel::headerDataChanged, this,
            &ChannelWidget::fitFirstColumnToTitle);
}

// A translated title may be wider than the default width. The last column takes the rest of the table.
void ChannelWidget::fitFirstColumnToTitle()
{
    QHeaderView *header = tableView->horizontalHeader();
    const int needed = header->sectionSizeHint(Channel::IdentifierColumn);
    if (header->sectionSize(Channel::IdentifierColumn) < needed)
        header->resizeSection(Channel::IdentifierColumn, needed);
}

void ChannelWidget::createValidators()
{
    m_hostNameValidator = createValidator("([A-Z]|[a-z]|-|[.]|[0-9])*", this);
    lineEdit_host->setValidator(m_hostNameValidator);
    m_ipDigitsValidator = createValidator("^([0-9]|\\.)*$", this);
}

void ChannelWidget::connectChannel()
{
    connect(spinBox_port, SIGNAL(valueChanged(int)), m_channel, SLOT(setPort(int)));
    connect(spinBox_sendDataDivisor, SIGNAL(valueChanged(int)), m_channel, SLOT(setDataDivisor(int)));
    connect(m_channel, SIGNAL(updated()), this, SLOT(updateFromChannel()));
    connect(tableView, SIGNAL(doubleClicked(QModelIndex)), this,
            SLOT(tableViewItemDoubleClicked(QModelIndex)));
}

void ChannelWidget::describeForScreenReaders()
{
    setAccessibleName(tr("Channel %1").arg(m_channel->number()));
    checkBox_my_ip->setAccessibleDescription(tr("Sends to the computer on which this frontend runs"));
    pushButton_closeTab->setAccessibleDescription(
        tr("Closes this channel, with immediate effect on the Controller"));
    tableView->setAccessibleName(tr("Output types"));
    tableView->setAccessibleDescription(tr("Arrow keys select a type, Space ticks or unticks it"));
}

void ChannelWidget::setCloseButtonVisible(bool visible)
{
    pushButton_closeTab->setVisible(visible);
}

void ChannelWidget::setControlsEnabled(bool active)
{
    tableView->setEnabled(active);
    label_host->setEnabled(active);
    label_port->setEnabled(active);
    lineEdit_host->setEnabled(active && !checkBox_my_ip->isChecked());
    spinBox_port->setEnabled(active);
    checkBox_my_ip->setEnabled(active);
    checkBox_multicast->setEnabled(active);

    const bool divisor = active && commands::knowsDataDivisor(*m_versions);
    label_sendDataDivisor->setEnabled(divisor);
    spinBox_sendDataDivisor->setEnabled(divisor);
}

void ChannelWidget::updateTabColor()
{
    const bool active = isEnabled() && checkBox_active_channel->isChecked();
    const QPalette::ColorGroup group = active ? QPalette::Active : QPalette::Disabled;
    const QColor color = QGuiApplication::palette().color(group, QPalette::Text);
    emit changeChannelTabTitleFontColor(m_channel->channelIndex(), color);
}

void ChannelWidget::updateFromChannel()
{
    // Order matters: the multicast box's slot reads the host text, and setControlsEnabled() reads
    // checkBox_my_ip.
    lineEdit_host->setText(m_channel->host());
    spinBox_port->setValue(m_channel->port());
    checkBox_multicast->setChecked(m_channel->isMulticast());
    showWhetherMyIp();
    spinBox_sendDataDivisor->setValue(m_channel->dataDivisor());
    checkBox_active_channel->setChecked(m_channel->isActive());
    setControlsEnabled(m_channel->isActive());
    updateTabColor();
    showRows();
}

void ChannelWidget::showWhetherMyIp()
{
    m_myIpSlotArmed = false;
    checkBox_my_ip->setChecked(m_channel->isMyIp());
    m_myIpSlotArmed = true;
}

void ChannelWidget::showRows()
{
    const QList<int> hiddenRows = m_channel->hiddenRows();
    for (int row = 0; row < tableView->model()->rowCount(); ++row)
        tableView->setRowHidden(row, hiddenRows.contains(row));
    placeCursor();
}

// If there is no current cell, makes the first visible enabled identifier the current cell; setCurrentIndex()
// ignores disabled cells. Without a current cell, the arrow keys try to select only the first cell. That is
// usually the frame counter's, which is disabled, so the arrow keys would never reach the other cells.
void ChannelWidget::placeCursor()
{
    for (int row = 0; row < tableView->model()->rowCount() && !tableView->currentIndex().isValid(); ++row) {
        if (!tableView->isRowHidden(row))
            tableView->setCurrentIndex(tableView->model()->index(row, Channel::IdentifierColumn));
    }
}

void ChannelWidget::flushChangesToChannel()
{
    m_channel->setHost(lineEdit_host->text());
}

void ChannelWidget::tableViewItemDoubleClicked(const QModelIndex &index)
{
    if (index.column() != Channel::IdentifierColumn)
        return;
    QStandardItem *item = m_channel->typeModel()->item(index.row(), Channel::IdentifierColumn);
    if (!item || !item->isEnabled() || !item->isCheckable())
        return;
    item->setCheckState(item->checkState() == Qt::Unchecked ? Qt::Checked : Qt::Unchecked);
}

void ChannelWidget::on_checkBox_multicast_toggled(bool checked)
{
    m_channel->setMulticast(checked);
    if (checked)
        enterDigitsMode();
    else
        enterNamesMode();
}

void ChannelWidget::enterDigitsMode()
{
    checkBox_my_ip->setChecked(false);

    QString text = lineEdit_host->text();
    int position = 0;
    if (m_ipDigitsValidator->validate(text, position) != QValidator::Acceptable) {
        // The channel keeps the name, so that enterNamesMode() can show it again.
        m_channel->setHost(text);
        lineEdit_host->setText(QString());
    }
    lineEdit_host->setValidator(m_ipDigitsValidator);
}

void ChannelWidget::enterNamesMode()
{
    lineEdit_host->setValidator(m_hostNameValidator);
    if (lineEdit_host->text().isEmpty())
        lineEdit_host->setText(m_channel->host());
    showWhetherMyIp();
}

void ChannelWidget::on_checkBox_my_ip_toggled(bool val)
{
    if (!m_myIpSlotArmed)
        return;
    lineEdit_host->setEnabled(!val);
    if (!val)
        return;
    if (!m_channel->isMyIp(lineEdit_host->text()))
        lineEdit_host->setText(m_channel->monitorIp());
    checkBox_multicast->setChecked(false);
}

void ChannelWidget::on_checkBox_active_channel_toggled(bool checked)
{
    m_channel->setActive(checked);
    m_channel->updateRouterActiveState(m_routerMode);
    setControlsEnabled(checked);
    updateTabColor();
    emit checkBox_active_channel_toggled();
}

void ChannelWidget::on_lineEdit_host_editingFinished()
{
    flushChangesToChannel();
}

void ChannelWidget::on_pushButton_closeTab_clicked()
{
    emit closeTab(m_channel->channelIndex());
}
