#include "CampaignOptions.h"

#include "core/ReplyOptions.h"

#include <QJsonDocument>
#include <QJsonObject>

QString optionsOf(const RunSettings& s) {
    QJsonObject options{
        {"unicode", s.unicode},
        {"flash", s.flash},
        {"plain_punctuation", s.plainPunctuation},
        {"skip_duplicates", s.skipDuplicates},
        {"delivery_reports", s.deliveryReports},
        {"retries", s.retries},
        {"country", s.country},
        {"pause_every", s.schedule.takesPauses() ? s.schedule.count : 0},
        {"pause_seconds", s.schedule.takesPauses() ? s.schedule.pauseMilliseconds() / 1000 : 0}};
    if (!s.footer.isEmpty())
        options.insert(QStringLiteral("footer"), s.footer);
    if (!s.sendWindow.isEmpty())
        options.insert(QStringLiteral("window"), s.sendWindow);
    if (!s.windowZone.isEmpty())
        options.insert(QStringLiteral("window_zone"), s.windowZone);
    if (s.until > 0)
        options.insert(QStringLiteral("until"), s.until);
    const DeviceLimits& l = s.limits;
    if (!(l == DeviceLimits{}))
        options.insert(QStringLiteral("limits"), QJsonObject{{"minute", l.perMinute},
                                                             {"hour", l.perHour},
                                                             {"day", l.perDay},
                                                             {"gap_min", l.gapMin},
                                                             {"gap_max", l.gapMax}});
    return QString::fromUtf8(QJsonDocument(options).toJson(QJsonDocument::Compact));
}

RunSettings settingsOf(const QString& options, const QString& road) {
    const QJsonObject o = QJsonDocument::fromJson(options.toUtf8()).object();
    RunSettings s;
    s.road = road;
    s.unicode = o.value("unicode").toBool();
    s.flash = o.value("flash").toBool();
    s.plainPunctuation = o.value("plain_punctuation").toBool();
    s.footer = o.value("footer").toString().left(ReplyOptions::kMaxFooterLength);
    s.sendWindow = o.value("window").toString();
    s.windowZone = o.value("window_zone").toString();
    s.until = o.value("until").toInteger();
    const QJsonObject limits = o.value("limits").toObject();
    const auto count = [&limits](const char* key) {
        return qMax(0, limits.value(QLatin1String(key)).toInt());
    };
    s.limits = {count("minute"), count("hour"), count("day"), count("gap_min"), count("gap_max")};
    if (s.limits.gapMax < s.limits.gapMin)
        s.limits.gapMax = s.limits.gapMin;
    s.skipDuplicates = o.value("skip_duplicates").toBool();
    s.deliveryReports = o.value("delivery_reports").toBool();
    s.country = o.value("country").toString();
    s.retries = qBound(0, o.value("retries").toInt(RunSettings::kDefaultRetries), RunSettings::kMaxRetries);
    const int every = o.value("pause_every").toInt(), seconds = o.value("pause_seconds").toInt();
    if (every > 0 && seconds > 0) {
        s.schedule.enabled = true;
        s.schedule.count = every;
        s.schedule.unit = QStringLiteral("S");
        s.schedule.amount = seconds;
    }
    return s;
}
