// The command-line tool against virtual modems: what it prints agrees with what the
// modems received, and its exit status tells whether everything went out.
#include "sheets/SpreadsheetWriter.h"
#include "sim/VirtualModem.h"

#include <QFile>

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

class CommandLineSendTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 2; ++i) {
            sim::ModemIdentity id;
            id.imei = QStringLiteral("35800000000001%1").arg(i);
            sim::ModemBehaviour behaviour;
            behaviour.networkDelayMs = 0;
            if (i == 1)
                behaviour.modes = sim::ModemBehaviour::Modes::TextOnly;
            modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
            ASSERT_TRUE(modems.back()->start());
        }
    }
    QStringList run(const QStringList& arguments, int& exitCode) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_DATA_HOME", home.path());
        env.insert("BULKSMS_RESOURCES", home.path() + "/resources");
        env.insert("BULKSMS_CLOCK_SCALE", "0.05"); // read time-outs long enough for a busy machine
        env.insert("BULKSMS_EXTRA_MODEMS", modems.at(0)->devicePath() + ":" + modems.at(1)->devicePath());
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        EXPECT_TRUE(process.waitForFinished(120000));
        exitCode = process.exitCode();
        errors = QString::fromUtf8(process.readAllStandardError());
        return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }
    QTemporaryDir home;
    QString errors; // what the last run wrote to standard error
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
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

TEST_F(CommandLineSendTest, DryRunOpensNoDeviceAndMarksDuplicates) {
    int exitCode = -1;
    const QStringList lines = run(
        {"send", "--to", "111", "--to", "111", "--message", "m", "--skip-duplicates", "--dry-run"}, exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(lines, (QStringList{"111\tsend\tm", "111\tskipped\tm"}));
    EXPECT_TRUE(modems.at(0)->commandLog().isEmpty());
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
    QFile f(notABook);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("Number,Message\n");
    f.close();
    EXPECT_TRUE(run({"send", "--numbers", notABook, "--message", "x", "--dry-run"}, exitCode).isEmpty());
    EXPECT_NE(exitCode, 0);
    EXPECT_TRUE(errors.contains("This file is not a workbook (or it is damaged or password-protected)."))
        << errors.toStdString();
}

TEST_F(CommandLineSendTest, RtfAndCsvFilesAreCutAsTheWindowsCutThem) {
    const QString rtf = home.path() + "/numbers.rtf";
    QFile f(rtf);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 111\\par 222\\par}");
    f.close();
    int exitCode = -1;
    EXPECT_EQ(run({"send", "--numbers", rtf, "--message", "r", "--dry-run"}, exitCode),
              (QStringList{"111\tsend\tr", "222\tsend\tr"}));
    const QString csv = home.path() + "/numbers.csv";
    QFile c(csv);
    ASSERT_TRUE(c.open(QIODevice::WriteOnly));
    c.write("Name,+441234567890,Note\r");
    c.close();
    EXPECT_EQ(run({"send", "--numbers", csv, "--message", "c", "--dry-run"}, exitCode),
              QStringList{"+441234567890\tsend\tc"});
}

TEST_F(CommandLineSendTest, RefusedRecipientsMakeTheExitStatusNonZero) {
    sim::ModemBehaviour refusing;
    refusing.networkDelayMs = 0;
    refusing.cmsErrorForNumber.insert("222", 38);
    modems.at(0)->setBehaviour(refusing);
    int exitCode = -1;
    const QStringList lines =
        run({"send", "--to", "222", "--message", "x", "--device", modems.at(0)->devicePath()}, exitCode);
    EXPECT_EQ(exitCode, 1) << errors.toStdString();
    ASSERT_FALSE(lines.isEmpty()) << errors.toStdString();
    EXPECT_EQ(lines.last(), "0 of 1 recipients sent.");
}

} // namespace
