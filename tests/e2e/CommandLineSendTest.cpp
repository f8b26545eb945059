// The command-line tool against virtual modems: what it prints agrees with what the
// modems received, and its exit status tells whether everything went out.
#include "SenderFixture.h"

#include "core/FileUtils.h"
#include "sheets/SpreadsheetWriter.h"
#include "sim/ModemCommands.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <memory>

#include <csignal>
#include <sys/stat.h>

namespace {

class CommandLineSendTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        startModems(1, behaviour, "35800000000001");
        behaviour.modes = sim::ModemBehaviour::Modes::TextOnly;
        startModems(1, behaviour, "35800000000002");
    }
    QStringList run(const QStringList& arguments, int& exitCode) {
        return runToEnd(environment(), arguments, exitCode, errors);
    }
    QString errors; // what the last run wrote to standard error
};

TEST_F(CommandLineSendTest, SendsEveryRecipientOnceAndReportsEach) {
    int exitCode = -1;
    const QStringList lines = run({"send", "--to", "+447700900001", "--to", "447700900002", "--to",
                                   "+447700900003", "--message", "Headless hello"},
                                  exitCode);
    EXPECT_EQ(exitCode, 0);
    ASSERT_EQ(lines.size(), 4) << lines.join('\n').toStdString();
    EXPECT_EQ(lines.last(), "3 of 3 recipients sent.");
    QStringList received;
    for (const auto& m : modems)
        for (const auto& r : m->received()) {
            received << r.number;
            EXPECT_EQ(r.text, "Headless hello");
        }
    received.sort();
    EXPECT_EQ(received, (QStringList{"+447700900001", "+447700900003", "447700900002"}));
    for (const QString& line : lines.mid(0, 3)) {
        const QStringList cells = line.split('\t');
        ASSERT_EQ(cells.size(), 3);
        EXPECT_EQ(cells.at(2), "Message sent successfully.");
    }
}

// Text mode cannot link parts: a message of two, through a modem in text mode only, is refused
// before anything goes out.
TEST_F(CommandLineSendTest, LinkedPartsThroughTextModeOnlyAreRefusedBeforeSending) {
    int exitCode = -1;
    const QString textPort = modems.at(1)->devicePath();
    run({"send", "--device", textPort + ",mode=text", "--to", "+447700900001", "--message",
         QString(100, QChar(0x0416))},
        exitCode);
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(
        errors.contains("The message to +447700900001 needs 2 linked parts (Unicode), which " + textPort +
                        " in text mode cannot send as one message. Use PDU mode, or a device that offers "
                        "it: " +
                        modems.at(0)->devicePath() + "."))
        << errors.toStdString();
    for (const auto& m : modems)
        EXPECT_TRUE(m->received().isEmpty());
}

// The settings the device windows kept for a modem's SIM are the ones the command line sends
// with; a --device setting goes over them.
TEST_F(CommandLineSendTest, SendsWithTheSettingsKeptForTheModemsSim) {
    sim::ModemIdentity first;
    first.imei = "358000000000010";
    const QString data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
    ASSERT_TRUE(QDir().mkpath(data));
    const QJsonObject kept{{"mode", "Text Mode"}, {"useCustomSmsc", true}, {"customSmsc", "+447700900999"}};
    QString why;
    ASSERT_TRUE(writeFileAtomically(
        data + "/Settings.json",
        QJsonDocument(
            QJsonObject{{"devices", QJsonObject{{"iccid:" + sim::ModemCommands::iccidOf(first), kept}}}})
            .toJson(),
        &why))
        << why.toStdString();

    const QString port = modems.at(0)->devicePath();
    int exitCode = -1;
    run({"send", "--device", port, "--to", "+447700900001", "--message", "Kept"}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    run({"send", "--device", port + ",mode=pdu", "--to", "+447700900002", "--message", "Told"}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    const QList<sim::ReceivedMessage> received = modems.at(0)->received();
    ASSERT_EQ(received.size(), 2);
    EXPECT_EQ(received.at(0).text, "Kept");
    EXPECT_EQ(received.at(0).mode, "TEXT");
    EXPECT_EQ(received.at(0).smsc, "+447700900999");
    EXPECT_EQ(received.at(1).text, "Told");
    EXPECT_EQ(received.at(1).mode, "PDU");
    EXPECT_EQ(received.at(1).smsc, "+447700900999") << "the kept centre, with the mode asked for";
}

TEST_F(CommandLineSendTest, BadUsageExitsTwoAndHelpZero) {
    const QList<std::pair<QStringList, int>> cases = {
        {{"send", "--no-such-option"}, 2},
        {{"send", "--to"}, 2},
        {{"sent-items", "--export"}, 2},
        {{"templates", "--bogus"}, 2},
        {{"test-device", "--device"}, 2},
        {{"devices", "--wrong"}, 2},
        {{"exclusion", "import", "--list"}, 2},
        {{"exclusion", "nothing"}, 2},
        {{"send", "--help"}, 0},
    };
    for (const auto& [arguments, expected] : cases) {
        int exitCode = -1;
        const QStringList lines = run(arguments, exitCode);
        EXPECT_EQ(exitCode, expected) << arguments.join(' ').toStdString();
        if (expected == 0)
            EXPECT_TRUE(lines.join('\n').contains("Exit status")) << arguments.join(' ').toStdString();
        else // the usage line names the command, not the program's path
            EXPECT_TRUE(errors.contains("Usage: bulksms " + arguments.first())) << errors.toStdString();
    }
    EXPECT_TRUE(modems.at(0)->received().isEmpty());
}

// A message is sent as written or not at all: never cut, never read from an endless device,
// never garbled from bytes that are not UTF-8.
TEST_F(CommandLineSendTest, MessagesOverTheLimitOrNotTextAreRefusedNotCut) {
    const QString dir = home.path();
    const auto fileWith = [&](const QString& name, const QByteArray& bytes) {
        QFile file(dir + "/" + name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    };
    ASSERT_EQ(::mkfifo(QFile::encodeName(dir + "/fifo").constData(), 0600), 0);
    const struct {
        const char* name;
        QStringList message; // the options that give it
        int exitCode;
        QString said; // on standard error ("" when it goes through)
    } cases[] = {
        {"1,600 characters", {"--message", QString(1600, 'a')}, 0, ""},
        {"1,601 characters",
         {"--message", QString(1601, 'a')},
         2,
         "is 1601 characters long; the limit is 1600"},
        {"a UTF-8 file with its mark",
         {"--message-file", fileWith("bom.txt", "\xEF\xBB\xBF"
                                                "Caf\xC3\xA9")},
         0,
         ""},
        {"a file over 1 MiB",
         {"--message-file", fileWith("big.txt", QByteArray((1 << 20) + 1, 'a'))},
         2,
         "larger than 1 MiB"},
        {"Latin-1 bytes", {"--message-file", fileWith("latin1.txt", "Caf\xE9 au lait")}, 2, "byte 3"},
        {"UTF-16 without its mark",
         {"--message-file", fileWith("utf16.txt", QByteArray("H\0i\0", 4))},
         2,
         "byte 1"},
        {"an overlong form", {"--message-file", fileWith("overlong.txt", "a\xC0\xAF")}, 2, "byte 1"},
        {"/dev/zero", {"--message-file", "/dev/zero"}, 2, "not a regular file"},
        {"a FIFO nobody writes to", {"--message-file", dir + "/fifo"}, 2, "not a regular file"},
    };
    for (const auto& c : cases) {
        int exitCode = -1;
        const QStringList lines =
            run(QStringList{"send", "--to", "+447700900001", "--dry-run"} + c.message, exitCode);
        EXPECT_EQ(exitCode, c.exitCode) << c.name << ": " << errors.toStdString();
        if (c.exitCode == 0) {
            ASSERT_EQ(lines.size(), 1) << c.name;
            EXPECT_EQ(lines.first().section('\t', 2).size(), c.message.at(1).startsWith('/') ? 4 : 1600)
                << c.name;
        } else {
            EXPECT_TRUE(errors.contains(c.said)) << c.name << ": " << errors.toStdString();
            EXPECT_TRUE(lines.isEmpty()) << c.name;
        }
    }
}

TEST_F(CommandLineSendTest, DryRunOpensNoDeviceAndMarksDuplicates) {
    int exitCode = -1;
    const QStringList lines = run(
        {"send", "--to", "111", "--to", "111", "--message", "m", "--skip-duplicates", "--dry-run"}, exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(lines, (QStringList{"111\tsend\tm", "111\tskipped\tm"}));
    EXPECT_TRUE(modems.at(0)->commandLog().isEmpty());
}

TEST_F(CommandLineSendTest, ACountrySendsEachSubscriberOnceInE164AndRefusesNumbersThatCannotExist) {
    // An opted-out subscriber, stored as written in one form and loaded in another.
    const QString data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
    ASSERT_TRUE(QDir().mkpath(data + "/Exclusion"));
    for (const auto& [file, content] : {std::pair{"/Exclusion/Opted out.OSTREL", "+447911123459\n"},
                                        std::pair{"/AppExclusion.OSTREL", "Opted out\n"}}) {
        ASSERT_TRUE(writeFileAtomically(data + file, content));
    }
    const QStringList recipients = {"--to", "07911 123456", "--to", "+44 7911 123456", "--to", "447911123457",
                                    "--to", "+44 12",       "--to", "07911123459",     "--to", "7911123458"};
    int exitCode = -1;
    QStringList lines = run(QStringList{"send", "--country", "gb", "--message", "m", "--skip-duplicates",
                                        "--exclusion", "--dry-run"} +
                                recipients,
                            exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(lines, (QStringList{"+447911123456\tsend\tm", "+447911123456\tskipped\tm",
                                  "+447911123457\tsend\tm", "+447911123459\texcluded\tm",
                                  "+447911123458\tsend\tm", "+44 12\tinvalid: too short for GB"}));
    EXPECT_TRUE(errors.contains("Not a valid phone number: +44 12 (too short for GB)"))
        << errors.toStdString();

    lines = run(QStringList{"send", "--country", "GB", "--message", "m", "--skip-duplicates", "--exclusion"} +
                    recipients,
                exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    QStringList received;
    for (const auto& m : modems)
        for (const auto& r : m->received())
            received << r.number;
    received.sort();
    EXPECT_EQ(received, (QStringList{"+447911123456", "+447911123457", "+447911123458"}));

    // Without a country the same numbers are compared and sent as written.
    lines = run(QStringList{"send", "--country", "none", "--message", "m", "--skip-duplicates", "--dry-run"} +
                    recipients.mid(0, 8),
                exitCode);
    EXPECT_EQ(lines, (QStringList{"07911123456\tsend\tm", "+447911123456\tsend\tm", "447911123457\tsend\tm",
                                  "+4412\tsend\tm"}));
    EXPECT_EQ(run({"send", "--country", "Narnia", "--to", "1", "--message", "m", "--dry-run"}, exitCode),
              QStringList{});
    EXPECT_EQ(exitCode, 2);
}

TEST_F(CommandLineSendTest, WorkbookRowsGiveNumbersAndTheirOwnMessages) {
    qputenv("BULKSMS_RESOURCES", QFile::encodeName(QStringLiteral(BULKSMS_RESOURCES_DIR)));
    const QString book = home.path() + "/contacts.xlsx";
    ASSERT_TRUE(SpreadsheetWriter::WriteWorkbook(
        book, {{"Name", "Phone", "Balance"}, {"Ann", "+447700900001", "12.50"}, {"Bob", "447700900002", "3"}},
        false));
    int exitCode = -1;
    QStringList lines = run({"send", "--numbers", book, "--header", "--number-column", "Phone", "--template",
                             "Dear <COL-1>, you owe <col-3>.", "--dry-run"},
                            exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(lines, (QStringList{"+447700900001\tsend\tDear Ann, you owe 12.50.",
                                  "447700900002\tsend\tDear Bob, you owe 3."}));
    lines = run({"send", "--numbers", book, "--number-column", "B", "--message-column", "A", "--dry-run"},
                exitCode);
    EXPECT_EQ(lines, (QStringList{"+447700900001\tsend\tAnn",
                                  "447700900002\tsend\tBob"})); // the title row is no number
}

TEST_F(CommandLineSendTest, WorkbooksOfOtherProgramsGiveTheRowsAPersonSees) {
    int exitCode = -1;
    const QString book = QStringLiteral(BULKSMS_SHEETS_TEST_DATA "/excel.xlsx"); // tabs moved, one deleted
    EXPECT_EQ(run({"send", "--numbers", book, "--header", "--number-column", "Phone", "--template",
                   "Dear <COL-1>: <COL-4>", "--dry-run"},
                  exitCode),
              (QStringList{QString::fromUtf8("07700900001\tsend\tDear \u5C71\u7530: Meeting today"),
                           "07700900002\tsend\tDear Bo: Meeting today",
                           "447700900003\tsend\tDear Cy: Meeting today"}));
    EXPECT_EQ(exitCode, 0);
    const QString notABook = home.path() + "/plain.xlsx";
    ASSERT_TRUE(writeFileAtomically(notABook, "Number,Message\n"));
    EXPECT_TRUE(run({"send", "--numbers", notABook, "--message", "x", "--dry-run"}, exitCode).isEmpty());
    EXPECT_NE(exitCode, 0);
    EXPECT_TRUE(errors.contains("This file is not a workbook (or it is damaged or password-protected)."))
        << errors.toStdString();
}

TEST_F(CommandLineSendTest, RtfAndCsvFilesAreCutAsTheWindowsCutThemAndSentInTheirOrder) {
    const QString rtf = home.path() + "/numbers.rtf";
    ASSERT_TRUE(writeFileAtomically(rtf, "{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 111\\par 222\\par}"));
    int exitCode = -1;
    run({"send", "--to", "333", "--numbers", rtf, "--message", "r", "--device", modems.at(0)->devicePath()},
        exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    QStringList received;
    for (const auto& r : modems.at(0)->received())
        received << r.number;
    EXPECT_EQ(received, (QStringList{"333", "111", "222"})); // the arguments', then the file's
    const QString csv = home.path() + "/numbers.csv";
    ASSERT_TRUE(writeFileAtomically(csv, "Name,+441234567890,Note\r"));
    EXPECT_EQ(run({"send", "--numbers", csv, "--message", "c", "--dry-run"}, exitCode),
              QStringList{"+441234567890\tsend\tc"});
}

// A line that gives no number is counted and named, never passed over: the operator can
// find it in the file.
TEST_F(CommandLineSendTest, ADryRunNamesEveryLineThatGaveNoNumber) {
    const QString txt = home.path() + "/numbers.txt";
    ASSERT_TRUE(writeFileAtomically(txt, "+447700900001\rnot a number\r\n" + QByteArray(5000, '7') +
                                             "\n\n+447700900002\r"));
    int exitCode = -1;
    EXPECT_EQ(run({"send", "--numbers", txt, "--message", "m", "--dry-run"}, exitCode),
              (QStringList{"+447700900001\tsend\tm", "+447700900002\tsend\tm"}));
    EXPECT_TRUE(errors.contains("line 2: Not a valid phone number: notanumber")) << errors.toStdString();
    EXPECT_TRUE(errors.contains("line 3: longer than 4096 characters, no number read"))
        << errors.toStdString();
    EXPECT_TRUE(errors.contains("; 2 rejected.")) << errors.toStdString();
    EXPECT_EQ(exitCode, 0);
    run({"send", "--numbers", txt, "--message", "m", "--dry-run", "--strict"}, exitCode);
    EXPECT_EQ(exitCode, 2);
}

TEST_F(CommandLineSendTest, ExitStatusTellsWhatWentOut) {
    sim::ModemBehaviour refusing;
    refusing.networkDelayMs = 0;
    refusing.cmsErrorForNumber.insert("222", 38);
    modems.at(0)->setBehaviour(refusing);
    const QString device = modems.at(0)->devicePath();
    const struct {
        const char* name;
        QStringList arguments;
        int exitCode;
        QString lastLine;
    } cases[] = {
        {"nothing went out", {"--to", "222"}, 3, "0 of 1 recipient sent."},
        {"some failed", {"--to", "222", "--to", "333"}, 1, "1 of 2 recipients sent."},
        // Numbers left out on purpose are no failures.
        {"duplicates skipped",
         {"--to", "333", "--to", "333", "--skip-duplicates"},
         0,
         "1 of 1 recipient sent."},
    };
    for (const auto& c : cases) {
        int exitCode = -1;
        const QStringList lines =
            run(QStringList{"send", "--message", "x", "--retries", "0", "--device", device} + c.arguments,
                exitCode);
        EXPECT_EQ(exitCode, c.exitCode) << c.name << "\n" << errors.toStdString();
        ASSERT_FALSE(lines.isEmpty()) << c.name << "\n" << errors.toStdString();
        EXPECT_EQ(lines.last(), c.lastLine) << c.name;
    }
}

TEST_F(CommandLineSendTest, BadInputIsRefusedBeforeAnythingIsSent) {
    const QString device = modems.at(0)->devicePath();
    const struct {
        const char* name;
        QStringList arguments;
    } cases[] = {
        {"unknown pause length", {"--to", "333", "--pause-every", "1", "--pause-for", "7 Seconds"}},
        {"pause length without its count", {"--to", "333", "--pause-for", "5 Seconds"}},
        {"service centre that is no number", {"--to", "333", "--device", device + ",smsc=12+34"}},
        {"invalid number when strict", {"--to", "333", "--to", "12ab", "--strict"}},
        {"retries out of range", {"--to", "333", "--retries", "9"}},
    };
    for (const auto& c : cases) {
        int exitCode = -1;
        run(QStringList{"send", "--message", "x"} + c.arguments, exitCode);
        EXPECT_EQ(exitCode, 2) << c.name << "\n" << errors.toStdString();
    }
    for (const auto& m : modems)
        EXPECT_TRUE(m->received().isEmpty());
    // The window's spacing need not be typed: "5 Seconds" is its "5  Seconds".
    int exitCode = -1;
    run({"send", "--message", "x", "--to", "333", "--device", device, "--pause-every", "1", "--pause-for",
         "5 Seconds"},
        exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
}

TEST_F(CommandLineSendTest, JsonLinesComeAsEachMessageFinishes) {
    int exitCode = -1;
    const QStringList lines = run({"send", "--message", "x", "--json", "--device", modems.at(0)->devicePath(),
                                   "--to", "111", "--to", "222"},
                                  exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    ASSERT_EQ(lines.size(), 2) << lines.join('\n').toStdString();
    QStringList numbers;
    for (const QString& line : lines) {
        const QJsonObject item = QJsonDocument::fromJson(line.toUtf8()).object();
        numbers << item.value("number").toString();
        EXPECT_EQ(item.value("status").toString(), "Message sent successfully.");
        EXPECT_TRUE(item.value("sent").toBool());
        EXPECT_EQ(item.value("attempts").toInt(), 1);
        EXPECT_EQ(item.value("references").toArray().size(), 1);
        EXPECT_EQ(item.value("port").toString(), modems.at(0)->devicePath());
        EXPECT_FALSE(item.value("time").toString().isEmpty());
    }
    numbers.sort();
    EXPECT_EQ(numbers, (QStringList{"111", "222"}));
}

TEST_F(CommandLineSendTest, WithDeliveryReportsEachLineWaitsForItsReport) {
    sim::ModemIdentity id;
    id.imei = QStringLiteral("358000000000019");
    sim::ModemBehaviour network;
    network.networkDelayMs = 0;
    network.deliveryStatusForNumber.insert("222", 0x61);
    network.noStatusReportFor << "333";
    modems.push_back(std::make_unique<sim::VirtualModem>(id, network));
    ASSERT_TRUE(modems.back()->start());
    int exitCode = -1;
    const QStringList lines = run({"send", "--message", "x", "--json", "--delivery-reports", "--device",
                                   modems.back()->devicePath(), "--to", "111", "--to", "222", "--to", "333"},
                                  exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString(); // sent is sent, whatever became of it later
    QMap<QString, QString> delivery;
    for (const QString& line : lines) {
        const QJsonObject item = QJsonDocument::fromJson(line.toUtf8()).object();
        delivery.insert(item.value("number").toString(), item.value("delivery").toString());
    }
    EXPECT_EQ(delivery, (QMap<QString, QString>{{"111", "Delivered"},
                                                {"222", "Not delivered (recipient busy)"},
                                                {"333", "No report received"}}))
        << lines.join('\n').toStdString();
}

TEST_F(CommandLineSendTest, AnInterruptStopsTheRunAndStillPrintsEveryResult) {
    QStringList arguments{"send", "--message", "x", "--device", modems.at(0)->devicePath()};
    for (int i = 0; i < 40; ++i)
        arguments << "--to" << QStringLiteral("4477009%1").arg(100 + i);
    const std::unique_ptr<QProcess> process = start(arguments);
    // Interrupted once its first result is out.
    while (process->state() == QProcess::Running && !process->canReadLine())
        process->waitForReadyRead(100);
    ::kill(pid_t(process->processId()), SIGINT);
    ASSERT_TRUE(process->waitForFinished(60000));
    const QStringList lines = QString::fromUtf8(process->readAll()).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process->exitCode(), 1);
    ASSERT_EQ(lines.size(), 41) << lines.join('\n').toStdString(); // every recipient, and the summary
    int stopped = 0;
    for (const QString& line : lines.mid(0, 40))
        stopped += line.endsWith("\tStopped.");
    EXPECT_GT(stopped, 0);
    EXPECT_EQ(modems.at(0)->received().size(), 40 - stopped);
}

} // namespace
