#include "rateplot.h"

#include "appearance.h"

#include <QEvent>
#include <qwt_legend.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_layout.h>
#include <qwt_plot_zoomer.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_widget.h>

#include <algorithm>

namespace simulation {

namespace {

constexpr double spanSeconds = 60.0;

class SecondsDraw : public QwtScaleDraw
{
public:
    QwtText label(double value) const override { return QString::number(value) + QLatin1String(" s"); }
};

} // namespace

RatePlot::RatePlot(QWidget *parent)
    : QwtPlot(parent)
    , m_grid(new QwtPlotGrid)
    , m_zoomer(new QwtPlotZoomer(canvas()))
{
    setFrameShape(QFrame::StyledPanel);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    static_cast<QwtPlotCanvas *>(canvas())->setFrameShape(QFrame::NoFrame);
    setMinimumHeight(13 * fontMetrics().height());
    plotLayout()->setAlignCanvasToScales(true);
    insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    m_grid->attach(this);
    setAxisScaleDraw(xBottom, new SecondsDraw);
    for (const int axis : {xBottom, yLeft}) {
        axisScaleDraw(axis)->enableComponent(QwtAbstractScaleDraw::Backbone, false);
        axisScaleDraw(axis)->enableComponent(QwtAbstractScaleDraw::Ticks, false);
        axisWidget(axis)->setMargin(0);
    }
    axisWidget(xBottom)->setMinBorderDist(22, 22); // keeps the labels off the frame
    m_zoomer->setMaxStackDepth(1);
    canvas()->setToolTip(tr("Drag with the left button to zoom in, click with the right button to zoom out"));
    takePalette();
    showAll();
    m_clock.start();
}

RatePlot::~RatePlot() = default;

void RatePlot::addRates(const QHash<int, double> &rates)
{
    const double elapsed = double(m_clock.restart()) / 1000.0;
    for (auto it = m_lines.begin(); it != m_lines.end();)
        it = rates.contains(it->first) ? std::next(it) : m_lines.erase(it);
    QList<int> channels = rates.keys();
    std::sort(channels.begin(), channels.end()); // the legend lists the lines in the order of their creation
    for (const int channel : qAsConst(channels)) {
        QVector<QPointF> &points = line(channel).points;
        for (QPointF &point : points)
            point.rx() -= elapsed;
        while (!points.isEmpty() && points.first().x() < -spanSeconds)
            points.removeFirst();
        points.append({0.0, rates.value(channel)});
        line(channel).curve->setSamples(points);
    }
    if (m_zoomer->zoomRectIndex() == 0)
        showAll();
    replot();
}

/// Returns the line of \a channel, which is created if it is missing.
RatePlot::Line &RatePlot::line(int channel)
{
    Line &line = m_lines[channel];
    if (!line.curve) {
        line.curve = std::make_unique<QwtPlotCurve>(QString::number(channel));
        line.curve->setRenderHint(QwtPlotItem::RenderAntialiased);
        line.curve->setLegendAttribute(QwtPlotCurve::LegendShowLine);
        line.curve->setLegendIconSize({24, 8});
        line.curve->setPen(channelPen(channel));
        line.curve->attach(this);
    }
    return line;
}

void RatePlot::setSelected(int channel)
{
    for (const auto &[number, line] : m_lines) {
        QPen pen = channelPen(number);
        if (number == channel)
            pen.setWidthF(2.0 * pen.widthF());
        line.curve->setPen(pen);
        line.curve->setZ(number == channel ? 1.0 : 0.0);
    }
    replot();
}

/// Shows the last minute from 0 to above the highest rate.
void RatePlot::showAll()
{
    double highest = 4.0;
    for (const auto &entry : m_lines) {
        for (const QPointF &point : entry.second.points)
            highest = std::max(highest, point.y());
    }
    double step = 0.0;
    double start = 0.0;
    double end = highest * 1.05;
    axisScaleEngine(yLeft)->autoScale(5, start, end, step);
    setAxisScale(xBottom, -spanSeconds, 0.0, 10.0);
    setAxisScale(yLeft, 0.0, end, step);
    m_zoomer->setZoomBase(false);
}

void RatePlot::changeEvent(QEvent *event)
{
    QwtPlot::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        takePalette();
}

void RatePlot::takePalette()
{
    const QColor text = palette().color(QPalette::Text);
    QColor faint = text;
    faint.setAlphaF(0.2);
    m_grid->setPen(faint, 1.0);
    setCanvasBackground(palette().brush(QPalette::Base));
    for (const int axis : {xBottom, yLeft})
        setAxisFont(axis, font());
    m_zoomer->setRubberBandPen(text);
    m_zoomer->setTrackerPen(text);
}

} // namespace simulation
