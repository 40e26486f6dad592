#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <qwt_plot.h>

#include <map>
#include <memory>

class QwtPlotCurve;
class QwtPlotGrid;
class QwtPlotZoomer;

namespace simulation {

/// Plots the frames per second of each receiver over the last minute, each in the colour of its channel.
class RatePlot : public QwtPlot
{
    Q_OBJECT

public:
    explicit RatePlot(QWidget *parent = nullptr);
    ~RatePlot() override;

    /// Appends a point at the current time for each channel of \a rates, which maps channel numbers to frames
    /// per second. Removes the lines of all other channels.
    void addRates(const QHash<int, double> &rates);

    /// Draws the line of \a channel on top and thicker; 0 selects none.
    void setSelected(int channel);

protected:
    void changeEvent(QEvent *event) override;

private:
    struct Line
    {
        std::unique_ptr<QwtPlotCurve> curve;
        QVector<QPointF> points; ///< seconds relative to now, frames per second
    };

    Line &line(int channel);
    void showAll();
    void takePalette();

    QElapsedTimer m_clock;       ///< measures the time between two calls of addRates()
    std::map<int, Line> m_lines; ///< by channel number
    QwtPlotGrid *m_grid;
    QwtPlotZoomer *m_zoomer;
};

} // namespace simulation
