#include "rateplot.h"

#include "appearance.h"

#include <QEvent>
#include <QGraphicsLayout>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>

#include <algorithm>
#include <cmath>

using namespace QtCharts;

namespace simulation {

namespace {

constexpr double spanSeconds = 60.0;

/// Returns the upper end of an axis that starts at 0, contains \a value and has four equal integer steps.
double axisEnd(double value)
{
    const double least = std::max(value * 1.05, 4.0);
    double unit = 1.0;
    while (unit * 40.0 < least)
        unit *= 10.0;
    return std::ceil(least / (4.0 * unit)) * 4.0 * unit;
}

} // namespace

RatePlot::RatePlot(QWidget *parent)
    : QChartView(parent)
    , m_time(new QValueAxis(this))
    , m_rate(new QValueAxis(this))
    , m_selectedLine(new QLineSeries(this))
{
    setRenderHint(QPainter::Antialiasing);
    setFrameShape(QFrame::StyledPanel);
    setFocusPolicy(Qt::NoFocus);
    setMinimumHeight(13 * fontMetrics().height());
    chart()->legend()->setAlignment(Qt::AlignBottom);
    chart()->legend()->setMarkerShape(QLegend::MarkerShapeFromSeries);
    chart()->setMargins({4, 4, 8, 2});
    chart()->setBackgroundRoundness(0.0);
    chart()->layout()->setContentsMargins(0.0, 0.0, 0.0, 0.0);
    m_time->setRange(-spanSeconds, 0.0);
    m_time->setTickCount(7);
    m_time->setLabelFormat(QLatin1String("%d s"));
    m_rate->setLabelFormat(QLatin1String("%d"));
    chart()->addAxis(m_time, Qt::AlignBottom);
    chart()->addAxis(m_rate, Qt::AlignLeft);
    showUpTo(0.0);
    takePalette();
    m_clock.start();
}

void RatePlot::addRates(const QHash<int, double> &rates)
{
    const double elapsed = double(m_clock.restart()) / 1000.0;
    dropOthers(rates);
    // Add new lines in the order of the channels, because the legend shows them in the order of addition.
    QList<int> channels = rates.keys();
    std::sort(channels.begin(), channels.end());
    double highest = 0.0;
    for (const int channel : qAsConst(channels)) {
        QLineSeries *series = line(channel);
        QVector<QPointF> points;
        const QVector<QPointF> before = series->pointsVector();
        for (const QPointF &point : before) {
            if (point.x() - elapsed >= -spanSeconds)
                points.append({point.x() - elapsed, point.y()});
        }
        points.append({0.0, rates.value(channel)});
        for (const QPointF &point : qAsConst(points))
            highest = std::max(highest, point.y());
        series->replace(points);
    }
    showUpTo(highest);
    showSelected();
}

void RatePlot::setSelected(int channel)
{
    m_selected = channel;
    showSelected();
}

void RatePlot::showSelected()
{
    const QLineSeries *series = m_lines.value(m_selected);
    QPen pen = channelPen(std::max(m_selected, 1));
    pen.setWidthF(4.0);
    m_selectedLine->setPen(pen);
    m_selectedLine->replace(series ? series->pointsVector() : QVector<QPointF>());
}

/// Adds \a series, or moves it, to the end of the list of series: the last one is drawn on top of the others.
/// The copy of the selected line gets no entry in the legend.
void RatePlot::addOnTop(QLineSeries *series)
{
    if (series->chart())
        chart()->removeSeries(series);
    chart()->addSeries(series);
    series->attachAxis(m_time);
    series->attachAxis(m_rate);
    if (series == m_selectedLine)
        chart()->legend()->markers(series).constFirst()->setVisible(false);
}

/// Returns the line of \a channel, which is created if it is missing.
QLineSeries *RatePlot::line(int channel)
{
    QLineSeries *&series = m_lines[channel];
    if (!series) {
        series = new QLineSeries;
        series->setName(QString::number(channel));
        series->setPen(channelPen(channel));
        addOnTop(series);
        addOnTop(m_selectedLine);
    }
    return series;
}

void RatePlot::dropOthers(const QHash<int, double> &rates)
{
    const QList<int> channels = m_lines.keys();
    for (const int channel : channels) {
        if (rates.contains(channel))
            continue;
        QLineSeries *series = m_lines.take(channel);
        chart()->removeSeries(series);
        delete series;
    }
}

void RatePlot::showUpTo(double highest)
{
    m_rate->setRange(0.0, axisEnd(highest));
}

void RatePlot::changeEvent(QEvent *event)
{
    QChartView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        takePalette();
}

void RatePlot::takePalette()
{
    chart()->setBackgroundBrush(palette().brush(QPalette::Base));
    setBackgroundBrush(palette().brush(QPalette::Base));
    QColor grid = palette().color(QPalette::Text);
    grid.setAlphaF(0.2);
    chart()->legend()->setLabelBrush(palette().brush(QPalette::Text));
    chart()->legend()->setFont(font());
    for (QValueAxis *axis : {m_time, m_rate}) {
        axis->setLabelsBrush(palette().brush(QPalette::Text));
        axis->setLabelsFont(font());
        axis->setGridLinePen(QPen(grid, 1.0));
        axis->setLinePen(QPen(grid, 1.0));
    }
}

} // namespace simulation
