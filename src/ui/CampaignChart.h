#pragma once
// A small time chart drawn with QPainter: series of points against local time, with axes, time
// labels and a legend. A step series holds its value until the next point (counts so far); a
// line series joins its points (rates). With no point at all it says "No messages yet.".
#include <QColor>
#include <QList>
#include <QPointF>
#include <QString>
#include <QWidget>

struct ChartSeries {
    QString name;
    QColor color;
    QList<QPointF> points; // x: ms since the epoch, in order; y: the value
};

class CampaignChart : public QWidget {
    Q_OBJECT
public:
    enum class Style { Steps, Lines };
    CampaignChart(Style style, QString unit, QWidget* parent = nullptr);

    void setSeries(QList<ChartSeries> series);

    QSize sizeHint() const override { return {640, 240}; }
    QSize minimumSizeHint() const override { return {320, 160}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The plot's area and the ranges it shows.
    struct Frame {
        QRectF plot;
        double x0 = 0, x1 = 1, yTop = 1, yStep = 1;
        QPointF at(QPointF p) const;
    };
    Frame frameFor(const QRect& area) const;
    void drawAxes(QPainter& painter, const Frame& frame) const;
    void drawTimeLabels(QPainter& painter, const Frame& frame) const;
    void drawSeries(QPainter& painter, const Frame& frame) const;
    int drawLegend(QPainter& painter) const; // its height

    Style m_style;
    QString m_unit; // beside the values' axis
    QList<ChartSeries> m_series;
};
