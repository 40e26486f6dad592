#pragma once

#include <QTabWidget>

/// The tabs of the output dialog: one a channel, and "+" behind the last.
class NetworkDialogTabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit NetworkDialogTabWidget(QWidget *parent);

public slots:
    /// Writes the title of tab \a tabIndex in \a color.
    void changeTabTitleFontColor(int tabIndex, const QColor &color);
};
