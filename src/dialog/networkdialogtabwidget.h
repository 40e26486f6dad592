#pragma once

#include <QTabWidget>

/// The tabs of the module's dialog: one per channel, then the tab "+", with which the user adds a channel.
/// The
/// "+" tab is recognised by its title.
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

protected:
    /// Gives the focus to the tab row and makes the focus visible when the dialog opens. On another widget a
    /// press of the space bar could change a setting unnoticed.
    void showEvent(QShowEvent *event) override;

private:
    int plusTab() const;

    QWidget *m_plusPage; // empty, shown by the "+" tab; reused, because removeTab() does not delete it
};
