#include "CampaignRequest.h"

#include "ApiJson.h"
#include "core/ReplyOptions.h"
#include "sheets/DynamicMessages.h"
#include "text/NumberNormaliser.h"
#include "text/NumberRules.h"
#include "text/SendWindow.h"

#include <QJsonArray>
#include <QSet>

#include <cmath>

namespace {

using Problem = std::optional<RequestProblem>;

const QString kGiveCountry = QStringLiteral("or give options.country");

Problem problem(const QString& field, const QString& message) { return RequestProblem{field, message}; }

QString typeName(const QJsonValue& v) {
    switch (v.type()) {
    case QJsonValue::Null: return QStringLiteral("null");
    case QJsonValue::Bool: return QStringLiteral("a boolean");
    case QJsonValue::Double: return QStringLiteral("a number");
    case QJsonValue::String: return QStringLiteral("a string");
    case QJsonValue::Array: return QStringLiteral("an array");
    case QJsonValue::Object: return QStringLiteral("an object");
    case QJsonValue::Undefined: break;
    }
    return QStringLiteral("nothing");
}

Problem wrongType(const QString& field, const QString& wanted, const QJsonValue& got) {
    return problem(field, QStringLiteral("must be %1, not %2").arg(wanted, typeName(got)));
}

Problem unknownFields(const QJsonObject& o, const QSet<QString>& known, const QString& prefix) {
    for (auto it = o.begin(); it != o.end(); ++it)
        if (!known.contains(it.key()))
            return problem(prefix + it.key(), QStringLiteral("unknown field"));
    return std::nullopt;
}

// A whole number in [low, high].
Problem readInt(const QJsonObject& o, const QString& key, const QString& field, int low, int high,
                int& into) {
    if (!o.contains(key))
        return std::nullopt;
    const QJsonValue v = o.value(key);
    const double d = v.toDouble();
    // Compared as a double: a number far beyond any integer type is refused, not converted.
    if (!v.isDouble() || std::trunc(d) != d)
        return wrongType(field, QStringLiteral("a whole number"), v);
    if (d < low || d > high)
        return problem(field, QStringLiteral("must be from %1 to %2").arg(low).arg(high));
    into = int(d);
    return std::nullopt;
}

Problem readBool(const QJsonObject& o, const QString& key, bool& into) {
    if (!o.contains(key))
        return std::nullopt;
    if (!o.value(key).isBool())
        return wrongType(QStringLiteral("options.") + key, QStringLiteral("true or false"), o.value(key));
    into = o.value(key).toBool();
    return std::nullopt;
}

Problem readLimits(const QJsonValue& v, DeviceLimits& limits) {
    const QString field = QStringLiteral("options.limits");
    if (!v.isObject())
        return wrongType(field, QStringLiteral("an object"), v);
    const QJsonObject o = v.toObject();
    if (Problem p =
            unknownFields(o, {"minute", "hour", "day", "gap_min", "gap_max"}, field + QLatin1Char('.')))
        return p;
    constexpr int kMost = 1000000, kLongestGap = 3600;
    for (const auto& [key, into, high] :
         {std::tuple{"minute", &limits.perMinute, kMost}, std::tuple{"hour", &limits.perHour, kMost},
          std::tuple{"day", &limits.perDay, kMost}, std::tuple{"gap_min", &limits.gapMin, kLongestGap},
          std::tuple{"gap_max", &limits.gapMax, kLongestGap}})
        if (Problem p =
                readInt(o, QLatin1String(key), field + QLatin1Char('.') + QLatin1String(key), 0, high, *into))
            return p;
    if (limits.gapMax < limits.gapMin)
        return problem(field + QStringLiteral(".gap_max"), QStringLiteral("must not be below gap_min"));
    return std::nullopt;
}

Problem readOptions(const QJsonValue& v, RunSettings& s, QString& country) {
    if (v.isUndefined())
        return std::nullopt;
    if (!v.isObject())
        return wrongType(QStringLiteral("options"), QStringLiteral("an object"), v);
    const QJsonObject o = v.toObject();
    if (Problem p = unknownFields(o,
                                  {"road", "unicode", "flash", "plain_punctuation", "skip_duplicates",
                                   "delivery_reports", "retries", "country", "footer", "window_zone", "until",
                                   "limits", "pause_every", "pause_seconds"},
                                  QStringLiteral("options.")))
        return p;
    if (o.contains(QLatin1String("road"))) {
        const QString road = o.value(QLatin1String("road")).toString();
        if (road != kGsmRoad && road != kAndroidRoad)
            return problem(QStringLiteral("options.road"), QStringLiteral("must be \"gsm\" or \"android\""));
        s.road = road;
    }
    for (const auto& [key, into] :
         {std::pair{"unicode", &s.unicode}, std::pair{"flash", &s.flash},
          std::pair{"plain_punctuation", &s.plainPunctuation},
          std::pair{"skip_duplicates", &s.skipDuplicates}, std::pair{"delivery_reports", &s.deliveryReports}})
        if (Problem p = readBool(o, QLatin1String(key), *into))
            return p;
    if (Problem p = readInt(o, QStringLiteral("retries"), QStringLiteral("options.retries"), 0,
                            RunSettings::kMaxRetries, s.retries))
        return p;
    if (o.contains(QLatin1String("country"))) {
        const QJsonValue c = o.value(QLatin1String("country"));
        if (!c.isString())
            return wrongType(QStringLiteral("options.country"), QStringLiteral("a string"), c);
        country = NumberNormaliser::regionCode(c.toString());
        if (country.isEmpty() && !c.toString().isEmpty())
            return problem(QStringLiteral("options.country"),
                           QStringLiteral("is not a region code such as \"GB\""));
    }
    if (o.contains(QLatin1String("footer"))) {
        const QJsonValue f = o.value(QLatin1String("footer"));
        if (!f.isString())
            return wrongType(QStringLiteral("options.footer"), QStringLiteral("a string"), f);
        if (f.toString().trimmed().size() > ReplyOptions::kMaxFooterLength)
            return problem(
                QStringLiteral("options.footer"),
                QStringLiteral("is longer than %1 characters").arg(ReplyOptions::kMaxFooterLength));
        s.footer = f.toString().trimmed();
    }
    if (o.contains(QLatin1String("window_zone"))) {
        const QString zone = o.value(QLatin1String("window_zone")).toString();
        if (const QString why = zoneRefusal(zone); !why.isEmpty())
            return problem(QStringLiteral("options.window_zone"), why);
        s.windowZone = zone;
    }
    if (o.contains(QLatin1String("until"))) {
        s.until = timeFromIso(o.value(QLatin1String("until")).toString());
        if (s.until == 0)
            return problem(
                QStringLiteral("options.until"),
                QStringLiteral("must be a time with its offset, such as \"2026-11-27T18:00:00Z\""));
    }
    if (o.contains(QLatin1String("limits")))
        if (Problem p = readLimits(o.value(QLatin1String("limits")), s.limits))
            return p;
    int every = 0, seconds = 0;
    if (Problem p = readInt(o, QStringLiteral("pause_every"), QStringLiteral("options.pause_every"), 0,
                            100000, every))
        return p;
    if (Problem p = readInt(o, QStringLiteral("pause_seconds"), QStringLiteral("options.pause_seconds"), 0,
                            86400, seconds))
        return p;
    if ((every > 0) != (seconds > 0))
        return problem(QStringLiteral("options.pause_every"), QStringLiteral("goes with pause_seconds"));
    if (every > 0) {
        s.schedule.enabled = true;
        s.schedule.count = every;
        s.schedule.unit = QStringLiteral("S");
        s.schedule.amount = seconds;
    }
    return std::nullopt;
}

// When and in which hours: "at" and "window" of either request.
Problem readTimes(const QJsonObject& body, CampaignRequest& r) {
    if (body.contains(QLatin1String("at"))) {
        r.startAt = timeFromIso(body.value(QLatin1String("at")).toString());
        if (r.startAt == 0)
            return problem(
                QStringLiteral("at"),
                QStringLiteral("must be a time with its offset, such as \"2026-11-27T09:00:00+01:00\""));
    }
    if (body.contains(QLatin1String("window"))) {
        QString why;
        const std::optional<SendWindow> window =
            SendWindow::parse(body.value(QLatin1String("window")).toString(), &why);
        if (!window)
            return problem(QStringLiteral("window"), why);
        r.settings.sendWindow = window->text();
    }
    if (!r.settings.windowZone.isEmpty() && r.settings.sendWindow.isEmpty())
        return problem(QStringLiteral("options.window_zone"), QStringLiteral("goes with window"));
    return std::nullopt;
}

Problem checkText(const QString& text, const QString& field) {
    if (text.trimmed().isEmpty())
        return problem(field, QStringLiteral("is empty"));
    if (text.size() > kMaxMessageLength)
        return problem(field, QStringLiteral("is %1 characters long; a message may have at most %2")
                                  .arg(text.size())
                                  .arg(kMaxMessageLength));
    return std::nullopt;
}

Problem readString(const QJsonObject& o, const QString& key, QString& into) {
    const QJsonValue v = o.value(key);
    if (v.isUndefined())
        return problem(key, QStringLiteral("is missing"));
    if (!v.isString())
        return wrongType(key, QStringLiteral("a string"), v);
    into = v.toString();
    return std::nullopt;
}

// The recipient at index: its number and the values its template takes.
Problem readRecipient(const QJsonValue& v, const QString& field, QString& number, QStringList& values) {
    if (v.isString()) {
        number = v.toString();
        return std::nullopt;
    }
    if (!v.isObject())
        return wrongType(field, QStringLiteral("a number or an object"), v);
    const QJsonObject o = v.toObject();
    if (Problem p = unknownFields(o, {"to", "values"}, field + QLatin1Char('.')))
        return p;
    if (!o.value(QLatin1String("to")).isString())
        return wrongType(field + QStringLiteral(".to"), QStringLiteral("a string"),
                         o.value(QLatin1String("to")));
    number = o.value(QLatin1String("to")).toString();
    const QJsonValue list = o.value(QLatin1String("values"));
    if (list.isUndefined())
        return std::nullopt;
    if (!list.isArray())
        return wrongType(field + QStringLiteral(".values"), QStringLiteral("an array of strings"), list);
    for (const QJsonValue value : list.toArray()) {
        if (!value.isString())
            return wrongType(field + QStringLiteral(".values"), QStringLiteral("an array of strings"), value);
        values << value.toString();
    }
    return std::nullopt;
}

std::variant<CampaignRequest, RequestProblem> finish(CampaignRequest r, Problem p) {
    if (p)
        return *p;
    return r;
}

} // namespace

std::variant<CampaignRequest, RequestProblem> readMessageRequest(const QJsonObject& body,
                                                                 const QString& defaultCountry) {
    CampaignRequest r;
    QString country = defaultCountry, to, text, number;
    Problem p = unknownFields(body, {"to", "text", "at", "window", "options"}, {});
    if (!p)
        p = readOptions(body.value(QLatin1String("options")), r.settings, country);
    if (!p)
        p = readTimes(body, r);
    if (!p)
        p = readString(body, QStringLiteral("to"), to);
    if (!p)
        p = checkNumber(to, country, QStringLiteral("to"), number, kGiveCountry);
    if (!p)
        p = readString(body, QStringLiteral("text"), text);
    if (!p)
        p = checkText(text, QStringLiteral("text"));
    r.settings.country = country;
    r.rows = {{number, text}};
    return finish(std::move(r), p);
}

std::variant<CampaignRequest, RequestProblem> readCampaignRequest(const QJsonObject& body,
                                                                  const QString& defaultCountry) {
    CampaignRequest r;
    QString country = defaultCountry, text, templ;
    Problem p = unknownFields(body, {"recipients", "text", "template", "at", "window", "options"}, {});
    if (!p)
        p = readOptions(body.value(QLatin1String("options")), r.settings, country);
    if (!p)
        p = readTimes(body, r);
    const bool templated = body.contains(QLatin1String("template"));
    if (!p && templated == body.contains(QLatin1String("text")))
        p = problem(QStringLiteral("text"), QStringLiteral("give either text or template"));
    if (!p)
        p = templated ? readString(body, QStringLiteral("template"), templ)
                      : readString(body, QStringLiteral("text"), text);
    if (!p && !templated)
        p = checkText(text, QStringLiteral("text"));
    const QJsonValue recipients = body.value(QLatin1String("recipients"));
    if (!p && !recipients.isArray())
        p = recipients.isUndefined()
                ? problem(QStringLiteral("recipients"), QStringLiteral("is missing"))
                : wrongType(QStringLiteral("recipients"), QStringLiteral("an array"), recipients);
    const QJsonArray list = recipients.toArray();
    if (!p && list.isEmpty())
        p = problem(QStringLiteral("recipients"), QStringLiteral("is empty"));
    if (!p && list.size() > kMaxRequestRecipients)
        p = problem(QStringLiteral("recipients"), QStringLiteral("has %1; one request may name at most %2")
                                                      .arg(list.size())
                                                      .arg(kMaxRequestRecipients));
    for (qsizetype i = 0; !p && i < list.size(); ++i) {
        const QString field = QStringLiteral("recipients[%1]").arg(i);
        QString raw, number;
        QStringList values;
        p = readRecipient(list.at(i), field, raw, values);
        if (!p)
            p = checkNumber(raw, country, field, number, kGiveCountry);
        const QString message = templated ? fillTemplate(templ, values) : text;
        if (!p && templated)
            p = checkText(message, field + QStringLiteral(" (the template filled)"));
        r.rows.append({number, message});
    }
    r.settings.country = country;
    return finish(std::move(r), p);
}
