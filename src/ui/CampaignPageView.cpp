#include "CampaignPageView.h"

#include "CampaignChart.h"
#include "core/AppState.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// Sent, failed and unknown so far, from nothing at the campaign's first event to its last.
QList<ChartSeries> outcomeSeries(const CampaignHistory& history) {
    QList<ChartSeries> series{{QStringLiteral("Sent"), QColor(0x2e7d32), {}},
                              {QStringLiteral("Failed"), QColor(0xc62828), {}},
                              {QStringLiteral("Unknown"), QColor(0xef6c00), {}}};
    if (history.outcomes.isEmpty())
        return series;
    CampaignHistory::Step last{history.from, 0, 0, 0};
    for (const CampaignHistory::Step& step : QList<CampaignHistory::Step>{last} + history.outcomes) {
        series[0].points << QPointF(double(step.at), step.sent);
        series[1].points << QPointF(double(step.at), step.failed);
        series[2].points << QPointF(double(step.at), step.unknown);
        last = step;
    }
    if (history.to > last.at)
        for (ChartSeries& s : series)
            s.points << QPointF(double(history.to), s.points.last().y());
    return series;
}

QList<ChartSeries> rateSeries(const CampaignHistory& history) {
    static const QList<QColor> kColors{QColor(0x1565c0), QColor(0x6a1b9a), QColor(0x00838f),
                                       QColor(0xad1457), QColor(0x558b2f), QColor(0x4e342e),
                                       QColor(0x283593), QColor(0xf9a825)};
    QList<ChartSeries> series;
    for (const CampaignHistory::Device& device : history.devices) {
        ChartSeries line{device.name, kColors.at(series.size() % kColors.size()), {}};
        // Each bucket's rate at its middle.
        for (int i = 0; i < device.perMinute.size(); ++i)
            line.points << QPointF(double(history.firstBucket + i * history.bucketMs) +
                                       double(history.bucketMs) / 2,
                                   device.perMinute.at(i));
        series << line;
    }
    return series;
}

QWidget* boxed(const QString& title, QWidget* content, QWidget* parent) {
    auto* box = new QGroupBox(title, parent);
    auto* layout = new QVBoxLayout(box);
    content->setParent(box);
    layout->addWidget(content);
    return box;
}

} // namespace

CampaignPageView::CampaignPageView(CampaignPage& controller, QWidget* parent)
    : QDialog(parent), m_controller(controller) {
    auto* layout = new QVBoxLayout(this);
    // A line of label and value pairs for each row of figures.
    for (const auto& row : controller.figures()) {
        auto* line = new QHBoxLayout();
        line->setSpacing(6);
        for (const CampaignPage::Figure& figure : row) {
            auto* value = new QLabel(this);
            value->setTextInteractionFlags(Qt::TextSelectableByMouse);
            line->addWidget(new QLabel(figure.first + QStringLiteral(":"), this));
            line->addWidget(value);
            line->addSpacing(18);
            m_values << value;
        }
        line->addStretch();
        layout->addLayout(line);
    }
    m_outcomes = new CampaignChart(CampaignChart::Style::Steps, QStringLiteral("messages"));
    m_rates = new CampaignChart(CampaignChart::Style::Lines, QStringLiteral("per minute"));
    layout->addWidget(boxed(QStringLiteral("Outcomes over time"), m_outcomes, this), 1);
    layout->addWidget(boxed(QStringLiteral("Messages per minute per device"), m_rates, this), 1);
    auto* row = new QHBoxLayout();
    row->addStretch();
    auto* close = new QPushButton(QStringLiteral("Close"), this);
    row->addWidget(close);
    layout->addLayout(row);
    connect(close, &QPushButton::clicked, this, [this] { m_controller.Close_Btn(); });
    resize(860, 700);

    connect(&controller, &DialogController::changed, this, &CampaignPageView::refresh);
    refresh();
}

void CampaignPageView::refresh() {
    setWindowTitle(QStringLiteral("%1 - %2").arg(m_controller.title(), kApplicationName));
    int i = 0;
    for (const auto& row : m_controller.figures())
        for (const CampaignPage::Figure& figure : row)
            if (i < m_values.size())
                m_values.at(i++)->setText(figure.second);
    m_outcomes->setSeries(outcomeSeries(m_controller.history()));
    m_rates->setSeries(rateSeries(m_controller.history()));
}
