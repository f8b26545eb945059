// bulksms-phone-sim: virtual Android phones behind an adb server port, for the adb client
// (ADB_SERVER_SOCKET=tcp:127.0.0.1:PORT). Prints the port on its first line and serves until
// SIGINT, SIGTERM or "adb kill-server".
#include "AdbServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include <pthread.h>

int main(int argc, char** argv) {
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Virtual Android phones behind an adb server port. The port is printed on the first line.\n"
        "Without --config one phone is served, shaped by the phone options."));
    parser.addHelpOption();
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("TCP port on 127.0.0.1 (0: any)."),
                                  QStringLiteral("N"), QStringLiteral("0"));
    const QCommandLineOption config(QStringLiteral("config"), QStringLiteral("Phones from a JSON file."),
                                    QStringLiteral("file"));
    const QCommandLineOption log(QStringLiteral("log"),
                                 QStringLiteral("Append what the phones saw (JSON lines) to this file."),
                                 QStringLiteral("file"));
    const QCommandLineOption serial(QStringLiteral("serial"), QStringLiteral("Serial number."),
                                    QStringLiteral("text"));
    const QCommandLineOption state(
        QStringLiteral("state"), QStringLiteral("device, unauthorized or offline."), QStringLiteral("state"));
    const QCommandLineOption storage(QStringLiteral("storage"), QStringLiteral("$EXTERNAL_STORAGE."),
                                     QStringLiteral("path"));
    const QCommandLineOption install(QStringLiteral("install"),
                                     QStringLiteral("success, fail-once or fail-always."),
                                     QStringLiteral("outcome"));
    const QCommandLineOption appInstalled(QStringLiteral("app-installed"),
                                          QStringLiteral("The companion app is already installed."));
    const QCommandLineOption pushFails(QStringLiteral("push-fails"),
                                       QStringLiteral("Every copy to the phone fails."));
    const QCommandLineOption startError(
        QStringLiteral("start-error"),
        QStringLiteral("Starting the app this way (single-shot, standard, classic, test) reports an error "
                       "(repeatable)."),
        QStringLiteral("path"));
    const QCommandLineOption unplugAfter(QStringLiteral("unplug-after"),
                                         QStringLiteral("Unplug after this many messages."),
                                         QStringLiteral("N"));
    const QCommandLineOption authorizeAfter(
        QStringLiteral("authorize-after"),
        QStringLiteral("An unauthorized phone is authorised after this many device lists."),
        QStringLiteral("N"));
    const QCommandLineOption sendFails(
        QStringLiteral("send-fails"),
        QStringLiteral(
            "The phone cannot send to this number: its SMS provider keeps it as failed (repeatable)."),
        QStringLiteral("number"));
    const QCommandLineOption queued(
        QStringLiteral("queued"),
        QStringLiteral("A message to this number stays queued in the phone (repeatable)."),
        QStringLiteral("number"));
    const QCommandLineOption smsQueryDenied(
        QStringLiteral("sms-query-denied"),
        QStringLiteral("The shell may not read the phone's messages (content query is refused)."));
    const QCommandLineOption incoming(
        QStringLiteral("incoming"),
        QStringLiteral(
            "Messages sent to the phone, JSON lines {\"from\": ..., \"text\": ...}, taken into its "
            "inbox as the file grows."),
        QStringLiteral("file"));
    QList<QCommandLineOption> shorthands;
    for (const QString& name : {QStringLiteral("model"), QStringLiteral("manufacturer"),
                                QStringLiteral("release"), QStringLiteral("api"), QStringLiteral("operator")})
        shorthands.append(
            QCommandLineOption(name, QStringLiteral("The phone's %1.").arg(name), QStringLiteral("text")));
    parser.addOptions({port, config, log, serial, state, storage, install, appInstalled, pushFails,
                       startError, unplugAfter, authorizeAfter, sendFails, queued, smsQueryDenied, incoming});
    parser.addOptions(shorthands);
    parser.process(app);

    QList<sim::PhoneConfig> phones;
    if (parser.isSet(config)) {
        QString reason;
        if (!sim::readPhoneConfigs(parser.value(config), phones, reason)) {
            std::fprintf(stderr, "bulksms-phone-sim: %s\n", qPrintable(reason));
            return 2;
        }
        for (sim::PhoneConfig& phone : phones) // one file for every phone; "to" picks one
            if (phone.incomingPath.isEmpty())
                phone.incomingPath = parser.value(incoming);
    } else {
        sim::PhoneConfig phone = sim::PhoneConfig::typical();
        if (parser.isSet(serial))
            phone.serial = parser.value(serial);
        if (parser.isSet(state))
            phone.state = parser.value(state);
        if (parser.isSet(storage))
            phone.externalStorage = parser.value(storage);
        if (parser.isSet(install) && !sim::parseInstallOutcome(parser.value(install), phone.install)) {
            std::fprintf(stderr, "bulksms-phone-sim: unknown install outcome\n");
            return 2;
        }
        phone.appInstalled = parser.isSet(appInstalled);
        phone.pushFails = parser.isSet(pushFails);
        phone.startErrors = parser.values(startError);
        phone.unplugAfter = parser.value(unplugAfter).toInt();
        phone.authorizeAfter = parser.value(authorizeAfter).toInt();
        phone.sendFails = parser.values(sendFails);
        phone.queued = parser.values(queued);
        phone.smsQueryDenied = parser.isSet(smsQueryDenied);
        phone.incomingPath = parser.value(incoming);
        for (const QCommandLineOption& shorthand : shorthands)
            if (parser.isSet(shorthand))
                sim::setPhoneShorthand(phone, shorthand.names().first(), parser.value(shorthand));
        phones.append(phone);
    }

    sim::AdbServer server(phones, parser.value(log));
    if (!server.start(quint16(parser.value(port).toUInt()))) {
        std::fprintf(stderr, "bulksms-phone-sim: cannot listen on port %s\n", qPrintable(parser.value(port)));
        return 1;
    }
    std::printf("%u\n", unsigned(server.port()));
    std::fflush(stdout);

    // A signal or a client's kill-server ends the run, whichever comes first.
    std::atomic<bool> finished{false};
    std::thread signalWaiter([&] {
        const timespec poll{0, 200'000'000L};
        while (!finished) {
            if (sigtimedwait(&stopSignals, nullptr, &poll) > 0) {
                server.stop();
                return;
            }
        }
    });
    server.waitUntilKilled();
    finished = true;
    server.stop();
    signalWaiter.join();
    return 0;
}
