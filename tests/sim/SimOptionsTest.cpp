#include "sim/SimOptions.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using sim::ModemBehaviour;
using sim::SimOptions;

SimOptions parse(const QStringList& flags) {
    return sim::SimOptionsParser::parse(QStringList{"bulksms-modem-sim"} + flags);
}

TEST(SimOptions, FlagsMirrorIdentityAndBehaviour) {
    const struct {
        QStringList flags;
        std::function<bool(const SimOptions&)> holds;
    } cases[] = {
        {{},
         [](const SimOptions& o) {
             return o.count == 1 && o.behaviour.echo && o.behaviour.modes == ModemBehaviour::Modes::Both &&
                    o.behaviour.unplugAfterParts == -1 && o.behaviour.silentAfterMessages == -1 &&
                    o.logPath.isEmpty() && o.behaviour.answerLatencyMs > 0 && !o.behaviour.lateCmgsAnswers;
         }},
        {{"--manufacturer", "Acme", "--model", "M1", "--revision", "r2", "--imei", "123"},
         [](const SimOptions& o) {
             return o.identity.manufacturer == u"Acme" && o.identity.model == u"M1" &&
                    o.identity.revision == u"r2" && o.identity.imei == u"123";
         }},
        {{"--operator", "Net Two", "--smsc", "+15550001", "--smsc-ucs2"},
         [](const SimOptions& o) {
             return o.identity.operatorName == u"Net Two" && o.identity.smsc == u"+15550001" &&
                    o.identity.smscAsUcs2;
         }},
        {{"--sim-size", "5", "--sim-full", "--incoming", "in.jsonl", "--indications-inside-answers"},
         [](const SimOptions& o) {
             return o.behaviour.simSize == 5 && o.behaviour.simMessagesAtStart.size() == 5 &&
                    o.incomingPath == u"in.jsonl" && o.behaviour.indicationsInsideAnswers;
         }},
        {{"--sim-full"}, [](const SimOptions& o) { return o.behaviour.simMessagesAtStart.size() == 30; }},
        {{"--operator", ""}, [](const SimOptions& o) { return o.identity.operatorName.isEmpty(); }},
        {{"--battery", "1,55", "--signal", "14"},
         [](const SimOptions& o) {
             return o.identity.batteryState == 1 && o.identity.batteryCharge == 55 && o.identity.rssi == 14;
         }},
        {{"--modes", "pdu"},
         [](const SimOptions& o) { return o.behaviour.modes == ModemBehaviour::Modes::PduOnly; }},
        {{"--modes", "TEXT"},
         [](const SimOptions& o) { return o.behaviour.modes == ModemBehaviour::Modes::TextOnly; }},
        {{"--no-echo", "--bursts", "3", "--network-delay-ms", "0"},
         [](const SimOptions& o) {
             return !o.behaviour.echo && o.behaviour.answerBursts == 3 && o.behaviour.networkDelayMs == 0;
         }},
        {{"--latency-ms", "0", "--late-answers"},
         [](const SimOptions& o) { return o.behaviour.answerLatencyMs == 0 && o.behaviour.lateCmgsAnswers; }},
        {{"--cms-error", "+4477=38", "--cms-error", "555=500"},
         [](const SimOptions& o) {
             return o.behaviour.cmsErrorForNumber.value("+4477") == 38 &&
                    o.behaviour.cmsErrorForNumber.value("555") == 500 &&
                    o.behaviour.cmsErrorForNumber.size() == 2;
         }},
        {{"--cmgs-test-error", "--undefined-identity", "--silent", "--echo-only", "--unplug-after-parts",
          "0"},
         [](const SimOptions& o) {
             return o.behaviour.cmgsTestAnswersError && o.behaviour.undefinedIdentity && o.behaviour.silent &&
                    o.behaviour.echoOnly && o.behaviour.unplugAfterParts == 0;
         }},
        {{"--iccid", "8944100000000000012F", "--no-iccid"},
         [](const SimOptions& o) {
             return o.identity.iccid == u"8944100000000000012F" && o.behaviour.iccidUnreadable;
         }},
        {{}, [](const SimOptions& o) { return o.identity.iccid.isEmpty() && !o.behaviour.iccidUnreadable; }},
        {{"--silent-after", "3"}, [](const SimOptions& o) { return o.behaviour.silentAfterMessages == 3; }},
        {{"--report-delay-ms", "50", "--delivery-status", "555=97", "--no-report", "777"},
         [](const SimOptions& o) {
             return o.behaviour.statusReportDelayMs == 50 &&
                    o.behaviour.deliveryStatusForNumber.value("555", -1) == 97 &&
                    o.behaviour.noStatusReportFor == QStringList{"777"};
         }},
        {{"--log", "/tmp/x.jsonl", "--count", "4"},
         [](const SimOptions& o) { return o.logPath == u"/tmp/x.jsonl" && o.count == 4; }},
        {{"--help"}, [](const SimOptions& o) { return o.help; }},
    };
    for (const auto& c : cases) {
        const SimOptions options = parse(c.flags);
        EXPECT_TRUE(options.error.isEmpty())
            << c.flags.join(' ').toStdString() << ": " << options.error.toStdString();
        EXPECT_TRUE(c.holds(options)) << c.flags.join(' ').toStdString();
    }
}

TEST(SimOptions, MistakesAreNamedNotGuessed) {
    const struct {
        QStringList flags;
        const char* fragment;
    } cases[] = {
        {{"--modes", "fast"}, "--modes"},
        {{"--bursts", "0"}, "--bursts"},
        {{"--bursts", "x"}, "--bursts"},
        {{"--count", "33"}, "--count"},
        {{"--latency-ms", "-1"}, "--latency-ms"},
        {{"--silent-after", "-1"}, "--silent-after"},
        {{"--cms-error", "4477"}, "--cms-error"},
        {{"--cms-error", "4477=abc"}, "--cms-error"},
        {{"--sim-size", "0"}, "--sim-size"},
        {{"--delivery-status", "4477=256"}, "--delivery-status"},
        {{"--battery", "80"}, "--battery"},
        {{"--frobnicate"}, "frobnicate"},
        {{"extra"}, "extra"},
        {{"--log"}, "log"},
    };
    for (const auto& c : cases) {
        const SimOptions options = parse(c.flags);
        EXPECT_TRUE(options.error.contains(QLatin1String(c.fragment)))
            << c.flags.join(' ').toStdString() << " -> " << options.error.toStdString();
    }
}

} // namespace
