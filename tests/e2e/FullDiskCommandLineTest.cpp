// The command line on a full disk: `bulksms` runs with a file size limit smaller than what it
// has to write (write() then fails with EFBIG, as a full disk fails with ENOSPC). A file that
// was there keeps its content, standard error names the file and the reason, and the exit
// status is 4; nothing claims a success that did not happen.
#include "FullDisk.h"
#include "sim/VirtualModem.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr int kDataNotWritten = 4;

class FullDiskCommandLineTest : public ::testing::Test {
protected:
    void SetUp() override {
        data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA";
        ASSERT_TRUE(QDir().mkpath(data + "/Exclusion"));
        QByteArray sent, templates;
        for (int i = 0; i < 50; ++i) {
            sent += "\a+4477009" + QByteArray::number(10000 + i) + "\vMessage number " +
                    QByteArray::number(i) + "\a01/02/2025\vMessage sent successfully.\n";
            templates += "Template number " + QByteArray::number(i) + "\n";
        }
        write(data + "/SentItem.OSTREL", sent);
        write(data + "/Templates.OSTREL", templates);
        ASSERT_TRUE(QDir().mkpath(out()));
    }
    QString out() const { return home.path() + "/exports"; }
    int run(const QStringList& arguments, qint64 sizeLimit,
            const QString& resources = QStringLiteral(BULKSMS_RESOURCES_DIR)) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_DATA_HOME", home.path());
        env.insert("BULKSMS_RESOURCES", resources);
        env.insert("BULKSMS_CLOCK_SCALE", "0.2");
        if (modem)
            env.insert("BULKSMS_EXTRA_MODEMS", modem->devicePath());
        process.setProcessEnvironment(env);
        limitFileSizeOfChild(process, sizeLimit);
        process.start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        EXPECT_TRUE(process.waitForFinished(120000));
        output = QString::fromUtf8(process.readAllStandardOutput());
        errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    static void write(const QString& path, const QByteArray& bytes) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        ASSERT_EQ(f.write(bytes), bytes.size());
    }
    static QByteArray read(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    }
    QStringList exportsLeft() const {
        return QDir(out()).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    QTemporaryDir home;
    QString data, output, errors;
    std::unique_ptr<sim::VirtualModem> modem;
};

TEST_F(FullDiskCommandLineTest, AnExportThatDoesNotFitKeepsTheOldFile) {
    const QByteArray old = "last week's export, which must survive\n";
    const struct {
        QString command, file;
    } cases[] = {
        {"sent-items", "sent.txt"},     {"sent-items", "sent.html"},     {"sent-items", "sent.xlsx"},
        {"templates", "templates.txt"}, {"templates", "templates.html"}, {"templates", "templates.xlsx"},
    };
    QStringList files;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file.toStdString());
        const QString target = out() + "/" + c.file;
        write(target, old);
        files << c.file;
        // Big enough for the program's own empty data files, far too small for any export.
        EXPECT_EQ(run({c.command, "--export", target}, 1024), kDataNotWritten) << errors.toStdString();
        EXPECT_EQ(read(target), old);
        EXPECT_TRUE(errors.contains("Error in file accessing.\n" + target + ": File too large"))
            << errors.toStdString();
        EXPECT_FALSE(output.contains("written to")) << output.toStdString();
        files.sort();
        EXPECT_EQ(exportsLeft(), files); // no temporary file beside them
    }

    // The same exports with room to spare replace the old files.
    EXPECT_EQ(run({"sent-items", "--export", out() + "/sent.txt"}, -1), 0) << errors.toStdString();
    EXPECT_NE(read(out() + "/sent.txt"), old);
    EXPECT_EQ(output.trimmed(), "50 sent items written to " + out() + "/sent.txt");
}

TEST_F(FullDiskCommandLineTest, AWorkbookWithoutItsTemplateIsNotWrittenEither) {
    const QByteArray old = "old workbook\n";
    const QString target = out() + "/templates.xlsx";
    write(target, old);
    EXPECT_EQ(run({"templates", "--export", target}, -1, home.path() + "/no-resources"), kDataNotWritten);
    EXPECT_EQ(read(target), old);
    EXPECT_TRUE(errors.contains(target + ": failed to open zip file")) << errors.toStdString();
    EXPECT_EQ(exportsLeft(), QStringList{"templates.xlsx"});
}

TEST_F(FullDiskCommandLineTest, ATestReportThatDoesNotFitIsNotClaimed) {
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    behaviour.modes = sim::ModemBehaviour::Modes::TextOnly;
    modem = std::make_unique<sim::VirtualModem>(sim::ModemIdentity{}, behaviour);
    ASSERT_TRUE(modem->start());
    const QString report = out() + "/report.txt";
    const QByteArray old = "the report of the last test\n";
    write(report, old);
    EXPECT_EQ(
        run({"test-device", "--device", modem->devicePath(), "--to", "+447700900555", "--report", report},
            256),
        kDataNotWritten)
        << errors.toStdString();
    EXPECT_TRUE(output.contains("Message sent successfully."))
        << output.toStdString(); // the cases still print
    EXPECT_EQ(read(report), old);
    EXPECT_TRUE(errors.contains("Error in file accessing.\n" + report + ": File too large"))
        << errors.toStdString();
    EXPECT_EQ(exportsLeft(), QStringList{"report.txt"});
}

} // namespace
