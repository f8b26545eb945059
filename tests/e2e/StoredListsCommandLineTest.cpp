// The stored lists from the command line against a virtual modem: applied exclusion lists
// keep their numbers off the network, the run's report and the stores export as files.
#include "SenderFixture.h"
#include "TestEnvironment.h"

#include "sheets/SpreadsheetWriter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

class StoredListsCommandLineTest : public ::testing::Test {
protected:
    void SetUp() override {
        sim::ModemIdentity id;
        id.imei = QStringLiteral("358000000000021");
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        modem = std::make_unique<sim::VirtualModem>(id, behaviour);
        ASSERT_TRUE(modem->start());
        data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
        ASSERT_TRUE(QDir().mkpath(data + "/Exclusion"));
    }
    QStringList run(const QStringList& arguments, int& exitCode) {
        QProcessEnvironment env = senderEnvironment(home.path(), "0.05", {modem->devicePath()});
        env.insert("BULKSMS_RESOURCES", QStringLiteral(BULKSMS_RESOURCES_DIR));
        return runToEnd(env, arguments, exitCode, errors);
    }
    void write(const QString& path, const QByteArray& bytes) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }
    QByteArray read(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    }
    QTemporaryDir home;
    QString data;
    QString errors;
    std::unique_ptr<sim::VirtualModem> modem;
};

TEST_F(StoredListsCommandLineTest, AnAppliedListKeepsItsNumbersOffTheNetworkAndTheReportSaysSo) {
    write(data + "/Exclusion/ExListIndex.OSTREL", "Staff\nUnused\n");
    write(data + "/Exclusion/Staff.OSTREL", "+447700900002\n");
    write(data + "/Exclusion/Unused.OSTREL", "+447700900003\n");
    write(data + "/AppExclusion.OSTREL", "Staff\n");
    const QString report = home.path() + "/report.html";
    int exitCode = -1;
    const QStringList lines = run({"send", "--to", "+447700900001", "--to", "+447700900002", "--to",
                                   "+447700900003", "--message", "Hi <all> & \"you\"", "--exclusion",
                                   "--save-sent-items", "--save-templates", "--report", report},
                                  exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString(); // an excluded recipient is no failure
    ASSERT_GE(lines.size(), 4) << errors.toStdString();
    QStringList received;
    for (const auto& r : modem->received())
        received << r.number;
    received.sort();
    EXPECT_EQ(received, (QStringList{"+447700900001", "+447700900003"}));

    const QString html = reportText(read(report)); // one UTF-8 document, one mark
    EXPECT_TRUE(html.startsWith("<!DOCTYPE html>"));
    EXPECT_TRUE(html.contains("<td>+447700900002</td>"));
    EXPECT_TRUE(html.contains("<td>Excluded.</td>"));
    EXPECT_TRUE(html.contains("Hi&nbsp;&lt;all&gt;&nbsp;&amp;&nbsp;&quot;you&quot;"));
    EXPECT_EQ(html.count("<tr><td width=60>Number</td>"), 3);
    // What the network took is what the report says of it: the excluded number reached no device.
    EXPECT_TRUE(html.contains("<td>+447700900002</td><tr><td width=60>Message</td>"));
    EXPECT_EQ(html.count("<tr><td width=100>Attempts</td><td>:&nbsp;&nbsp;</td><td>1</td>"), 2);
    EXPECT_EQ(html.count("<tr><td width=100>Attempts</td><td>:&nbsp;&nbsp;</td><td>0</td>"), 1);
    EXPECT_EQ(permissionsOf(report), 0600u);

    EXPECT_EQ(read(data + "/Templates.OSTREL"), "Hi <all> & \"you\"\n");
    EXPECT_EQ(QFile(data + "/SentItem.OSTREL").permissions() & (QFile::ReadOther | QFile::WriteOther), 0);
}

TEST_F(StoredListsCommandLineTest, StoresExportByExtensionAndFilter) {
    write(data + "/SentItem.OSTREL",
          "\a111\vFirst\a01/02/2025\vMessage sent successfully.\n\a222\vSecond\a01/02/2025\vStopped.\n");
    write(data + "/Templates.OSTREL", "One|AP*|DX/two\nThree\n");
    int exitCode = -1;
    const QString sent = home.path() + "/unsent.txt";
    EXPECT_EQ(run({"sent-items", "--export", sent, "--filter", "unsent"}, exitCode),
              QStringList{"1 sent item written to " + sent});
    EXPECT_EQ(exitCode, 0);
    const QString text = reportText(read(sent));
    EXPECT_TRUE(text.contains("Number\t: 222"));
    EXPECT_FALSE(text.contains("Number\t: 111"));

    const QString book = home.path() + "/templates.xlsx";
    run({"templates", "--export", book}, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    qputenv("BULKSMS_RESOURCES", QFile::encodeName(QStringLiteral(BULKSMS_RESOURCES_DIR)));
    SpreadsheetWriter spreadsheet;
    spreadsheet.ReadWorkbook(book, true);
    ASSERT_FALSE(spreadsheet.Read_Sheet_Name().isEmpty());
    spreadsheet.Excel_Sheet_Number = 1;
    spreadsheet.ReadData_only_column();
    EXPECT_EQ(spreadsheet.ReadWorkbook(book, false),
              (SpreadsheetData{{"Template Message"}, {"One\ntwo"}, {"Three"}}));

    run({"templates", "--export", home.path() + "/t.pdf"}, exitCode);
    EXPECT_EQ(exitCode, 2);
}

TEST_F(StoredListsCommandLineTest, AnUnknownCommandPrintsTheUsage) {
    int exitCode = -1;
    EXPECT_TRUE(run({"sent-itms"}, exitCode).isEmpty());
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(errors.contains("unknown command \"sent-itms\"")) << errors.toStdString();
    EXPECT_TRUE(errors.contains("sent-items")) << errors.toStdString();
}

// Opt-out files come from every kind of computer: a list read as one line would let its
// people be messaged. Each ending is imported into a list of its own; the send then reaches
// only the one number no list holds.
TEST_F(StoredListsCommandLineTest, ExclusionImportOfEveryLineEndingKeepsItsNumbersOffTheNetwork) {
    struct File {
        const char* name; // the file's, and without its extension the list's
        QByteArray bytes;
    };
    const File files[] = {
        {"lf.txt", "+447700900002\nnot a number\n\n+447700900002\n"},
        {"crlf.txt", "+447700900003\r\nnot a number\r\n"},
        {"cr.txt", "+447700900004\rnot a number\r"},
        {"mixed.csv", "name,phone\nAnn,+447700900005\r\nBob,+447700900006\rnophone\n"},
    };
    int exitCode = -1;
    for (const File& file : files) {
        const QString path = home.path() + "/" + file.name;
        write(path, file.bytes);
        const QStringList added = run({"exclusion", "import", path}, exitCode);
        EXPECT_EQ(exitCode, 1) << file.name << ": a rejected line is told in the status";
        ASSERT_EQ(added.size(), 1) << file.name << errors.toStdString();
        EXPECT_TRUE(errors.contains("line 2: not a number: not a valid phone number") ||
                    errors.contains("line 1: name,phone: not a valid phone number"))
            << file.name << errors.toStdString();
    }
    EXPECT_TRUE(errors.contains("line 4: nophone")) << errors.toStdString();
    EXPECT_EQ(run({"exclusion", "list", "lf"}, exitCode), QStringList{"+447700900002"}); // once, not twice
    EXPECT_EQ(run({"exclusion", "list"}, exitCode),
              QStringList({"lf\t1\tapplied", "crlf\t1\tapplied", "cr\t1\tapplied", "mixed\t2\tapplied"}));
    EXPECT_EQ(run({"exclusion", "list", "mixed", "--json"}, exitCode),
              QStringList{R"({"applied":true,"name":"mixed","numbers":["+447700900005","+447700900006"]})"});
    run({"exclusion", "list", "nobody"}, exitCode);
    EXPECT_EQ(exitCode, 2);
    // Adding again adds nothing twice; a file without any number changes nothing.
    write(home.path() + "/empty.txt", "nobody here\n");
    run({"exclusion", "import", home.path() + "/empty.txt", "--list", "lf"}, exitCode);
    EXPECT_EQ(exitCode, 2);
    EXPECT_EQ(read(data + "/Exclusion/lf.OSTREL"), "+447700900002\n");

    QStringList send = {"send", "--message", "Hello", "--exclusion"};
    for (int n = 1; n <= 6; ++n)
        send << "--to" << QString("+44770090000%1").arg(n);
    run(send, exitCode);
    EXPECT_EQ(exitCode, 0) << errors.toStdString();
    QStringList received;
    for (const auto& r : modem->received())
        received << r.number;
    EXPECT_EQ(received, QStringList{"+447700900001"});
}

} // namespace
