#pragma once

#include <QTabWidget>

/// The tabs of the module's dialog: one per channel, followed by the tab "+", with which the user adds a
/// channel. The "+" tab is recognised by its title.
class NetworkDialogTabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit NetworkDialogTabWidget(QWidget *parent);

    /// Appends the "+" tab, which shows an empty page.
    void addPlusTab();

    /// Removes the "+" tab, if there is one.
    void removePlusTab();

    bool hasPlusTab() const { return plusTab() >= 0; }
    bool isPlusTab(int tab) const;

public slots:
    /// Sets the colour of the title of tab \a tabIndex.
    void changeTabTitleFontColor(int tabIndex, const QColor &color);

private:
    int plusTab() const;

    QWidget *m_plusPage; // empty, shown by the "+" tab; reused, because removeTab() does not delete it
};
