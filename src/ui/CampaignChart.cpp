#include "CampaignChart.h"

#include <QDateTime>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr double kMinute = 60000;
constexpr double kDay = 1440 * kMinute;

// 1, 2 or 5 times a power of ten, at least v.
double niceStep(double v) {
    const double power = std::pow(10.0, std::floor(std::log10(v)));
    const double f = v / power;
    return (f <= 1 ? 1 : f <= 2 ? 2 : f <= 5 ? 5 : 10) * power;
}

QString valueText(double v) { return QString::number(v, 'g', 6); }

// How a time is labelled: the day alone for steps of days, with it when the range spans days.
QString timeFormat(double x0, double x1, double step) {
    if (step >= kDay)
        return QStringLiteral("dd MMM");
    const bool oneDay = QDateTime::fromMSecsSinceEpoch(qint64(x0)).date() ==
                        QDateTime::fromMSecsSinceEpoch(qint64(x1)).date();
    return oneDay ? QStringLiteral("HH:mm") : QStringLiteral("dd MMM HH:mm");
}

} // namespace

CampaignChart::CampaignChart(Style style, QString unit, QWidget* parent)
    : QWidget(parent), m_style(style), m_unit(std::move(unit)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void CampaignChart::setSeries(QList<ChartSeries> series) {
    m_series = std::move(series);
    update();
}

QPointF CampaignChart::Frame::at(QPointF p) const {
    return {plot.left() + (p.x() - x0) / (x1 - x0) * plot.width(),
            plot.bottom() - p.y() / yTop * plot.height()};
}

CampaignChart::Frame CampaignChart::frameFor(const QRect& area) const {
    Frame frame;
    double yMax = 0;
    frame.x0 = std::numeric_limits<double>::max();
    frame.x1 = std::numeric_limits<double>::lowest();
    for (const ChartSeries& s : m_series)
        for (const QPointF& p : s.points) {
            frame.x0 = std::min(frame.x0, p.x());
            frame.x1 = std::max(frame.x1, p.x());
            yMax = std::max(yMax, p.y());
        }
    if (frame.x1 - frame.x0 < kMinute) { // one moment: a minute around it
        const double middle = (frame.x0 + frame.x1) / 2;
        frame.x0 = middle - kMinute / 2;
        frame.x1 = middle + kMinute / 2;
    }
    // Counts go up in whole steps; rates may not.
    frame.yStep = yMax <= 0 ? 1 : niceStep(yMax / 4);
    if (m_style == Style::Steps)
        frame.yStep = std::max(frame.yStep, 1.0);
    frame.yTop = std::max(frame.yStep, std::ceil(yMax / frame.yStep - 1e-9) * frame.yStep);
    const QFontMetrics metrics = fontMetrics();
    const int left =
        std::max(metrics.horizontalAdvance(valueText(frame.yTop)), metrics.horizontalAdvance(m_unit)) + 12;
    // Room above the plot for the unit, below it for the times.
    frame.plot = QRectF(area).adjusted(left, 2 * metrics.height() + 4, -18, -(metrics.height() + 10));
    return frame;
}

void CampaignChart::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().base());
    const bool anyPoint = std::any_of(m_series.cbegin(), m_series.cend(),
                                      [](const ChartSeries& s) { return !s.points.isEmpty(); });
    if (!anyPoint) {
        painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
        painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("No messages yet."));
        return;
    }
    const int legend = drawLegend(painter);
    const Frame frame = frameFor(rect().adjusted(0, legend, 0, 0));
    drawAxes(painter, frame);
    drawTimeLabels(painter, frame);
    drawSeries(painter, frame);
}

int CampaignChart::drawLegend(QPainter& painter) const {
    const QFontMetrics metrics = fontMetrics();
    const int line = metrics.height() + 6;
    int x = 8;
    int y = 4;
    for (const ChartSeries& s : m_series) {
        const int width = 22 + metrics.horizontalAdvance(s.name) + 16;
        if (x > 8 && x + width > rect().width()) {
            x = 8;
            y += line;
        }
        const int middle = y + line / 2;
        painter.setPen(QPen(s.color, 3));
        painter.drawLine(x, middle, x + 16, middle);
        painter.setPen(palette().color(QPalette::Text));
        painter.drawText(QRect(x + 22, y, width, line), Qt::AlignLeft | Qt::AlignVCenter, s.name);
        x += width;
    }
    return y + line;
}

void CampaignChart::drawAxes(QPainter& painter, const Frame& frame) const {
    const QFontMetrics metrics = fontMetrics();
    const QColor grid(0xdd, 0xdd, 0xdd);
    const QColor text = palette().color(QPalette::Text);
    for (double v = 0; v <= frame.yTop + frame.yStep / 2; v += frame.yStep) {
        const double y = frame.at({frame.x0, v}).y();
        painter.setPen(QPen(grid, 1));
        painter.drawLine(QPointF(frame.plot.left(), y), QPointF(frame.plot.right(), y));
        painter.setPen(text);
        painter.drawText(QRectF(0, y - metrics.height() / 2.0, frame.plot.left() - 6, metrics.height()),
                         Qt::AlignRight | Qt::AlignVCenter, valueText(v));
    }
    painter.drawText(
        QRectF(4, frame.plot.top() - 2 * metrics.height() - 2, frame.plot.width(), metrics.height()),
        Qt::AlignLeft | Qt::AlignVCenter, m_unit);
    painter.setPen(QPen(text, 1));
    painter.drawLine(frame.plot.bottomLeft(), frame.plot.bottomRight());
    painter.drawLine(frame.plot.bottomLeft(), frame.plot.topLeft());
}

void CampaignChart::drawTimeLabels(QPainter& painter, const Frame& frame) const {
    static constexpr std::array<double, 14> kSteps{
        1 * kMinute,   2 * kMinute,   5 * kMinute,   10 * kMinute,  15 * kMinute, 30 * kMinute, 60 * kMinute,
        120 * kMinute, 180 * kMinute, 360 * kMinute, 720 * kMinute, kDay,         2 * kDay,     7 * kDay};
    const QFontMetrics metrics = fontMetrics();
    const double room = metrics.horizontalAdvance(QStringLiteral("00 May 00:00")) + 24;
    const double most = std::max(1.0, frame.plot.width() / room);
    double step = kSteps.back();
    for (double candidate : kSteps)
        if ((frame.x1 - frame.x0) / candidate <= most) {
            step = candidate;
            break;
        }
    while ((frame.x1 - frame.x0) / step > most)
        step *= 2;
    // Ticks fall on whole minutes, hours and days of local time.
    const double offset = QDateTime::fromMSecsSinceEpoch(qint64(frame.x0)).offsetFromUtc() * 1000.0;
    const QString format = timeFormat(frame.x0, frame.x1, step);
    painter.setPen(palette().color(QPalette::Text));
    for (double t = std::ceil((frame.x0 + offset) / step) * step - offset; t <= frame.x1; t += step) {
        const double x = frame.at({t, 0}).x();
        painter.drawLine(QPointF(x, frame.plot.bottom()), QPointF(x, frame.plot.bottom() + 4));
        const QString label = QDateTime::fromMSecsSinceEpoch(qint64(t)).toString(format);
        painter.drawText(QRectF(x - room / 2, frame.plot.bottom() + 6, room, metrics.height()),
                         Qt::AlignCenter, label);
    }
}

void CampaignChart::drawSeries(QPainter& painter, const Frame& frame) const {
    painter.save();
    painter.setClipRect(frame.plot.adjusted(-4, -4, 4, 4));
    for (const ChartSeries& s : m_series) {
        if (s.points.isEmpty())
            continue;
        QPainterPath path(frame.at(s.points.first()));
        for (int i = 1; i < s.points.size(); ++i) {
            if (m_style == Style::Steps)
                path.lineTo(frame.at({s.points.at(i).x(), s.points.at(i - 1).y()}));
            path.lineTo(frame.at(s.points.at(i)));
        }
        if (m_style == Style::Steps) // a count holds to the chart's end
            path.lineTo(frame.at({frame.x1, s.points.last().y()}));
        painter.setPen(QPen(s.color, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
        // A lone point, or few of them on a line, shows where each is.
        if (s.points.size() == 1 || (m_style == Style::Lines && s.points.size() <= 40)) {
            painter.setBrush(s.color);
            for (const QPointF& p : s.points)
                painter.drawEllipse(frame.at(p), 3, 3);
        }
    }
    painter.restore();
}
