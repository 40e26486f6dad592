#pragma once

#include <QtCharts/QChartView>

#include <QElapsedTimer>
#include <QHash>

QT_CHARTS_BEGIN_NAMESPACE
class QLineSeries;
class QValueAxis;
QT_CHARTS_END_NAMESPACE

namespace simulation {

/// Plots the frames per second of each receiver over the last minute, each in the colour of its channel.
class RatePlot : public QtCharts::QChartView
{
    Q_OBJECT

public:
    explicit RatePlot(QWidget *parent = nullptr);

    /// Appends a point at the current time for each channel of \a rates, which maps channel numbers to frames
    /// per second. Removes the lines of all other channels.
    void addRates(const QHash<int, double> &rates);

    /// Draws the line of \a channel on top and thicker; 0 selects none.
    void setSelected(int channel);

protected:
    void changeEvent(QEvent *event) override;

private:
    void takePalette();
    QtCharts::QLineSeries *line(int channel);
    void addOnTop(QtCharts::QLineSeries *series);
    void showSelected();
    void dropOthers(const QHash<int, double> &rates);
    void showUpTo(double highest);

    QElapsedTimer m_clock; ///< measures the time between two calls of addRates()
    QtCharts::QValueAxis *m_time;
    QtCharts::QValueAxis *m_rate;
    QHash<int, QtCharts::QLineSeries *> m_lines; ///< by channel number
    QtCharts::QLineSeries *m_selectedLine;       ///< a thicker copy of the selected line, always on top
    int m_selected = 0;
};

} // namespace simulation
